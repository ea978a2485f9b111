// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_OUTBOX_H
#define OHOS_HOST_IPC_OUTBOX_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "frame_codec.h"
#include "reactor.h"

namespace OHOS::HostIpc {
// What one connection sends, in order, without ever blocking the sending thread: a message goes straight to the
// socket when nothing waits before it, otherwise it queues, and the queue drains as the socket becomes writable.
// A peer that lets the queue pass its bounds, or leaves a message unread for the drain time, has stopped reading
// and only hurts itself: the connection is told to end.
//
// Threads: any sender; the reactor thread that sees the socket writable; a timer. Locks: mutex_, taken after any
// connection lock; the stall callback runs without it.
class Outbox : public Reactor::Source, public std::enable_shared_from_this<Outbox> {
public:
    static constexpr size_t MAX_QUEUED_MESSAGES = 4096;
    static constexpr uint64_t MAX_QUEUED_BYTES = 256ULL * 1024 * 1024; // messages and the data of their memfds
    static constexpr std::chrono::milliseconds DEFAULT_DRAIN_TIME{10000};
    // How long a message may wait unread before the peer counts as stalled (the default unless set).
    static std::chrono::milliseconds DrainTime();
    static void SetDrainTime(std::chrono::milliseconds drainTime);

    enum class Result {
        SENT,    // in the socket
        QUEUED,  // waits for the peer to read
        FAILED,  // the socket refused it (errno tells why)
        STALLED, // the queue is full: the connection ends
    };

    // `socket` stays the caller's; `onStalled` is called once, with the reason, when the peer stopped reading.
    Outbox(int socket, std::function<void(const char *why)> onStalled);
    ~Outbox() override;
    [[nodiscard]] Result Send(EncodedFrame &&frame);
    // Drops what waits and stops watching the socket.
    void Close();
    void OnReady(uint32_t events) override;
    size_t QueuedMessages();

private:
    struct Queued {
        EncodedFrame frame;
        std::chrono::steady_clock::time_point since;
    };
    bool QueueLocked(EncodedFrame &&frame);
    // Sends what waits, in order, until the socket is full again; false when the socket failed.
    bool FlushLocked();
    void CheckDrain();
    void Stall(const char *why);

    const int socket_;
    const std::function<void(const char *why)> onStalled_;
    std::mutex mutex_;
    std::deque<Queued> queue_;
    uint64_t queuedBytes_ = 0;
    int watch_ = -1; // a duplicate of the socket, watched for writability while something waits
    uint64_t watchKey_ = 0;
    bool stalled_ = false;
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_OUTBOX_H
