// SPDX-License-Identifier: Apache-2.0
#ifndef C_UTILS_TEST_PARCELABLE_H
#define C_UTILS_TEST_PARCELABLE_H

#include <new>
#include <string>

#include "parcel.h"

namespace OHOS {

// Lowercase hex of `size` bytes, the notation of the recorded vectors.
inline std::string Hex(const uint8_t *data, size_t size)
{
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (size_t i = 0; i < size; i++) {
        out += {digits[data[i] >> 4], digits[data[i] & 0xf]};
    }
    return out;
}

// The parcel's data from `from` to its end.
inline std::string Hex(const Parcel &parcel, size_t from = 0)
{
    return Hex(reinterpret_cast<const uint8_t *>(parcel.GetData()) + from, parcel.GetDataSize() - from);
}

// The smallest record: one int32 on the wire (a binder object's stand-in when `asRemote`).
class IntParcelable : public Parcelable {
public:
    explicit IntParcelable(int32_t value, bool asRemote = false) : Parcelable(asRemote), value_(value) {}
    bool Marshalling(Parcel &parcel) const override
    {
        return parcel.WriteInt32(value_);
    }
    static IntParcelable *Unmarshalling(Parcel &parcel)
    {
        int32_t value = 0;
        return parcel.ReadInt32(value) ? new (std::nothrow) IntParcelable(value) : nullptr;
    }
    int32_t value_;
};

} // namespace OHOS

#endif // C_UTILS_TEST_PARCELABLE_H
