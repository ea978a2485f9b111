// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_PARCEL_H
#define OHOS_HOST_PARCEL_H

// Host-only write-fault switch of the Parcel, for tests that walk every write of an operation. Never included by
// the library.
#include <cstdint>

namespace OHOS::HostParcel {
// On the calling thread only: the n-th Parcel write from now on (1-based) fails as if the parcel could not grow,
// changing nothing in the parcel; every later write succeeds again. 0 disarms. Each write that reaches a parcel's
// storage counts once, nested ones included: an int32 is one write, a string or string16 two (its length, then
// its body), a vector its count and then each element, WriteInterfaceToken four (two int32 and a string16).
void FailNthWrite(uint32_t n);
// Writes counted on the calling thread since the last FailNthWrite call.
uint32_t WriteCount();
} // namespace OHOS::HostParcel

#endif // OHOS_HOST_PARCEL_H
