#ifndef TARNBY_TEST_RECORDS_WIRE_H
#define TARNBY_TEST_RECORDS_WIRE_H

// Expected parcel bytes built by hand in the platform's format (little-endian 4-byte words; a string is its byte
// length, the bytes, a NUL and zero padding to 4), independent of the Parcel implementation under test.
#include <cstdint>
#include <string>
#include <vector>

#include "parcel.h"

namespace OHOS::TarnbyTest {
class Wire {
public:
    Wire &I32(int32_t value)
    {
        return U32(static_cast<uint32_t>(value));
    }
    Wire &U32(uint32_t value)
    {
        for (int shift = 0; shift < 32; shift += 8) {
            bytes_.push_back(static_cast<uint8_t>(value >> shift));
        }
        return *this;
    }
    Wire &Bool(bool value)
    {
        return U32(value ? 1 : 0);
    }
    Wire &Str(const std::string &value)
    {
        U32(static_cast<uint32_t>(value.size()));
        bytes_.insert(bytes_.end(), value.begin(), value.end());
        bytes_.push_back(0);
        while (bytes_.size() % 4 != 0) {
            bytes_.push_back(0);
        }
        return *this;
    }
    Wire &StrVec(const std::vector<std::string> &values)
    {
        U32(static_cast<uint32_t>(values.size()));
        for (const auto &value : values) {
            Str(value);
        }
        return *this;
    }
    Wire &U32Vec(const std::vector<uint32_t> &values)
    {
        U32(static_cast<uint32_t>(values.size()));
        for (uint32_t value : values) {
            U32(value);
        }
        return *this;
    }
    Wire &Then(const Wire &other)
    {
        bytes_.insert(bytes_.end(), other.bytes_.begin(), other.bytes_.end());
        return *this;
    }
    const std::vector<uint8_t> &Bytes() const
    {
        return bytes_;
    }
    // A parcel holding exactly these bytes, ready to be read from the start.
    void LoadInto(Parcel &parcel) const
    {
        if (!bytes_.empty()) {
            parcel.WriteBuffer(bytes_.data(), bytes_.size());
        }
    }

private:
    std::vector<uint8_t> bytes_;
};

// The bytes written into `parcel` so far; its read position is left as it was.
inline std::vector<uint8_t> DataOf(Parcel &parcel)
{
    size_t size = parcel.GetDataSize();
    size_t position = parcel.GetReadPosition();
    parcel.RewindRead(0);
    const uint8_t *data = size == 0 ? nullptr : parcel.ReadBuffer(size);
    parcel.RewindRead(position);
    return data == nullptr ? std::vector<uint8_t>() : std::vector<uint8_t>(data, data + size);
}

inline std::vector<uint8_t> MarshalledBytes(const Parcelable &record)
{
    Parcel parcel;
    if (!record.Marshalling(parcel)) {
        return {};
    }
    return DataOf(parcel);
}

// Fills a fresh parcel with int32 words so that exactly `room` bytes (a multiple of 4) stay below its maximum.
inline void LeaveRoom(Parcel &parcel, size_t room)
{
    size_t fill = parcel.GetMaxCapacity() - room;
    for (size_t written = 0; written < fill; written += sizeof(int32_t)) {
        parcel.WriteInt32(0);
    }
}
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_RECORDS_WIRE_H
