#ifndef OHOS_HOST_IPC_FLAT_OBJECT_H
#define OHOS_HOST_IPC_FLAT_OBJECT_H

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
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_FLAT_OBJECT_H
