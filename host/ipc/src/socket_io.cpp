// SPDX-License-Identifier: Apache-2.0
#include "socket_io.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "wire_format.h"

namespace OHOS::HostIpc {
namespace {
union ControlBuffer {
    char bytes[CMSG_SPACE(sizeof(int) * MAX_FRAME_FDS)];
    cmsghdr align;
};

void CollectDescriptors(msghdr &header, ReceivedFds &fds)
{
    for (cmsghdr *item = CMSG_FIRSTHDR(&header); item != nullptr; item = CMSG_NXTHDR(&header, item)) {
        if (item->cmsg_level != SOL_SOCKET || item->cmsg_type != SCM_RIGHTS) {
            continue;
        }
        size_t count = (item->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        const auto *data = reinterpret_cast<const int *>(CMSG_DATA(item));
        for (size_t i = 0; i < count; i++) {
            int fd;
            std::memcpy(&fd, data + i, sizeof(fd));
            fds.fds.push_back(fd);
        }
    }
}
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

ssize_t SendMessage(int socket, const std::vector<uint8_t> &message, const std::vector<int> &fds)
{
    if (fds.size() > MAX_FRAME_FDS) {
        errno = EMSGSIZE;
        return -1;
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
        sent = sendmsg(socket, &header, MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (sent < 0 && errno == EINTR);
    return sent;
}

ReceiveResult ReceiveMessage(int socket, std::vector<uint8_t> &buffer, size_t &length, ReceivedFds &fds)
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
        received = recvmsg(socket, &header, MSG_CMSG_CLOEXEC | MSG_DONTWAIT);
    } while (received < 0 && errno == EINTR);
    if (received < 0) {
        return errno == EAGAIN || errno == EWOULDBLOCK ? ReceiveResult::NOTHING : ReceiveResult::END;
    }
    CollectDescriptors(header, fds); // an empty message may carry descriptors too: they are ours to close now
    if (received == 0) {
        return ReceiveResult::END;
    }
    length = static_cast<size_t>(received);
    return (header.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0 ? ReceiveResult::TRUNCATED : ReceiveResult::MESSAGE;
}
} // namespace OHOS::HostIpc
