// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_TEST_RAW_MESSAGE_H
#define TARNBY_TEST_RAW_MESSAGE_H

// One socket message written by hand, with descriptors attached, as a peer that does not use the runtime sends it.
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <vector>

namespace OHOS::TarnbyTest {
// The sent byte count, or -1 with errno; `flags` go to sendmsg beside MSG_NOSIGNAL.
inline ssize_t SendRawMessage(int socket, const void *data, size_t size, const std::vector<int> &fds, int flags = 0)
{
    iovec bytes{const_cast<void *>(data), size};
    std::vector<char> control(CMSG_SPACE(sizeof(int) * fds.size()));
    msghdr message{nullptr, 0, &bytes, 1, nullptr, 0, 0};
    if (!fds.empty()) {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        cmsghdr *rights = CMSG_FIRSTHDR(&message);
        *rights = cmsghdr{CMSG_LEN(sizeof(int) * fds.size()), SOL_SOCKET, SCM_RIGHTS};
        std::memcpy(CMSG_DATA(rights), fds.data(), sizeof(int) * fds.size());
    }
    return sendmsg(socket, &message, MSG_NOSIGNAL | flags);
}
// poll() of one descriptor for `events` within `milliseconds`, waiting on through signals (a fuzzer's timer, say):
// the revents, or 0 when the time ran out.
inline short PollFor(int fd, short events, int milliseconds)
{
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd watched{fd, events, 0};
        int ready = poll(&watched, 1, static_cast<int>(std::max<long long>(left.count(), 0)));
        if (ready > 0) {
            return watched.revents;
        }
        if (ready == 0 || errno != EINTR) {
            return 0;
        }
    }
}
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_RAW_MESSAGE_H
