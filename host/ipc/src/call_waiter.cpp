// SPDX-License-Identifier: Apache-2.0
#include "call_waiter.h"

#include <atomic>

#include "ipc_thread_pool.h"

namespace OHOS::HostIpc {
namespace {
constexpr int DEFAULT_WAIT_SECONDS = MessageOption::TF_WAIT_TIME;
thread_local ServingContext t_serving;
} // namespace

// The waiting thread is woken after the lock is let go, so that it does not wake only to wait for the lock; the
// waiter outlives the call, as whoever completes it holds it.
bool CallWaiter::Deliver(std::function<void()> &task)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!open_ || done_) {
            return false;
        }
        nested_.push_back(std::move(task));
    }
    wakeUp_.notify_all();
    return true;
}

void CallWaiter::Complete(int result, const std::function<void(bool waiting, int &result)> &finish)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (finish) {
            finish(open_, result);
        }
        result_ = result;
        done_ = true;
    }
    wakeUp_.notify_all();
}

void CallWaiter::OfferReading()
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        readingOffered_ = true;
    }
    wakeUp_.notify_all();
}

bool CallWaiter::TakeNested(std::function<void()> &nested)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (nested_.empty()) {
        return false;
    }
    nested = std::move(nested_.front());
    nested_.pop_front();
    return true;
}

CallWaiter::Turn CallWaiter::WaitForTurn(Clock::time_point deadline, std::function<void()> &nested)
{
    std::unique_lock<std::mutex> lock(mutex_);
    wakeUp_.wait_until(lock, deadline, [this] { return done_ || !nested_.empty() || readingOffered_; });
    if (done_) {
        return Turn::DONE;
    }
    if (!nested_.empty()) {
        nested = std::move(nested_.front());
        nested_.pop_front();
        return Turn::NESTED;
    }
    if (readingOffered_) {
        readingOffered_ = false;
        return Turn::READ;
    }
    return Turn::TIMEOUT;
}

bool CallWaiter::Wait(Clock::time_point deadline)
{
    for (;;) {
        std::function<void()> nested;
        Turn turn = WaitForTurn(deadline, nested);
        if (turn != Turn::NESTED) {
            break;
        }
        nested();
    }
    return Close();
}

bool CallWaiter::Close()
{
    std::deque<std::function<void()>> left;
    bool done;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        open_ = false;
        done = done_;
        left.swap(nested_);
    }
    for (auto &task : left) {
        IpcThreadPool::Get().Submit(std::move(task));
    }
    return done;
}

bool CallWaiter::Done()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return done_;
}

int CallWaiter::Result()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return result_;
}

uint64_t ThreadToken()
{
    static std::atomic<uint64_t> next{1};
    thread_local uint64_t token = next.fetch_add(1);
    return token;
}

CallWaiter::Clock::time_point DeadlineOf(const MessageOption &option)
{
    int seconds = option.GetWaitTime() > 0 ? option.GetWaitTime() : DEFAULT_WAIT_SECONDS;
    return CallWaiter::Clock::now() + std::chrono::seconds(seconds);
}

const ServingContext &CurrentServing()
{
    return t_serving;
}

ServingScope::ServingScope(ServingContext context) : previous_(std::move(t_serving))
{
    t_serving = std::move(context);
}

ServingScope::~ServingScope()
{
    t_serving = std::move(previous_);
}
} // namespace OHOS::HostIpc
