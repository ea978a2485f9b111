// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_REACTOR_H
#define OHOS_HOST_IPC_REACTOR_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace OHOS::HostIpc {
// The one epoll set of the process: the sockets it serves, its listeners, the signal of the IPC task queue and a
// timer. The idle IPC threads all wait in it at once, and the kernel wakes one of them per event, so a message is
// read and served by the thread it woke. Every source is one-shot: the thread that takes an event owns the source
// until it arms it again, so no two threads read one socket at a time.
//
// Threads: any; sources are called on the thread that took their event. Locks: mutex_ guards the source table and
// the timers; it is never held while a source or a timer runs.
class Reactor {
public:
    using Clock = std::chrono::steady_clock;

    class Source {
    public:
        virtual ~Source() = default;
        // Called on the thread that took the event; `events` are epoll's. The source is disarmed until Arm.
        virtual void OnReady(uint32_t events) = 0;
    };

    struct Event {
        std::shared_ptr<Source> source;
        uint32_t events = 0;
        uint64_t key = 0;
    };

    static Reactor &Get();

    // Watches `fd` for `events` (epoll's, EPOLLONESHOT unless the source wants every edge), calling `source` when
    // they come; the reactor holds it weakly, so a source that is gone is simply not called. A source that
    // `needsReader` (a socket) keeps one IPC thread waiting here for as long as it is registered. Stores the
    // registration's key in `key` before the first event can come (a source arms itself again by its key), false
    // on failure.
    [[nodiscard]] bool Add(int fd, const std::shared_ptr<Source> &source, uint32_t events, uint64_t &key,
                           bool needsReader = true);
    // Arms a one-shot registration again; `events` 0 keeps it registered but silent.
    bool Arm(uint64_t key, int fd, uint32_t events);
    void Remove(uint64_t key, int fd);
    // Registered sources that need a reader.
    size_t ReaderSources();

    // Runs `action` on an IPC thread at or after `when`.
    void RunAt(Clock::time_point when, std::function<void()> action);

    // Waits until `deadline` for one event; false when none came.
    [[nodiscard]] bool Wait(Clock::time_point deadline, Event &event);
    void Dispatch(Event &event);
    // Gives an event back unhandled (a thread above the maximum ends instead): its source is armed again, so the
    // event comes to another thread.
    void Return(const Event &event);

private:
    class TimerSource;

    Reactor();
    void ArmTimerLocked();
    void RunDueTimers();

    int epoll_ = -1;
    int timer_ = -1;
    std::shared_ptr<TimerSource> timerSource_;
    std::mutex mutex_;
    uint64_t nextKey_ = 1;
    struct Registration {
        std::weak_ptr<Source> source;
        bool needsReader = false;
        int fd = -1;
        uint32_t events = 0; // as registered
    };
    std::unordered_map<uint64_t, Registration> sources_;
    size_t readerSources_ = 0;
    std::multimap<Clock::time_point, std::function<void()>> timers_;
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_REACTOR_H
