// SPDX-License-Identifier: Apache-2.0
#ifndef UTILS_BASE_PARCEL_H
#define UTILS_BASE_PARCEL_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

// Standard headers the platform's own header brings in: device code uses what they declare after including
// only this one, so the host header brings at least the same.
#include <memory>

#include "flat_obj.h"
#include "nocopyable.h"
#include "refbase.h"

namespace OHOS {

class Parcel;

class Parcelable : public virtual RefBase {
public:
    ~Parcelable() override = default;
    Parcelable();
    // A remote object is written as a binder object by the IPC layer instead of by its own fields.
    explicit Parcelable(bool asRemote);

    virtual bool Marshalling(Parcel &parcel) const = 0;

    enum BehaviorFlag { IPC = 0x01, RPC = 0x02, HOLD_OBJECT = 0x10 };

    // Atomic on the plain byte: one shared record may be written into parcels on several threads at once.
    inline void SetBehavior(BehaviorFlag b) const
    {
        __atomic_fetch_or(&behavior_, static_cast<uint8_t>(b), __ATOMIC_RELAXED);
    }
    inline void ClearBehavior(BehaviorFlag b) const
    {
        __atomic_fetch_and(&behavior_, static_cast<uint8_t>(~b), __ATOMIC_RELAXED);
    }
    inline bool TestBehavior(BehaviorFlag b) const
    {
        return (__atomic_load_n(&behavior_, __ATOMIC_RELAXED) & static_cast<uint8_t>(b)) != 0;
    }

public:
    bool asRemote_;
    mutable uint8_t behavior_;
};

// Storage policy of a parcel. The default one uses malloc/realloc/free, so ParseFrom takes a malloc'd block.
class Allocator {
public:
    virtual ~Allocator() = default;
    virtual void *Realloc(void *data, size_t newSize) = 0;
    virtual void *Alloc(size_t size) = 0;
    virtual void Dealloc(void *data) = 0;
};

class DefaultAllocator : public Allocator {
public:
    void *Alloc(size_t size) override;
    void Dealloc(void *data) override;
    void *Realloc(void *data, size_t newSize) override;
};

// A flat byte container in the platform's wire format: native little-endian values, 4-byte alignment,
// zero padding, no type tags. Not thread-safe.
class Parcel {
public:
    Parcel();
    // Takes ownership of `allocator` (may be null for the default one).
    explicit Parcel(Allocator *allocator);
    virtual ~Parcel();

    size_t GetDataSize() const;
    uintptr_t GetData() const;
    binder_size_t GetObjectOffsets() const;
    size_t GetOffsetsSize() const;
    size_t GetWritableBytes() const;
    size_t GetReadableBytes() const;
    size_t GetDataCapacity() const;
    size_t GetMaxCapacity() const;

    // Reallocates to exactly `newCapacity`; fails if that does not exceed the data size. Not a limit.
    bool SetDataCapacity(size_t newCapacity);
    // Takes ownership of `allocator` and moves the data into a block of its own of exactly the data size; the
    // parcel becomes writable again. Null or the current allocator gives false.
    bool SetAllocator(Allocator *allocator);
    bool SetDataSize(size_t dataSize);
    // Only raises the limit: false unless `maxCapacity` is larger than the current one.
    bool SetMaxCapacity(size_t maxCapacity);

    bool WriteBool(bool value);
    bool WriteInt8(int8_t value);
    bool WriteInt16(int16_t value);
    bool WriteInt32(int32_t value);
    bool WriteInt64(int64_t value);
    bool WriteUint8(uint8_t value);
    bool WriteUint16(uint16_t value);
    bool WriteUint32(uint32_t value);
    bool WriteUint64(uint64_t value);
    bool WriteFloat(float value);
    bool WriteDouble(double value);
    bool WritePointer(uintptr_t value);

    // Raw bytes without a length, zero-padded to 4. Null data or size 0 is refused.
    bool WriteBuffer(const void *data, size_t size);
    // `size` includes the terminator: the first size - typeSize bytes of `data`, then typeSize zero bytes, then
    // padding. A size smaller than typeSize gives false.
    bool WriteBufferAddTerminator(const void *data, size_t size, size_t typeSize);
    // Same bytes as WriteBuffer: it pads too.
    bool WriteUnpadBuffer(const void *data, size_t size);

    bool WriteCString(const char *value);
    bool WriteString(const std::string &value);
    bool WriteString16(const std::u16string &value);
    // A null value writes the length -1 and no body.
    bool WriteString16WithLength(const char16_t *value, size_t len);
    bool WriteString8WithLength(const char *value, size_t len);

    bool WriteParcelable(const Parcelable *object);
    // A remote object writes itself (the IPC layer's Marshalling records the binder object). Null gives false.
    bool WriteRemoteObject(const Parcelable *object);
    // A null object writes 0 and reports success whatever happened to that write.
    bool WriteStrongParcelable(const sptr<Parcelable> &object);

    // Adopts a malloc'd block (freed through the allocator); the parcel becomes read-only. Both cursors are 0.
    bool ParseFrom(uintptr_t data, size_t size);

    bool ReadBool();
    int8_t ReadInt8();
    int16_t ReadInt16();
    int32_t ReadInt32();
    int64_t ReadInt64();
    uint8_t ReadUint8();
    uint16_t ReadUint16();
    uint32_t ReadUint32();
    uint64_t ReadUint64();
    float ReadFloat();
    double ReadDouble();
    uintptr_t ReadPointer();

    // On failure these return false, leave `value` untouched and consume nothing.
    bool ReadBool(bool &value);
    bool ReadInt8(int8_t &value);
    bool ReadInt16(int16_t &value);
    bool ReadInt32(int32_t &value);
    bool ReadInt64(int64_t &value);
    bool ReadUint8(uint8_t &value);
    bool ReadUint16(uint16_t &value);
    bool ReadUint32(uint32_t &value);
    bool ReadUint64(uint64_t &value);
    bool ReadFloat(float &value);
    bool ReadDouble(double &value);

    bool WriteBoolUnaligned(bool value);
    bool WriteInt8Unaligned(int8_t value);
    bool WriteInt16Unaligned(int16_t value);
    bool WriteUint8Unaligned(uint8_t value);
    bool WriteUint16Unaligned(uint16_t value);
    bool ReadBoolUnaligned();
    bool ReadInt8Unaligned(int8_t &value);
    bool ReadInt16Unaligned(int16_t &value);
    bool ReadUint8Unaligned(uint8_t &value);
    bool ReadUint16Unaligned(uint16_t &value);

    // The returned pointers stay valid until the parcel is written to or destroyed. A read that would cover part
    // of a recorded binder object gives nullptr.
    const uint8_t *ReadBuffer(size_t length);
    // As above; with `isValidate` false the binder objects are not looked at.
    const uint8_t *ReadBuffer(size_t length, bool isValidate);
    // Like ReadBuffer, then skips the padding; a missing pad at the end moves the cursor to the capacity.
    const uint8_t *ReadUnpadBuffer(size_t length);
    void SkipBytes(size_t bytes);

    const char *ReadCString();
    const std::string ReadString();
    // Clears `value` on failure.
    bool ReadString(std::string &value);
    const std::u16string ReadString16();
    bool ReadString16(std::u16string &value);
    const std::u16string ReadString16WithLength(int32_t &len);
    const std::string ReadString8WithLength(int32_t &len);

    // Both fail if the position is past the data size. RewindWrite also cuts the data there.
    bool RewindRead(size_t newPosition);
    bool RewindWrite(size_t offsets);
    size_t GetReadPosition();
    size_t GetWritePosition();

    // Presence flag, then T::Unmarshalling(*this), which returns a new T* (owned by the caller).
    template <typename T>
    T *ReadParcelable();
    // As above; T::Unmarshalling may return either T* or sptr<T>.
    template <typename T>
    sptr<T> ReadStrongParcelable();
    // No presence flag: a binder object must be recorded at the read position, then T::Unmarshalling reads it.
    template <typename T>
    sptr<T> ReadObject();
    // Whether a whole binder object is recorded at the read position.
    bool CheckOffsets();

    bool WriteBoolVector(const std::vector<bool> &val);
    bool WriteInt8Vector(const std::vector<int8_t> &val);
    bool WriteInt16Vector(const std::vector<int16_t> &val);
    bool WriteInt32Vector(const std::vector<int32_t> &val);
    bool WriteInt64Vector(const std::vector<int64_t> &val);
    bool WriteUInt8Vector(const std::vector<uint8_t> &val);
    bool WriteUInt16Vector(const std::vector<uint16_t> &val);
    bool WriteUInt32Vector(const std::vector<uint32_t> &val);
    bool WriteUInt64Vector(const std::vector<uint64_t> &val);
    bool WriteFloatVector(const std::vector<float> &val);
    bool WriteDoubleVector(const std::vector<double> &val);
    bool WriteStringVector(const std::vector<std::string> &val);
    bool WriteString16Vector(const std::vector<std::u16string> &val);

    bool ReadBoolVector(std::vector<bool> *val);
    bool ReadInt8Vector(std::vector<int8_t> *val);
    bool ReadInt16Vector(std::vector<int16_t> *val);
    bool ReadInt32Vector(std::vector<int32_t> *val);
    bool ReadInt64Vector(std::vector<int64_t> *val);
    bool ReadUInt8Vector(std::vector<uint8_t> *val);
    bool ReadUInt16Vector(std::vector<uint16_t> *val);
    bool ReadUInt32Vector(std::vector<uint32_t> *val);
    bool ReadUInt64Vector(std::vector<uint64_t> *val);
    bool ReadFloatVector(std::vector<float> *val);
    bool ReadDoubleVector(std::vector<double> *val);
    // Counts are bounded by the remaining bytes at each element's smallest wire size (8 for a string, a pad that
    // is missing at the very end allowed for); within that, elements that fail read as "" and the result is true.
    bool ReadStringVector(std::vector<std::string> *val);
    bool ReadString16Vector(std::vector<std::u16string> *val);

    // Count, then each element with `Write`; elements already written stay if a later one fails.
    template <typename T1, typename T2>
    bool WriteVector(const std::vector<T1> &val, bool (Parcel::*Write)(T2));
    template <typename T1, typename T2>
    bool ReadVector(std::vector<T1> *val, bool (Parcel::*Read)(T2 &));

    // Offsets of binder objects inside the data, kept for the IPC layer.
    void InjectOffsets(binder_size_t offsets, size_t offsetSize);
    // Frees the data and returns to the state of a new, writable parcel (the maximum stays).
    void FlushBuffer();

protected:
    bool WriteObjectOffset(binder_size_t offset);

private:
    DISALLOW_COPY_AND_MOVE(Parcel);

    template <typename T>
    bool Write(T value);
    template <typename T>
    bool Read(T &value);
    template <typename T>
    T ReadValue();
    template <typename T>
    bool WriteUnaligned(T value);
    template <typename T>
    bool ReadUnaligned(T &value);
    template <typename Wire, typename T>
    bool WriteFixedVector(const std::vector<T> &val);
    template <typename Wire, typename T>
    bool ReadFixedVector(std::vector<T> *val);
    template <typename T>
    bool ReadTextVector(std::vector<T> *val, const T (Parcel::*Read)());

    // Room for `size` more bytes at the write cursor, growing if needed; counts one write for the fault switch.
    bool ReserveForWrite(size_t size);
    bool EnsureWritableCapacity(size_t desireCapacity);
    size_t CalcNewCapacity(size_t minNewCapacity) const;
    bool WriteDataBytes(const void *data, size_t size);
    void WritePadBytes(size_t padSize);
    void Advance(size_t size);
    bool WriteLengthPrefixedText(const void *data, size_t length, size_t unitSize);
    bool ReadLengthPrefixedText(size_t unitSize, int32_t &length, const uint8_t *&body);
    bool ReadCount(int32_t &count, size_t minElement, size_t minLastElement);
    bool CoversObject(size_t from, size_t length) const;

    uint8_t *data_ = nullptr;
    size_t readCursor_ = 0;
    size_t writeCursor_ = 0;
    size_t dataSize_ = 0;
    size_t dataCapacity_ = 0;
    size_t maxDataCapacity_;
    bool writable_ = true;
    std::vector<binder_size_t> objectOffsets_;
    Allocator *allocator_;
};

template <typename T>
T *Parcel::ReadParcelable()
{
    using Result = decltype(T::Unmarshalling(std::declval<Parcel &>()));
    static_assert(std::is_pointer<Result>::value, "ReadParcelable hands out ownership: Unmarshalling must return T*");
    if (ReadInt32() == 0) {
        return nullptr;
    }
    return T::Unmarshalling(*this);
}

template <typename T>
sptr<T> Parcel::ReadStrongParcelable()
{
    if (ReadInt32() == 0) {
        return nullptr;
    }
    sptr<T> object = T::Unmarshalling(*this);
    return object;
}

template <typename T>
sptr<T> Parcel::ReadObject()
{
    if (!CheckOffsets()) {
        return nullptr;
    }
    sptr<T> object = T::Unmarshalling(*this);
    return object;
}

template <typename T1, typename T2>
bool Parcel::WriteVector(const std::vector<T1> &val, bool (Parcel::*Write)(T2))
{
    if (val.size() > static_cast<size_t>(INT32_MAX) || !WriteInt32(static_cast<int32_t>(val.size()))) {
        return false;
    }
    for (const auto &item : val) {
        if (!(this->*Write)(item)) {
            return false;
        }
    }
    return true;
}

// Generic form for element readers of any width: the count is checked against one byte per element, and the
// vector grows only as elements really arrive, so a false count cannot size an allocation.
template <typename T1, typename T2>
bool Parcel::ReadVector(std::vector<T1> *val, bool (Parcel::*Read)(T2 &))
{
    int32_t count = 0;
    if (val == nullptr || !ReadCount(count, 1, 1)) {
        return false;
    }
    std::vector<T1> items;
    for (int32_t i = 0; i < count; i++) {
        T2 item{};
        if (!(this->*Read)(item)) {
            return false;
        }
        items.push_back(item);
    }
    *val = std::move(items);
    return true;
}

} // namespace OHOS

#endif // UTILS_BASE_PARCEL_H
