#include "parcel.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

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
} // namespace

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

void Parcel::WritePadBytes(size_t padSize)
{
    memset(data_ + writeCursor_, 0, padSize);
    writeCursor_ += padSize;
    if (writeCursor_ > dataSize_) {
        dataSize_ = writeCursor_;
    }
}

bool Parcel::WriteDataBytes(const void *data, size_t size)
{
    size_t padSize = PadSize(size);
    if (!EnsureWritableCapacity(size + padSize)) {
        return false;
    }
    memcpy(data_ + writeCursor_, data, size);
    writeCursor_ += size;
    WritePadBytes(padSize);
    return true;
}

template <typename T>
bool Parcel::Write(T value)
{
    return WriteDataBytes(&value, sizeof(T));
}

template <typename T>
bool Parcel::WriteUnaligned(T value)
{
    if (!EnsureWritableCapacity(sizeof(T))) {
        return false;
    }
    memcpy(data_ + writeCursor_, &value, sizeof(T));
    writeCursor_ += sizeof(T);
    if (writeCursor_ > dataSize_) {
        dataSize_ = writeCursor_;
    }
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
    if (data == nullptr || typeSize == 0 || size > SIZE_MAX - ALIGNMENT - typeSize) {
        return false;
    }
    size_t terminated = size + typeSize;
    size_t padSize = PadSize(terminated);
    if (!EnsureWritableCapacity(terminated + padSize)) {
        return false;
    }
    memcpy(data_ + writeCursor_, data, size);
    writeCursor_ += size;
    WritePadBytes(typeSize + padSize);
    return true;
}

bool Parcel::WriteCString(const char *value)
{
    if (value == nullptr) {
        return false;
    }
    return WriteBufferAddTerminator(value, strlen(value), sizeof(char));
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
    return WriteBufferAddTerminator(data, length * unitSize, unitSize);
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
    return object->Marshalling(*this);
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
    object->SetBehavior(Parcelable::BehaviorFlag::HOLD_OBJECT);
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
    writeCursor_ = size;
    writable_ = false;
    return true;
}

template <typename T>
bool Parcel::Read(T &value)
{
    if (GetReadableBytes() < sizeof(T)) {
        return false;
    }
    memcpy(&value, data_ + readCursor_, sizeof(T));
    readCursor_ += PaddedSize(sizeof(T));
    return true;
}

template <typename T>
T Parcel::ReadValue()
{
    T value{};
    return Read<T>(value) ? value : T{};
}

template <typename T>
bool Parcel::ReadUnaligned(T &value)
{
    if (GetReadableBytes() < sizeof(T)) {
        return false;
    }
    memcpy(&value, data_ + readCursor_, sizeof(T));
    readCursor_ += sizeof(T);
    return true;
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

bool Parcel::ReadBoolUnaligned()
{
    uint8_t value = 0; // any byte may arrive; only 0 and 1 may be loaded as a bool
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
    if (data_ == nullptr || length > GetReadableBytes()) {
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

// A count that cannot fit in the remaining bytes is refused before anything is sized by it.
bool Parcel::ReadCount(int32_t &count, size_t elementSize)
{
    count = ReadInt32();
    if (count < 0) {
        return false;
    }
    return static_cast<size_t>(count) <= GetReadableBytes() / elementSize;
}

template <typename T>
bool Parcel::WritePackedVector(const std::vector<T> &val)
{
    if (val.size() > static_cast<size_t>(INT32_MAX) || !WriteInt32(static_cast<int32_t>(val.size()))) {
        return false;
    }
    if (val.empty()) {
        return true;
    }
    return WriteDataBytes(val.data(), val.size() * sizeof(T));
}

template <typename T>
bool Parcel::ReadPackedVector(std::vector<T> *val)
{
    int32_t count = 0;
    if (val == nullptr || !ReadCount(count, sizeof(T))) {
        return false;
    }
    size_t size = static_cast<size_t>(count) * sizeof(T);
    val->resize(static_cast<size_t>(count));
    if (count > 0) {
        memcpy(val->data(), data_ + readCursor_, size);
        readCursor_ += size;
        SkipBytes(PadSize(size));
    }
    return true;
}

template <typename T>
bool Parcel::ReadTextVector(std::vector<T> *val, const T (Parcel::*Read)())
{
    int32_t count = 0;
    if (val == nullptr || !ReadCount(count, 1)) {
        return false;
    }
    // Element failures are not reported: a short element reads as empty, as on the device.
    val->resize(static_cast<size_t>(count));
    for (auto &item : *val) {
        item = (this->*Read)();
    }
    return true;
}

bool Parcel::WriteBoolVector(const std::vector<bool> &val)
{
    return WriteVector(val, &Parcel::WriteBool);
}

bool Parcel::WriteInt8Vector(const std::vector<int8_t> &val)
{
    return WritePackedVector(val);
}

bool Parcel::WriteInt16Vector(const std::vector<int16_t> &val)
{
    return WritePackedVector(val);
}

bool Parcel::WriteInt32Vector(const std::vector<int32_t> &val)
{
    return WriteVector(val, &Parcel::WriteInt32);
}

bool Parcel::WriteInt64Vector(const std::vector<int64_t> &val)
{
    return WriteVector(val, &Parcel::WriteInt64);
}

bool Parcel::WriteUInt8Vector(const std::vector<uint8_t> &val)
{
    return WritePackedVector(val);
}

bool Parcel::WriteUInt16Vector(const std::vector<uint16_t> &val)
{
    return WritePackedVector(val);
}

bool Parcel::WriteUInt32Vector(const std::vector<uint32_t> &val)
{
    return WriteVector(val, &Parcel::WriteUint32);
}

bool Parcel::WriteUInt64Vector(const std::vector<uint64_t> &val)
{
    return WriteVector(val, &Parcel::WriteUint64);
}

bool Parcel::WriteFloatVector(const std::vector<float> &val)
{
    return WriteVector(val, &Parcel::WriteFloat);
}

bool Parcel::WriteDoubleVector(const std::vector<double> &val)
{
    return WriteVector(val, &Parcel::WriteDouble);
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
    return ReadVector(val, &Parcel::ReadBool);
}

bool Parcel::ReadInt8Vector(std::vector<int8_t> *val)
{
    return ReadPackedVector(val);
}

bool Parcel::ReadInt16Vector(std::vector<int16_t> *val)
{
    return ReadPackedVector(val);
}

bool Parcel::ReadInt32Vector(std::vector<int32_t> *val)
{
    return ReadVector(val, &Parcel::ReadInt32);
}

bool Parcel::ReadInt64Vector(std::vector<int64_t> *val)
{
    return ReadVector(val, &Parcel::ReadInt64);
}

bool Parcel::ReadUInt8Vector(std::vector<uint8_t> *val)
{
    return ReadPackedVector(val);
}

bool Parcel::ReadUInt16Vector(std::vector<uint16_t> *val)
{
    return ReadPackedVector(val);
}

bool Parcel::ReadUInt32Vector(std::vector<uint32_t> *val)
{
    return ReadVector(val, &Parcel::ReadUint32);
}

bool Parcel::ReadUInt64Vector(std::vector<uint64_t> *val)
{
    return ReadVector(val, &Parcel::ReadUint64);
}

bool Parcel::ReadFloatVector(std::vector<float> *val)
{
    return ReadVector(val, &Parcel::ReadFloat);
}

bool Parcel::ReadDoubleVector(std::vector<double> *val)
{
    return ReadVector(val, &Parcel::ReadDouble);
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
