// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_SEALED_MEMFD_H
#define OHOS_HOST_IPC_SEALED_MEMFD_H

// Memory that crosses between processes as a descriptor: a memfd sealed against every change, so the receiver's
// mapping can never change or shrink under it.
#include <cstddef>
#include <cstdint>
#include <functional>

namespace OHOS::HostIpc {
// A sealed memfd holding `size` bytes from `data`, after `beforeSeal` (if any) had its say; -1 on failure.
[[nodiscard]] int CreateSealedMemfd(const void *data, size_t size, const char *name,
                                    const std::function<bool(int fd)> &beforeSeal = nullptr);
// Whether `fd` is a memfd of exactly `size` bytes that nobody can change any more.
[[nodiscard]] bool IsSealedOfSize(int fd, uint64_t size);
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_SEALED_MEMFD_H
