// SPDX-License-Identifier: Apache-2.0
#include "reading_turn.h"

#include <algorithm>

namespace OHOS::HostIpc {
ReadingTurn::ReadingTurn(std::function<void()> rearm, std::function<void()> disarm) :
    rearm_(std::move(rearm)), disarm_(std::move(disarm))
{
}

bool ReadingTurn::TakeForReactor()
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (taken_) {
        return false; // whoever holds the turn arms the socket again when it is done
    }
    taken_ = true;
    return true;
}

bool ReadingTurn::TakeOrQueue(const std::shared_ptr<CallWaiter> &caller)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (taken_) {
            line_.push_back(caller);
            return false;
        }
        taken_ = true;
    }
    disarm_(); // the caller polls the socket itself: no IPC thread should wake for its reply
    return true;
}

bool ReadingTurn::Accept(const std::shared_ptr<CallWaiter> &caller)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (offered_ != caller) {
        return false;
    }
    offered_ = nullptr;
    return true;
}

bool ReadingTurn::Withdraw(const std::shared_ptr<CallWaiter> &caller)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = std::find(line_.begin(), line_.end(), caller);
    if (found != line_.end()) {
        line_.erase(found);
        return false;
    }
    if (offered_ != caller) {
        return false;
    }
    offered_ = nullptr;
    return true;
}

void ReadingTurn::GiveBack()
{
    std::shared_ptr<CallWaiter> next;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (line_.empty()) {
            taken_ = false;
        } else {
            next = std::move(line_.front());
            line_.pop_front();
            offered_ = next;
        }
    }
    if (next != nullptr) {
        next->OfferReading();
    } else {
        rearm_();
    }
}
} // namespace OHOS::HostIpc
