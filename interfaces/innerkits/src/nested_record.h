// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_NESTED_RECORD_H
#define TARNBY_NESTED_RECORD_H

// Nested records travel in the platform's strong-parcelable form: an int32 presence flag, then the record. The
// platform's writer turns a null reference into flag 0 and reports success even when that flag did not fit, so each
// record states what null means for it with one of these. Records are read back with Parcel::ReadStrongParcelable.
#include "parcel.h"
#include "refbase.h"

namespace OHOS::Tarnby {
// A record the wire requires: a null one fails the write.
inline bool WriteRequiredRecord(Parcel &parcel, const sptr<Parcelable> &record)
{
    return record != nullptr && parcel.WriteStrongParcelable(record);
}

// A record the wire may leave out: a null one is written as flag 0, and a flag that does not fit fails the write.
inline bool WriteOptionalRecord(Parcel &parcel, const sptr<Parcelable> &record)
{
    return record != nullptr ? parcel.WriteStrongParcelable(record) : parcel.WriteInt32(0);
}
} // namespace OHOS::Tarnby

#endif // TARNBY_NESTED_RECORD_H
