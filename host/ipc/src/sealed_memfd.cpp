// SPDX-License-Identifier: Apache-2.0
#include "sealed_memfd.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace OHOS::HostIpc {
namespace {
constexpr int REQUIRED_SEALS = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;
} // namespace

int CreateSealedMemfd(const void *data, size_t size, const char *name, const std::function<bool(int fd)> &beforeSeal)
{
    int fd = memfd_create(name, MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (fd < 0) {
        return -1;
    }
    const auto *bytes = static_cast<const uint8_t *>(data);
    size_t done = 0;
    while (done < size) {
        ssize_t written = write(fd, bytes + done, size - done);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            close(fd);
            return -1;
        }
        done += static_cast<size_t>(written);
    }
    if ((beforeSeal && !beforeSeal(fd)) || fcntl(fd, F_ADD_SEALS, REQUIRED_SEALS | F_SEAL_SEAL) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

bool IsSealedOfSize(int fd, uint64_t size)
{
    struct stat info {};
    int seals = fcntl(fd, F_GET_SEALS);
    return seals >= 0 && (seals & REQUIRED_SEALS) == REQUIRED_SEALS && fstat(fd, &info) == 0 &&
           static_cast<uint64_t>(info.st_size) == size;
}
} // namespace OHOS::HostIpc
