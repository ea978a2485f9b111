// SPDX-License-Identifier: Apache-2.0
#include "parcel.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

#include "host_parcel.h"

namespace OHOS {

namespace {
constexpr size_t ALIGNMENT = 4;
constexpr size_t MIN_CAPACITY = 64;
constexpr size_t CAPACITY_THRESHOLD = 4096;
constexpr size_t DEFAULT_CPACITY = 204800;
constexpr int32_t NULL_TEXT_LENGTH = -1;

constexpr size_t PadSize(size_t size)
{
    return ((size + ALIGNMENT - 1) & ~(ALIGNMENT - 1)) - size;
}

constexpr size_t PaddedSize(size_t size)
{
    return size + PadSize(size);
}

// The smallest wire size of a string element: its length word and one NUL word.

// Write-fault switch. The flag is set by the first use of the switch in the process, so parcels in a process
// that never uses it pay one relaxed load per write.
std::atomic<bool> g_faultSwitchUsed{false};

struct WriteFault {
    uint32_t failAt = 0;
    uint32_t count = 0;
};
thread_local WriteFault t_writeFault;

__attribute__((noinline)) bool CountWriteAndFail()
{
    WriteFault &fault = t_writeFault;
    if (++fault.count != fault.failAt) {
        return false;
    }
    fault.failAt = 0;
    return true;
}

inline bool WriteFaultInjected()
{
    return __builtin_expect(g_faultSwitchUsed.load(std::memory_order_relaxed), 0) && CountWriteAndFail();
}
} // namespace

namespace HostParcel {
void FailNthWrite(uint32_t n)
{
    g_faultSwitchUsed.store(true, std::memory_order_relaxed);
    t_writeFault = WriteFault{n, 0};
}

uint32_t WriteCount()
{
    return t_writeFault.count;
}
} // namespace HostParcel

Parcelable::Parcelable() : Parcelable(false) {}

Parcelable::Parcelable(bool asRemote) : asRemote_(asRemote), behavior_(0) {}

void *DefaultAllocator::Alloc(size_t size)
{
    return malloc(size);
}

void DefaultAllocator::Dealloc(void *data)
{
    free(data);
}

void *DefaultAllocator::Realloc(void *data, size_t newSize)
{
    return realloc(data, newSize);
}

Parcel::Parcel() : Parcel(nullptr) {}

Parcel::Parcel(Allocator *allocator) :
    maxDataCapacity_(DEFAULT_CPACITY),
    allocator_(allocator != nullptr ? allocator : new (std::nothrow) DefaultAllocator())
{
}

Parcel::~Parcel()
{
    FlushBuffer();
    delete allocator_;
}

size_t Parcel::GetDataSize() const
{
    return dataSize_;
}

uintptr_t Parcel::GetData() const
{
    return reinterpret_cast<uintptr_t>(data_);
}

binder_size_t Parcel::GetObjectOffsets() const
{
    return reinterpret_cast<binder_size_t>(objectOffsets_.data());
}

size_t Parcel::GetOffsetsSize() const
{
    return objectOffsets_.size();
}

size_t Parcel::GetWritableBytes() const
{
    return dataCapacity_ > writeCursor_ ? dataCapacity_ - writeCursor_ : 0;
}

size_t Parcel::GetReadableBytes() const
{
    return dataSize_ > readCursor_ ? dataSize_ - readCursor_ : 0;
}

size_t Parcel::GetDataCapacity() const
{
    return dataCapacity_;
}

size_t Parcel::GetMaxCapacity() const
{
    return maxDataCapacity_;
}

bool Parcel::SetDataCapacity(size_t newCapacity)
{
    if (!writable_ || allocator_ == nullptr || newCapacity <= dataSize_) {
        return false;
    }
    void *grown = allocator_->Realloc(data_, newCapacity);
    if (grown == nullptr) {
        return false;
    }
    data_ = static_cast<uint8_t *>(grown);
    dataCapacity_ = newCapacity;
    return true;
}

bool Parcel::SetAllocator(Allocator *allocator)
{
    if (allocator == nullptr || allocator == allocator_) {
        return false;
    }
    void *moved = nullptr;
    if (data_ != nullptr && dataSize_ > 0) {
        moved = allocator->Alloc(dataSize_);
        if (moved == nullptr) {
            return false;
        }
        memcpy(moved, data_, dataSize_);
    }
    if (data_ != nullptr && allocator_ != nullptr) {
        allocator_->Dealloc(data_);
    }
    delete allocator_;
    allocator_ = allocator;
    data_ = static_cast<uint8_t *>(moved);
    dataCapacity_ = moved != nullptr ? dataSize_ : 0;
    writable_ = true;
    return true;
}

bool Parcel::SetDataSize(size_t dataSize)
{
    if (dataSize > dataCapacity_) {
        return false;
    }
    dataSize_ = dataSize;
    return true;
}

bool Parcel::SetMaxCapacity(size_t maxCapacity)
{
    if (maxCapacity <= maxDataCapacity_) {
        return false;
    }
    maxDataCapacity_ = maxCapacity;
    return true;
}

size_t Parcel::CalcNewCapacity(size_t minNewCapacity) const
{
    if (minNewCapacity <= CAPACITY_THRESHOLD) {
        size_t capacity = MIN_CAPACITY;
        while (capacity < minNewCapacity) {
            capacity *= 2;
        }
        return capacity;
    }
    // Past the threshold, grow in whole threshold steps so a big parcel does not double its footprint.
    size_t capacity = (minNewCapacity / CAPACITY_THRESHOLD) * CAPACITY_THRESHOLD + CAPACITY_THRESHOLD;
    return capacity < maxDataCapacity_ ? capacity : maxDataCapacity_;
}

bool Parcel::EnsureWritableCapacity(size_t desireCapacity)
{
    if (!writable_) {
        return false;
    }
    if (desireCapacity <= GetWritableBytes()) {
        return true;
    }
    if (desireCapacity > maxDataCapacity_ || writeCursor_ > maxDataCapacity_ - desireCapacity) {
        return false;
    }
    size_t newCapacity = CalcNewCapacity(writeCursor_ + desireCapacity);
    void *grown = allocator_ != nullptr ? allocator_->Realloc(data_, newCapacity) : nullptr;
    if (grown == nullptr) {
        return false;
    }
    data_ = static_cast<uint8_t *>(grown);
    dataCapacity_ = newCapacity;
    return true;
}

// The one gate of every write into the storage: the fault switch, then room at the cursor (the common case
// without a call), then growth.
inline bool Parcel::ReserveForWrite(size_t size)
{
    if (WriteFaultInjected()) {
        return false;
    }
    if (__builtin_expect(writable_ && size <= dataCapacity_ - writeCursor_, 1)) {
        return true;
    }
    return EnsureWritableCapacity(size);
}

inline void Parcel::Advance(size_t size)
{
    writeCursor_ += size;
    if (writeCursor_ > dataSize_) {
        dataSize_ = writeCursor_;
    }
}

void Parcel::WritePadBytes(size_t padSize)
{
    memset(data_ + writeCursor_, 0, padSize);
    Advance(padSize);
}

bool Parcel::WriteDataBytes(const void *data, size_t size)
{
    if (size > SIZE_MAX - ALIGNMENT || !ReserveForWrite(PaddedSize(size))) {
        return false;
    }
    memcpy(data_ + writeCursor_, data, size);
    Advance(size);
    WritePadBytes(PadSize(size));
    return true;
}

// Fixed-size values are whole words: one store, no padding to compute.
template <typename T>
inline bool Parcel::Write(T value)
{
    static_assert(sizeof(T) % ALIGNMENT == 0, "padded values go through WriteDataBytes");
    if (!ReserveForWrite(sizeof(T))) {
        return false;
    }
    memcpy(data_ + writeCursor_, &value, sizeof(T));
    Advance(sizeof(T));
    return true;
}

template <typename T>
inline bool Parcel::WriteUnaligned(T value)
{
    if (!ReserveForWrite(sizeof(T))) {
        return false;
    }
    memcpy(data_ + writeCursor_, &value, sizeof(T));
    Advance(sizeof(T));
    return true;
}

bool Parcel::WriteBool(bool value)
{
    return Write<int32_t>(value ? 1 : 0);
}

bool Parcel::WriteInt8(int8_t value)
{
    return Write<int32_t>(value);
}

bool Parcel::WriteInt16(int16_t value)
{
    return Write<int32_t>(value);
}

bool Parcel::WriteInt32(int32_t value)
{
    return Write<int32_t>(value);
}

bool Parcel::WriteInt64(int64_t value)
{
    return Write<int64_t>(value);
}

bool Parcel::WriteUint8(uint8_t value)
{
    return Write<uint32_t>(value);
}

bool Parcel::WriteUint16(uint16_t value)
{
    return Write<uint32_t>(value);
}

bool Parcel::WriteUint32(uint32_t value)
{
    return Write<uint32_t>(value);
}

bool Parcel::WriteUint64(uint64_t value)
{
    return Write<uint64_t>(value);
}

bool Parcel::WriteFloat(float value)
{
    return Write<float>(value);
}

bool Parcel::WriteDouble(double value)
{
    return Write<double>(value);
}

bool Parcel::WritePointer(uintptr_t value)
{
    return Write<uint64_t>(value);
}

bool Parcel::WriteBoolUnaligned(bool value)
{
    return WriteUnaligned<bool>(value);
}

bool Parcel::WriteInt8Unaligned(int8_t value)
{
    return WriteUnaligned<int8_t>(value);
}

bool Parcel::WriteInt16Unaligned(int16_t value)
{
    return WriteUnaligned<int16_t>(value);
}

bool Parcel::WriteUint8Unaligned(uint8_t value)
{
    return WriteUnaligned<uint8_t>(value);
}

bool Parcel::WriteUint16Unaligned(uint16_t value)
{
    return WriteUnaligned<uint16_t>(value);
}

bool Parcel::WriteBuffer(const void *data, size_t size)
{
    if (data == nullptr || size == 0) {
        return false;
    }
    return WriteDataBytes(data, size);
}

bool Parcel::WriteUnpadBuffer(const void *data, size_t size)
{
    return WriteBuffer(data, size);
}

bool Parcel::WriteBufferAddTerminator(const void *data, size_t size, size_t typeSize)
{
    if (data == nullptr || typeSize == 0 || size < typeSize || size > SIZE_MAX - ALIGNMENT ||
        !ReserveForWrite(PaddedSize(size))) {
        return false;
    }
    size_t body = size - typeSize;
    memcpy(data_ + writeCursor_, data, body);
    memset(data_ + writeCursor_ + body, 0, typeSize + PadSize(size));
    Advance(PaddedSize(size));
    return true;
}

bool Parcel::WriteCString(const char *value)
{
    if (value == nullptr) {
        return false;
    }
    return WriteBufferAddTerminator(value, strlen(value) + 1, sizeof(char));
}

// The length goes first and stays even if the body does not fit: callers see false and a 4-byte remnant.
bool Parcel::WriteLengthPrefixedText(const void *data, size_t length, size_t unitSize)
{
    if (length >= static_cast<size_t>(INT32_MAX)) {
        return false;
    }
    if (!WriteInt32(static_cast<int32_t>(length))) {
        return false;
    }
    return WriteBufferAddTerminator(data, (length + 1) * unitSize, unitSize);
}

bool Parcel::WriteString(const std::string &value)
{
    return WriteLengthPrefixedText(value.data(), value.size(), sizeof(char));
}

bool Parcel::WriteString16(const std::u16string &value)
{
    return WriteLengthPrefixedText(value.data(), value.size(), sizeof(char16_t));
}

bool Parcel::WriteString16WithLength(const char16_t *value, size_t len)
{
    if (value == nullptr) {
        return WriteInt32(NULL_TEXT_LENGTH);
    }
    return WriteLengthPrefixedText(value, len, sizeof(char16_t));
}

bool Parcel::WriteString8WithLength(const char *value, size_t len)
{
    if (value == nullptr) {
        return WriteInt32(NULL_TEXT_LENGTH);
    }
    return WriteLengthPrefixedText(value, len, sizeof(char));
}

bool Parcel::WriteRemoteObject(const Parcelable *object)
{
    return object != nullptr && object->Marshalling(*this);
}

bool Parcel::WriteObjectOffset(binder_size_t offset)
{
    objectOffsets_.push_back(offset);
    return true;
}

bool Parcel::WriteParcelable(const Parcelable *object)
{
    if (object == nullptr) {
        return WriteInt32(0);
    }
    if (object->asRemote_) {
        // A binder object is all or nothing, unlike plain parcelables.
        size_t start = writeCursor_;
        if (WriteInt32(1) && WriteRemoteObject(object)) {
            return true;
        }
        RewindWrite(start);
        return false;
    }
    if (!WriteInt32(1)) {
        return false;
    }
    return object->Marshalling(*this);
}

bool Parcel::WriteStrongParcelable(const sptr<Parcelable> &object)
{
    if (object == nullptr) {
        WriteInt32(0);
        return true;
    }
    // Read first: a record written again and again keeps its cache line shared instead of locking it each time.
    if (!object->TestBehavior(Parcelable::BehaviorFlag::HOLD_OBJECT)) {
        object->SetBehavior(Parcelable::BehaviorFlag::HOLD_OBJECT);
    }
    return WriteParcelable(object.GetRefPtr());
}

bool Parcel::ParseFrom(uintptr_t data, size_t size)
{
    if (data == 0 || size == 0) {
        return false;
    }
    FlushBuffer();
    data_ = reinterpret_cast<uint8_t *>(data);
    dataSize_ = size;
    dataCapacity_ = size;
    writable_ = false;
    return true;
}

// A fixed-size read that would take part of a recorded binder object is refused, as on the device.
template <typename T>
inline bool Parcel::Read(T &value)
{
    if (readCursor_ > dataSize_ || sizeof(T) > dataSize_ - readCursor_ ||
        (__builtin_expect(!objectOffsets_.empty(), 0) && CoversObject(readCursor_, sizeof(T)))) {
        return false;
    }
    memcpy(&value, data_ + readCursor_, sizeof(T));
    readCursor_ += PaddedSize(sizeof(T));
    return true;
}

template <typename T>
inline T Parcel::ReadValue()
{
    T value{};
    return Read<T>(value) ? value : T{};
}

template <typename T>
inline bool Parcel::ReadUnaligned(T &value)
{
    if (GetReadableBytes() < sizeof(T)) {
        return false;
    }
    memcpy(&value, data_ + readCursor_, sizeof(T));
    readCursor_ += sizeof(T);
    return true;
}

bool Parcel::CoversObject(size_t from, size_t length) const
{
    constexpr size_t objectSize = sizeof(parcel_flat_binder_object);
    for (binder_size_t offset : objectOffsets_) {
        bool overlaps = offset < from + length && from < offset + objectSize;
        if (overlaps && !(offset == from && length == objectSize)) {
            return true;
        }
    }
    return false;
}

bool Parcel::CheckOffsets()
{
    if (GetReadableBytes() < sizeof(parcel_flat_binder_object)) {
        return false;
    }
    return std::find(objectOffsets_.begin(), objectOffsets_.end(), readCursor_) != objectOffsets_.end();
}

bool Parcel::ReadBool()
{
    return ReadValue<int32_t>() != 0;
}

int8_t Parcel::ReadInt8()
{
    return static_cast<int8_t>(ReadValue<int32_t>());
}

int16_t Parcel::ReadInt16()
{
    return static_cast<int16_t>(ReadValue<int32_t>());
}

int32_t Parcel::ReadInt32()
{
    return ReadValue<int32_t>();
}

int64_t Parcel::ReadInt64()
{
    return ReadValue<int64_t>();
}

uint8_t Parcel::ReadUint8()
{
    return static_cast<uint8_t>(ReadValue<uint32_t>());
}

uint16_t Parcel::ReadUint16()
{
    return static_cast<uint16_t>(ReadValue<uint32_t>());
}

uint32_t Parcel::ReadUint32()
{
    return ReadValue<uint32_t>();
}

uint64_t Parcel::ReadUint64()
{
    return ReadValue<uint64_t>();
}

float Parcel::ReadFloat()
{
    return ReadValue<float>();
}

double Parcel::ReadDouble()
{
    return ReadValue<double>();
}

uintptr_t Parcel::ReadPointer()
{
    return static_cast<uintptr_t>(ReadValue<uint64_t>());
}

bool Parcel::ReadBool(bool &value)
{
    int32_t raw = 0;
    if (!Read<int32_t>(raw)) {
        return false;
    }
    value = raw != 0;
    return true;
}

// The narrow types travel as 4-byte words.
template <typename Narrow, typename Wide>
static bool ReadNarrow(Parcel &parcel, bool (Parcel::*read)(Wide &), Narrow &value)
{
    Wide raw = 0;
    if (!(parcel.*read)(raw)) {
        return false;
    }
    value = static_cast<Narrow>(raw);
    return true;
}

bool Parcel::ReadInt8(int8_t &value)
{
    return ReadNarrow(*this, &Parcel::ReadInt32, value);
}

bool Parcel::ReadInt16(int16_t &value)
{
    return ReadNarrow(*this, &Parcel::ReadInt32, value);
}

bool Parcel::ReadInt32(int32_t &value)
{
    return Read<int32_t>(value);
}

bool Parcel::ReadInt64(int64_t &value)
{
    return Read<int64_t>(value);
}

bool Parcel::ReadUint8(uint8_t &value)
{
    return ReadNarrow(*this, &Parcel::ReadUint32, value);
}

bool Parcel::ReadUint16(uint16_t &value)
{
    return ReadNarrow(*this, &Parcel::ReadUint32, value);
}

bool Parcel::ReadUint32(uint32_t &value)
{
    return Read<uint32_t>(value);
}

bool Parcel::ReadUint64(uint64_t &value)
{
    return Read<uint64_t>(value);
}

bool Parcel::ReadFloat(float &value)
{
    return Read<float>(value);
}

bool Parcel::ReadDouble(double &value)
{
    return Read<double>(value);
}

// Read as a byte: any value other than 0 and 1 in a bool object is undefined behaviour.
bool Parcel::ReadBoolUnaligned()
{
    uint8_t value = 0;
    return ReadUnaligned<uint8_t>(value) && value != 0;
}

bool Parcel::ReadInt8Unaligned(int8_t &value)
{
    return ReadUnaligned<int8_t>(value);
}

bool Parcel::ReadInt16Unaligned(int16_t &value)
{
    return ReadUnaligned<int16_t>(value);
}

bool Parcel::ReadUint8Unaligned(uint8_t &value)
{
    return ReadUnaligned<uint8_t>(value);
}

bool Parcel::ReadUint16Unaligned(uint16_t &value)
{
    return ReadUnaligned<uint16_t>(value);
}

const uint8_t *Parcel::ReadBuffer(size_t length)
{
    return ReadBuffer(length, true);
}

const uint8_t *Parcel::ReadBuffer(size_t length, bool isValidate)
{
    if (data_ == nullptr || length > GetReadableBytes() ||
        (isValidate && !objectOffsets_.empty() && CoversObject(readCursor_, length))) {
        return nullptr;
    }
    const uint8_t *buffer = data_ + readCursor_;
    readCursor_ += length;
    return buffer;
}

const uint8_t *Parcel::ReadUnpadBuffer(size_t length)
{
    const uint8_t *buffer = ReadBuffer(length);
    if (buffer != nullptr) {
        SkipBytes(PadSize(length));
    }
    return buffer;
}

void Parcel::SkipBytes(size_t bytes)
{
    if (bytes <= GetReadableBytes()) {
        readCursor_ += bytes;
    } else if (readCursor_ < dataCapacity_) {
        // Whatever is missing lies beyond the data: the cursor ends up at the end of the storage.
        readCursor_ = dataCapacity_;
    }
}

const char *Parcel::ReadCString()
{
    size_t readable = GetReadableBytes();
    if (data_ == nullptr || readable == 0) {
        return nullptr;
    }
    const char *text = reinterpret_cast<const char *>(data_ + readCursor_);
    const void *nul = memchr(text, 0, readable);
    if (nul == nullptr) {
        return nullptr;
    }
    SkipBytes(PaddedSize(static_cast<const char *>(nul) - text + 1));
    return text;
}

// A negative (or INT32_MAX) length stays consumed; a body that is missing or not terminated puts the cursor
// back before the length.
bool Parcel::ReadLengthPrefixedText(size_t unitSize, int32_t &length, const uint8_t *&body)
{
    size_t start = readCursor_;
    if (!ReadInt32(length)) {
        return false;
    }
    if (length < 0 || length == INT32_MAX) {
        return false;
    }
    size_t bodySize = (static_cast<size_t>(length) + 1) * unitSize;
    if (bodySize > GetReadableBytes()) {
        readCursor_ = start;
        return false;
    }
    const uint8_t *text = data_ + readCursor_;
    static const uint8_t zeroUnit[sizeof(char16_t)] = {};
    if (memcmp(text + bodySize - unitSize, zeroUnit, unitSize) != 0) {
        readCursor_ = start;
        return false;
    }
    body = text;
    SkipBytes(PaddedSize(bodySize));
    return true;
}

bool Parcel::ReadString(std::string &value)
{
    int32_t length = 0;
    const uint8_t *body = nullptr;
    if (!ReadLengthPrefixedText(sizeof(char), length, body)) {
        value.clear();
        return false;
    }
    value.assign(reinterpret_cast<const char *>(body), static_cast<size_t>(length));
    return true;
}

const std::string Parcel::ReadString()
{
    std::string value;
    ReadString(value);
    return value;
}

bool Parcel::ReadString16(std::u16string &value)
{
    int32_t length = 0;
    const uint8_t *body = nullptr;
    if (!ReadLengthPrefixedText(sizeof(char16_t), length, body)) {
        value.clear();
        return false;
    }
    value.resize(static_cast<size_t>(length));
    memcpy(&value[0], body, static_cast<size_t>(length) * sizeof(char16_t));
    return true;
}

const std::u16string Parcel::ReadString16()
{
    std::u16string value;
    ReadString16(value);
    return value;
}

const std::u16string Parcel::ReadString16WithLength(int32_t &len)
{
    std::u16string value;
    const uint8_t *body = nullptr;
    if (ReadLengthPrefixedText(sizeof(char16_t), len, body)) {
        value.resize(static_cast<size_t>(len));
        memcpy(&value[0], body, static_cast<size_t>(len) * sizeof(char16_t));
    }
    return value;
}

const std::string Parcel::ReadString8WithLength(int32_t &len)
{
    std::string value;
    const uint8_t *body = nullptr;
    if (ReadLengthPrefixedText(sizeof(char), len, body)) {
        value.assign(reinterpret_cast<const char *>(body), static_cast<size_t>(len));
    }
    return value;
}

bool Parcel::RewindRead(size_t newPosition)
{
    if (newPosition > dataSize_) {
        return false;
    }
    readCursor_ = newPosition;
    return true;
}

bool Parcel::RewindWrite(size_t offsets)
{
    if (offsets > dataSize_) {
        return false;
    }
    writeCursor_ = offsets;
    dataSize_ = offsets;
    // Objects recorded past the cut no longer exist in the data.
    while (!objectOffsets_.empty() && objectOffsets_.back() >= offsets) {
        objectOffsets_.pop_back();
    }
    return true;
}

size_t Parcel::GetReadPosition()
{
    return readCursor_;
}

size_t Parcel::GetWritePosition()
{
    return writeCursor_;
}

// A count is refused unless its elements can be present: count - 1 elements of their smallest wire size and a
// last one that may lack its pad at the very end. A missing count reads as 0.
bool Parcel::ReadCount(int32_t &count, size_t minElement, size_t minLastElement)
{
    count = ReadInt32();
    if (count <= 0) {
        return count == 0;
    }
    size_t readable = GetReadableBytes();
    return readable >= minLastElement && static_cast<size_t>(count) - 1 <= (readable - minLastElement) / minElement;
}

// Elements travel as `Wire` values: words for the wide types, single bytes for the packed ones, with one pad at
// the end. When the room is already there and no write fault is armed, the vector goes in one pass; otherwise
// element by element, so that a parcel at its limit keeps the platform's partial writes and growth steps.
template <typename Wire, typename T>
bool Parcel::WriteFixedVector(const std::vector<T> &val)
{
    if (val.size() > static_cast<size_t>(INT32_MAX)) {
        return false;
    }
    size_t body = val.size() * sizeof(Wire);
    size_t total = sizeof(int32_t) + PaddedSize(body);
    if (!g_faultSwitchUsed.load(std::memory_order_relaxed) && writable_ && total <= dataCapacity_ - writeCursor_) {
        uint8_t *out = data_ + writeCursor_;
        int32_t count = static_cast<int32_t>(val.size());
        memcpy(out, &count, sizeof(count));
        out += sizeof(count);
        for (const T &item : val) {
            Wire wire = static_cast<Wire>(item);
            memcpy(out, &wire, sizeof(Wire));
            out += sizeof(Wire);
        }
        memset(out, 0, PadSize(body));
        Advance(total);
        return true;
    }
    if (!WriteInt32(static_cast<int32_t>(val.size()))) {
        return false;
    }
    for (const T &item : val) {
        bool written = false;
        if constexpr (sizeof(Wire) < ALIGNMENT) {
            written = WriteUnaligned<Wire>(static_cast<Wire>(item));
        } else {
            written = Write<Wire>(static_cast<Wire>(item));
        }
        if (!written) {
            return false;
        }
    }
    if (PadSize(body) == 0) {
        return true;
    }
    if (!EnsureWritableCapacity(PadSize(body))) {
        return false;
    }
    WritePadBytes(PadSize(body));
    return true;
}

template <typename Wire, typename T>
bool Parcel::ReadFixedVector(std::vector<T> *val)
{
    int32_t count = 0;
    if (val == nullptr || !ReadCount(count, sizeof(Wire), sizeof(Wire))) {
        return false;
    }
    size_t body = static_cast<size_t>(count) * sizeof(Wire);
    if (!objectOffsets_.empty() && CoversObject(readCursor_, body)) {
        return false;
    }
    const uint8_t *in = data_ + readCursor_;
    val->resize(static_cast<size_t>(count));
    for (size_t i = 0; i < val->size(); i++) {
        Wire wire;
        memcpy(&wire, in + i * sizeof(Wire), sizeof(Wire));
        (*val)[i] = static_cast<T>(wire);
    }
    readCursor_ += body;
    SkipBytes(PadSize(body));
    return true;
}

// The count is checked against the readable bytes, as on the device; element failures are not reported, a short
// element reads as empty. The result grows only with what is read: once a read makes no progress (the data ended,
// or a length points past it), every later one would fail alike, and the rest is padded with empty elements.
template <typename T>
bool Parcel::ReadTextVector(std::vector<T> *val, const T (Parcel::*Read)())
{
    if (val == nullptr) {
        return false;
    }
    int32_t count = ReadInt32();
    if (count < 0 || static_cast<size_t>(count) > GetReadableBytes()) {
        return false;
    }
    std::vector<T> read;
    while (read.size() < static_cast<size_t>(count)) {
        size_t before = readCursor_;
        read.push_back((this->*Read)());
        if (readCursor_ == before) {
            break;
        }
    }
    read.resize(static_cast<size_t>(count));
    *val = std::move(read);
    return true;
}

// Wire widths of the vector elements: bool and int16 are widened to words like their scalar writers; int8, uint8
// and uint16 are packed.
bool Parcel::WriteBoolVector(const std::vector<bool> &val)
{
    return WriteFixedVector<int32_t>(val);
}

bool Parcel::WriteInt8Vector(const std::vector<int8_t> &val)
{
    return WriteFixedVector<int8_t>(val);
}

bool Parcel::WriteInt16Vector(const std::vector<int16_t> &val)
{
    return WriteFixedVector<int32_t>(val);
}

bool Parcel::WriteInt32Vector(const std::vector<int32_t> &val)
{
    return WriteFixedVector<int32_t>(val);
}

bool Parcel::WriteInt64Vector(const std::vector<int64_t> &val)
{
    return WriteFixedVector<int64_t>(val);
}

bool Parcel::WriteUInt8Vector(const std::vector<uint8_t> &val)
{
    return WriteFixedVector<uint8_t>(val);
}

bool Parcel::WriteUInt16Vector(const std::vector<uint16_t> &val)
{
    return WriteFixedVector<uint16_t>(val);
}

bool Parcel::WriteUInt32Vector(const std::vector<uint32_t> &val)
{
    return WriteFixedVector<uint32_t>(val);
}

bool Parcel::WriteUInt64Vector(const std::vector<uint64_t> &val)
{
    return WriteFixedVector<uint64_t>(val);
}

bool Parcel::WriteFloatVector(const std::vector<float> &val)
{
    return WriteFixedVector<float>(val);
}

bool Parcel::WriteDoubleVector(const std::vector<double> &val)
{
    return WriteFixedVector<double>(val);
}

bool Parcel::WriteStringVector(const std::vector<std::string> &val)
{
    return WriteVector(val, &Parcel::WriteString);
}

bool Parcel::WriteString16Vector(const std::vector<std::u16string> &val)
{
    return WriteVector(val, &Parcel::WriteString16);
}

bool Parcel::ReadBoolVector(std::vector<bool> *val)
{
    return ReadFixedVector<int32_t>(val);
}

bool Parcel::ReadInt8Vector(std::vector<int8_t> *val)
{
    return ReadFixedVector<int8_t>(val);
}

bool Parcel::ReadInt16Vector(std::vector<int16_t> *val)
{
    return ReadFixedVector<int32_t>(val);
}

bool Parcel::ReadInt32Vector(std::vector<int32_t> *val)
{
    return ReadFixedVector<int32_t>(val);
}

bool Parcel::ReadInt64Vector(std::vector<int64_t> *val)
{
    return ReadFixedVector<int64_t>(val);
}

bool Parcel::ReadUInt8Vector(std::vector<uint8_t> *val)
{
    return ReadFixedVector<uint8_t>(val);
}

bool Parcel::ReadUInt16Vector(std::vector<uint16_t> *val)
{
    return ReadFixedVector<uint16_t>(val);
}

bool Parcel::ReadUInt32Vector(std::vector<uint32_t> *val)
{
    return ReadFixedVector<uint32_t>(val);
}

bool Parcel::ReadUInt64Vector(std::vector<uint64_t> *val)
{
    return ReadFixedVector<uint64_t>(val);
}

bool Parcel::ReadFloatVector(std::vector<float> *val)
{
    return ReadFixedVector<float>(val);
}

bool Parcel::ReadDoubleVector(std::vector<double> *val)
{
    return ReadFixedVector<double>(val);
}

bool Parcel::ReadStringVector(std::vector<std::string> *val)
{
    return ReadTextVector(val, &Parcel::ReadString);
}

bool Parcel::ReadString16Vector(std::vector<std::u16string> *val)
{
    return ReadTextVector(val, &Parcel::ReadString16);
}

void Parcel::InjectOffsets(binder_size_t offsets, size_t offsetSize)
{
    const auto *first = reinterpret_cast<const binder_size_t *>(offsets);
    if (first == nullptr) {
        return;
    }
    objectOffsets_.assign(first, first + offsetSize);
}

void Parcel::FlushBuffer()
{
    if (data_ != nullptr && allocator_ != nullptr) {
        allocator_->Dealloc(data_);
    }
    data_ = nullptr;
    readCursor_ = 0;
    writeCursor_ = 0;
    dataSize_ = 0;
    dataCapacity_ = 0;
    writable_ = true;
    objectOffsets_.clear();
}

} // namespace OHOS
