// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_SOCKET_IO_H
#define OHOS_HOST_IPC_SOCKET_IO_H

// One message with its descriptors in and out of a non-blocking SOCK_SEQPACKET socket.
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace OHOS::HostIpc {
// Owns descriptors received with a message until someone takes them.
struct ReceivedFds {
    std::vector<int> fds;
    ReceivedFds() = default;
    ReceivedFds(const ReceivedFds &) = delete;
    ReceivedFds &operator=(const ReceivedFds &) = delete;
    ~ReceivedFds();
    int Take(size_t index);
};

enum class ReceiveResult {
    MESSAGE,   // one whole message with its descriptors
    NOTHING,   // nothing to read now (a non-blocking socket)
    END,       // the peer closed its end, or the socket failed
    TRUNCATED, // the message or its descriptors were cut off: a peer sending more than a frame may hold
};

// Receives one message into `buffer` (kept at its full size, so that it is not cleared again for every message),
// its length into `length`, its descriptors into `fds`.
[[nodiscard]] ReceiveResult ReceiveMessage(int socket, std::vector<uint8_t> &buffer, size_t &length, ReceivedFds &fds);
// Sends one message without blocking: its byte count, or -1 with errno (EAGAIN when the socket is full).
[[nodiscard]] ssize_t SendMessage(int socket, const std::vector<uint8_t> &message, const std::vector<int> &fds);
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_SOCKET_IO_H
