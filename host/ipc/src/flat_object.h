// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_FLAT_OBJECT_H
#define OHOS_HOST_IPC_FLAT_OBJECT_H

// The one flat object of the host IPC: the platform's parcel_flat_binder_object (flat_obj.h), the same 24 bytes in a
// parcel and in a frame. Its 64-bit `binder` word carries a local object's address in a parcel, and a handle or a
// descriptor number in a frame; a proxy's 32-bit handle overlays its low half.
#include <cstdint>

#include "flat_obj.h"

namespace OHOS {
class IRemoteObject;
} // namespace OHOS

namespace OHOS::HostIpc {
using FlatObject = parcel_flat_binder_object;

constexpr uint32_t TYPE_BINDER = BINDER_TYPE_BINDER;
constexpr uint32_t TYPE_HANDLE = BINDER_TYPE_HANDLE;
constexpr uint32_t TYPE_FD = BINDER_TYPE_FD;
constexpr uint32_t FLAT_FLAGS = 0x17f;  // priority mask 0x7f plus "accepts descriptors"
constexpr uint64_t FD_OWNED_COOKIE = 1; // the receiver closes the descriptor

inline FlatObject MakeFlat(uint32_t type, uint64_t value, uint64_t cookie = 0)
{
    FlatObject flat{};
    flat.hdr.type = type;
    flat.flags = FLAT_FLAGS;
    flat.binder = value;
    flat.cookie = cookie;
    return flat;
}

// How `object` is written into a parcel: a proxy as its handle, a local object as its address (and cookie). Lives
// beside the proxy, which alone knows its handle.
FlatObject FlattenRemoteObject(IRemoteObject &object);
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_FLAT_OBJECT_H
