// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_READING_TURN_H
#define OHOS_HOST_IPC_READING_TURN_H

#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "call_waiter.h"

namespace OHOS::HostIpc {
// Who reads a connection's socket now: nobody (the socket is armed in the reactor, and the IPC thread it wakes
// takes the turn), an IPC thread, or a synchronous caller that reads its own reply. Callers that want the turn
// while another thread holds it wait in line; the turn passes to the first of them, or back to the reactor.
//
// Threads: any. Locks: mutex_, a leaf; a waiter is offered the turn and the socket re-armed after it is let go.
class ReadingTurn {
public:
    // `rearm` arms the socket in the reactor again, `disarm` silences it while a caller reads.
    ReadingTurn(std::function<void()> rearm, std::function<void()> disarm);

    // Takes the turn for an IPC thread woken by the socket; false when a caller holds it (the event is stale).
    [[nodiscard]] bool TakeForReactor();
    // Takes the turn for `caller`, or puts it in line (false); the turn then comes as CallWaiter::Turn::READ.
    [[nodiscard]] bool TakeOrQueue(const std::shared_ptr<CallWaiter> &caller);
    // Whether a READ turn of `caller` is really the turn: a waiter's wake-up may be older than its last withdrawal.
    [[nodiscard]] bool Accept(const std::shared_ptr<CallWaiter> &caller);
    // Leaves the line; true when the turn was already handed to `caller`, who must give it back.
    [[nodiscard]] bool Withdraw(const std::shared_ptr<CallWaiter> &caller);
    // Passes the turn to the first caller in line, or back to the reactor.
    void GiveBack();

private:
    const std::function<void()> rearm_;
    const std::function<void()> disarm_;
    std::mutex mutex_;
    bool taken_ = false;
    std::deque<std::shared_ptr<CallWaiter>> line_;
    std::shared_ptr<CallWaiter> offered_; // handed the turn, not yet accepted
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_READING_TURN_H
