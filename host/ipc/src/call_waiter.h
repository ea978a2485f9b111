// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_CALL_WAITER_H
#define OHOS_HOST_IPC_CALL_WAITER_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "message_option.h"

namespace OHOS::HostIpc {
class Connection;

// A synchronous caller waiting for its reply. While it waits it also serves the requests that the thread handling
// its request sends back to this process (a service calling a client's callback from inside the client's call), as
// the driver hands such nested requests to the waiting thread: no other thread has to be free for them, and they
// run where the caller's locks are held. Across a socket the waiting thread may also be handed the reading of its
// connection, so that it receives its reply itself.
//
// Threads: the waiting thread, and any thread that completes the call or delivers to it. Locks: mutex_, a leaf
// (`finish` of Complete runs under it and may take table and registry locks, never a waiter's).
class CallWaiter {
public:
    using Clock = std::chrono::steady_clock;
    enum class Turn {
        DONE,    // the reply (or the end of the connection) came
        NESTED,  // a nested request to serve now, on this thread
        READ,    // the reading of the connection was handed to this thread
        TIMEOUT, // the deadline passed
    };

    explicit CallWaiter(uint64_t token) : token_(token) {}

    uint64_t Token() const
    {
        return token_;
    }
    // Hands a nested request to the waiting thread (taking `task`); false once the wait is over (`task` is left to
    // the caller, who serves it elsewhere).
    [[nodiscard]] bool Deliver(std::function<void()> &task);
    // Runs `finish` under the waiter's lock, then marks the call done with the result `finish` leaves. `finish` gets
    // whether the caller still waits (a caller that gave up must not be touched).
    void Complete(int result, const std::function<void(bool waiting, int &result)> &finish = nullptr);
    void OfferReading();
    // A nested request delivered while the thread was busy, without waiting; false when there is none.
    [[nodiscard]] bool TakeNested(std::function<void()> &nested);
    // Waits for the next turn until `deadline`; a NESTED turn leaves its request in `nested`.
    Turn WaitForTurn(Clock::time_point deadline, std::function<void()> &nested);
    // Waits until the call is complete or `deadline` passes, serving nested requests meanwhile; then closes.
    bool Wait(Clock::time_point deadline);
    // Ends the wait: no nested request is accepted any more (any still queued go to the IPC thread pool), and a reply
    // that comes later is not handed over. Whether the call was done by then.
    bool Close();
    bool Done();
    int Result();

private:
    const uint64_t token_;
    std::mutex mutex_;
    std::condition_variable wakeUp_;
    std::deque<std::function<void()>> nested_;
    bool done_ = false;
    bool open_ = true;
    bool readingOffered_ = false;
    int result_ = 0;
};

// The thread's identity for nested requests: unique in the process for the life of the thread.
uint64_t ThreadToken();
// When the wait of a synchronous request runs out: the option's wait time, in seconds (a non-positive time means
// the default 8 s).
CallWaiter::Clock::time_point DeadlineOf(const MessageOption &option);

// What the calling thread is serving right now: the in-process caller it runs for, or the connection and the
// peer's thread token of a request from another process. Nested scopes restore the previous context.
struct ServingContext {
    std::weak_ptr<CallWaiter> localCaller;
    std::weak_ptr<Connection> connection;
    uint64_t peerThread = 0;
};
const ServingContext &CurrentServing();

class ServingScope {
public:
    explicit ServingScope(ServingContext context);
    ~ServingScope();
    ServingScope(const ServingScope &) = delete;
    ServingScope &operator=(const ServingScope &) = delete;

private:
    ServingContext previous_;
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_CALL_WAITER_H
