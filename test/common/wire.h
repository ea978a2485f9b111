// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_TEST_WIRE_H
#define TARNBY_TEST_WIRE_H

// Parcels built by hand: expected bytes in the platform's format (little-endian 4-byte words; a string is its length
// in units, the units, a zero unit and zero padding to 4), independent of the Parcel implementation under test; and
// request or callback bodies written field by field in wire order.
#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "message_parcel.h"
#include "parcel.h"

namespace OHOS::TarnbyTest {
using Body = std::function<void(MessageParcel &)>;

class Wire {
public:
    // 4-byte words: int32, uint32, or a bool (0 or 1).
    template <typename... Values>
    Wire &Words(Values... values)
    {
        for (uint32_t value : {static_cast<uint32_t>(values)...}) {
            for (int shift = 0; shift < 32; shift += 8) {
                bytes_.push_back(static_cast<uint8_t>(value >> shift));
            }
        }
        return *this;
    }
    // Strings of 8-bit or 16-bit units.
    template <typename... Texts>
    Wire &Str(const Texts &...values)
    {
        (Units(std::basic_string(values)), ...);
        return *this;
    }
    // A count, then each element (strings as Str, numbers as Words).
    template <typename Element>
    Wire &Vec(const std::vector<Element> &values)
    {
        Words(values.size());
        for (const Element &value : values) {
            if constexpr (std::is_same_v<Element, std::string>) {
                Str(value);
            } else {
                Words(value);
            }
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
    template <typename Text>
    Wire &Units(const Text &value)
    {
        Words(value.size());
        for (auto unit : value + typename Text::value_type(0)) {
            for (size_t byte = 0; byte < sizeof(unit); ++byte) {
                bytes_.push_back(static_cast<uint8_t>(static_cast<uint32_t>(unit) >> (8 * byte)));
            }
        }
        bytes_.resize((bytes_.size() + 3) / 4 * 4);
        return *this;
    }

    std::vector<uint8_t> bytes_;
};

// What `record` writes into a fresh parcel; nothing when it fails.
inline std::vector<uint8_t> MarshalledBytes(const Parcelable &record)
{
    Parcel parcel;
    if (!record.Marshalling(parcel)) {
        return {};
    }
    const auto *data = reinterpret_cast<const uint8_t *>(parcel.GetData());
    return std::vector<uint8_t>(data, data + parcel.GetDataSize());
}

// A parcel body written value by value in the order given: int32_t, uint32_t, bool, a string, a uint32 vector, or a
// writer of its own (for raw blocks and descriptors).
template <typename... Values>
Body Fields(Values... values)
{
    return [=](MessageParcel &data) {
        [[maybe_unused]] auto write = [&data](const auto &value) {
            using Value = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Value, int32_t>) {
                data.WriteInt32(value);
            } else if constexpr (std::is_same_v<Value, uint32_t>) {
                data.WriteUint32(value);
            } else if constexpr (std::is_same_v<Value, bool>) {
                data.WriteBool(value);
            } else if constexpr (std::is_same_v<Value, std::vector<uint32_t>>) {
                data.WriteUInt32Vector(value);
            } else if constexpr (std::is_convertible_v<Value, std::string>) {
                data.WriteString(value);
            } else {
                value(data);
            }
        };
        (write(values), ...);
    };
}

// Fills a fresh parcel with int32 words so that exactly `room` bytes (a multiple of 4) stay below its maximum.
inline void LeaveRoom(Parcel &parcel, size_t room)
{
    for (size_t written = room; written < parcel.GetMaxCapacity(); written += sizeof(int32_t)) {
        parcel.WriteInt32(0);
    }
}
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_WIRE_H
