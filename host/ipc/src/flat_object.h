// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_FLAT_OBJECT_H
#define OHOS_HOST_IPC_FLAT_OBJECT_H

#include <cstddef>
#include <cstdint>

namespace OHOS::HostIpc {
// Type words of the flat objects in a parcel, as the binder driver knows them.
constexpr uint32_t PackType(char c1, char c2, char c3, uint8_t c4)
{
    return (static_cast<uint32_t>(c1) << 24) | (static_cast<uint32_t>(c2) << 16) | (static_cast<uint32_t>(c3) << 8) |
           c4;
}
constexpr uint32_t TYPE_BINDER = PackType('s', 'b', '*', 0x85);
constexpr uint32_t TYPE_HANDLE = PackType('s', 'h', '*', 0x85);
constexpr uint32_t TYPE_FD = PackType('f', 'd', '*', 0x85);
constexpr uint32_t FLAT_FLAGS = 0x17f;  // priority mask 0x7f plus "accepts descriptors"
constexpr uint64_t FD_OWNED_COOKIE = 1; // the receiver closes the descriptor

// A remote object or a descriptor inside a parcel's data: the same 24 bytes in a parcel and in a frame.
struct FlatObject {
    uint32_t type;
    uint32_t flags;
    uint64_t handle; // a binder's address, a proxy's or a frame's handle, or a descriptor (index in a frame)
    uint64_t cookie;
};
static_assert(sizeof(FlatObject) == 24, "a flat object is 24 bytes on the wire");
static_assert(offsetof(FlatObject, flags) == 4 && offsetof(FlatObject, handle) == 8, "flat object words moved");
static_assert(offsetof(FlatObject, cookie) == 16, "flat object words moved");
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_FLAT_OBJECT_H
