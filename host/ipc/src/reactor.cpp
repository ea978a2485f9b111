// SPDX-License-Identifier: Apache-2.0
#include "reactor.h"

#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "ipc_log.h"

namespace OHOS::HostIpc {
namespace {
constexpr uint64_t TIMER_KEY = 0;
} // namespace

class Reactor::TimerSource : public Source {
public:
    explicit TimerSource(Reactor &reactor) : reactor_(reactor) {}
    void OnReady(uint32_t) override
    {
        reactor_.RunDueTimers();
    }

private:
    Reactor &reactor_;
};

// Never destroyed: IPC threads may still wait in it when the process exits.
Reactor &Reactor::Get()
{
    static Reactor *reactor = new Reactor();
    return *reactor;
}

Reactor::Reactor()
{
    epoll_ = epoll_create1(EPOLL_CLOEXEC);
    timer_ = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
    timerSource_ = std::make_shared<TimerSource>(*this);
    epoll_event event{};
    event.events = EPOLLIN | EPOLLONESHOT;
    event.data.u64 = TIMER_KEY;
    if (epoll_ < 0 || timer_ < 0 || epoll_ctl(epoll_, EPOLL_CTL_ADD, timer_, &event) != 0) {
        HILOG_IPC_ERROR("no epoll set: errno %{public}d", errno);
    }
}

// The key is the caller's before the descriptor is watched: a thread that takes the first event finds it, as it
// looks the event up under the same lock.
bool Reactor::Add(int fd, const std::shared_ptr<Source> &source, uint32_t events, uint64_t &key, bool needsReader)
{
    std::lock_guard<std::mutex> lock(mutex_);
    key = nextKey_++;
    epoll_event event{};
    event.events = events;
    event.data.u64 = key;
    if (epoll_ctl(epoll_, EPOLL_CTL_ADD, fd, &event) != 0) {
        HILOG_IPC_ERROR("descriptor %{public}d cannot be watched: errno %{public}d", fd, errno);
        key = 0;
        return false;
    }
    sources_[key] = Registration{source, needsReader, fd, events};
    readerSources_ += needsReader ? 1 : 0;
    return true;
}

bool Reactor::Arm(uint64_t key, int fd, uint32_t events)
{
    epoll_event event{};
    event.events = events == 0 ? 0 : events | EPOLLONESHOT;
    event.data.u64 = key;
    return epoll_ctl(epoll_, EPOLL_CTL_MOD, fd, &event) == 0;
}

void Reactor::Remove(uint64_t key, int fd)
{
    epoll_ctl(epoll_, EPOLL_CTL_DEL, fd, nullptr);
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = sources_.find(key);
    if (found != sources_.end()) {
        readerSources_ -= found->second.needsReader ? 1 : 0;
        sources_.erase(found);
    }
}

size_t Reactor::ReaderSources()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return readerSources_;
}

void Reactor::RunAt(Clock::time_point when, std::function<void()> action)
{
    std::lock_guard<std::mutex> lock(mutex_);
    bool earliest = timers_.empty() || when < timers_.begin()->first;
    timers_.emplace(when, std::move(action));
    if (earliest) {
        ArmTimerLocked();
    }
}

void Reactor::ArmTimerLocked()
{
    itimerspec spec{};
    if (!timers_.empty()) {
        auto wait = std::chrono::duration_cast<std::chrono::nanoseconds>(timers_.begin()->first - Clock::now());
        long long nanoseconds = std::max<long long>(wait.count(), 1); // 0 would disarm the timer
        spec.it_value.tv_sec = static_cast<time_t>(nanoseconds / 1000000000);
        spec.it_value.tv_nsec = static_cast<long>(nanoseconds % 1000000000);
    }
    timerfd_settime(timer_, 0, &spec, nullptr);
    Arm(TIMER_KEY, timer_, EPOLLIN);
}

void Reactor::RunDueTimers()
{
    uint64_t expirations;
    while (read(timer_, &expirations, sizeof(expirations)) > 0) {
    }
    std::vector<std::function<void()>> due;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto now = Clock::now();
        while (!timers_.empty() && timers_.begin()->first <= now) {
            due.push_back(std::move(timers_.begin()->second));
            timers_.erase(timers_.begin());
        }
        ArmTimerLocked();
    }
    for (auto &action : due) {
        action();
    }
}

bool Reactor::Wait(Clock::time_point deadline, Event &event)
{
    for (;;) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left < 0) {
            return false;
        }
        epoll_event ready{};
        int count = epoll_wait(epoll_, &ready, 1, static_cast<int>(std::min<long long>(left + 1, INT32_MAX)));
        if (count < 0 && errno != EINTR) {
            HILOG_IPC_ERROR("epoll_wait failed: errno %{public}d", errno);
            return false;
        }
        if (count <= 0) {
            continue;
        }
        event.events = ready.events;
        uint64_t key = ready.data.u64; // a copy: epoll_event is packed, its member is not aligned for a reference
        event.key = key;
        if (key == TIMER_KEY) {
            event.source = timerSource_;
            return true;
        }
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = sources_.find(key);
        event.source = found == sources_.end() ? nullptr : found->second.source.lock();
        if (event.source != nullptr) {
            return true;
        }
    }
}

void Reactor::Return(const Event &event)
{
    if (event.key == TIMER_KEY) {
        std::lock_guard<std::mutex> lock(mutex_);
        ArmTimerLocked();
        return;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = sources_.find(event.key);
    if (found != sources_.end()) {
        epoll_event again{};
        again.events = found->second.events;
        again.data.u64 = event.key;
        epoll_ctl(epoll_, EPOLL_CTL_MOD, found->second.fd, &again);
    }
}

void Reactor::Dispatch(Event &event)
{
    std::shared_ptr<Source> source = std::move(event.source);
    source->OnReady(event.events);
}
} // namespace OHOS::HostIpc
