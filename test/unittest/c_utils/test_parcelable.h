#ifndef C_UTILS_TEST_PARCELABLE_H
#define C_UTILS_TEST_PARCELABLE_H

#include <new>

#include "parcel.h"

namespace OHOS {

// The smallest record: one int32 on the wire.
class IntParcelable : public Parcelable {
public:
    explicit IntParcelable(int32_t value) : value_(value) {}

    bool Marshalling(Parcel &parcel) const override
    {
        return parcel.WriteInt32(value_);
    }

    static IntParcelable *Unmarshalling(Parcel &parcel)
    {
        int32_t value = 0;
        if (!parcel.ReadInt32(value)) {
            return nullptr;
        }
        return new (std::nothrow) IntParcelable(value);
    }

    int32_t value_;
};

} // namespace OHOS

#endif // C_UTILS_TEST_PARCELABLE_H
