#include "socket_frame.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace OHOS::HostIpc {
namespace {
constexpr int REQUIRED_SEALS = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;

union ControlBuffer {
    char bytes[CMSG_SPACE(sizeof(int) * MAX_FRAME_FDS)];
    cmsghdr align;
};
} // namespace

ReceivedFds::~ReceivedFds()
{
    for (int fd : fds) {
        if (fd >= 0) {
            close(fd);
        }
    }
}

int ReceivedFds::Take(size_t index)
{
    int fd = fds[index];
    fds[index] = -1;
    return fd;
}

bool SendMessage(int socket, const std::vector<uint8_t> &message, const std::vector<int> &fds)
{
    if (fds.size() > MAX_FRAME_FDS) {
        errno = EMSGSIZE;
        return false;
    }
    iovec vector{const_cast<uint8_t *>(message.data()), message.size()};
    msghdr header{};
    header.msg_iov = &vector;
    header.msg_iovlen = 1;
    ControlBuffer control{};
    if (!fds.empty()) {
        header.msg_control = control.bytes;
        header.msg_controllen = CMSG_SPACE(sizeof(int) * fds.size());
        cmsghdr *rights = CMSG_FIRSTHDR(&header);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(sizeof(int) * fds.size());
        std::memcpy(CMSG_DATA(rights), fds.data(), sizeof(int) * fds.size());
    }
    ssize_t sent;
    do {
        sent = sendmsg(socket, &header, MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(message.size());
}

int ReceiveMessage(int socket, std::vector<uint8_t> &buffer, size_t &length, ReceivedFds &fds)
{
    buffer.resize(MAX_MESSAGE);
    length = 0;
    iovec vector{buffer.data(), buffer.size()};
    msghdr header{};
    header.msg_iov = &vector;
    header.msg_iovlen = 1;
    ControlBuffer control{};
    header.msg_control = control.bytes;
    header.msg_controllen = sizeof(control.bytes);
    ssize_t received;
    do {
        received = recvmsg(socket, &header, MSG_CMSG_CLOEXEC);
    } while (received < 0 && errno == EINTR);
    if (received <= 0) {
        return received == 0 ? 0 : -1;
    }
    for (cmsghdr *item = CMSG_FIRSTHDR(&header); item != nullptr; item = CMSG_NXTHDR(&header, item)) {
        if (item->cmsg_level == SOL_SOCKET && item->cmsg_type == SCM_RIGHTS) {
            size_t count = (item->cmsg_len - CMSG_LEN(0)) / sizeof(int);
            const auto *data = reinterpret_cast<const int *>(CMSG_DATA(item));
            for (size_t i = 0; i < count; i++) {
                int fd;
                std::memcpy(&fd, data + i, sizeof(fd));
                fds.fds.push_back(fd);
            }
        }
    }
    length = static_cast<size_t>(received);
    return (header.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0 ? -2 : 1;
}

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
