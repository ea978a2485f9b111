// SPDX-License-Identifier: Apache-2.0
#include "ipc_thread_pool.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <new>
#include <system_error>
#include <thread>

#include "ipc_log.h"
#include "reactor.h"
#include "thread_identity.h"

namespace OHOS::HostIpc {
namespace {
// Idle threads look at the idle time again at least this often, so a shortened one takes effect.
constexpr auto WAIT_SLICE = std::chrono::seconds(1);
} // namespace

// Every write to the queue's eventfd is one edge, and the reactor wakes one thread per edge; a thread that takes a
// task and leaves others queued signals once more, so every queued task has a wake-up on its way.
class IpcThreadPool::TaskSignal : public Reactor::Source {
public:
    explicit TaskSignal(IpcThreadPool &pool) : pool_(pool) {}
    void OnReady(uint32_t) override
    {
        pool_.RunOneTask();
    }

private:
    IpcThreadPool &pool_;
};

// Never destroyed: its threads may still wait when the process exits, and joining them then could hang the exit
// behind a handler that never returns.
IpcThreadPool &IpcThreadPool::Get()
{
    static IpcThreadPool *pool = new IpcThreadPool();
    return *pool;
}

IpcThreadPool::IpcThreadPool() : signal_(std::make_shared<TaskSignal>(*this))
{
    signalFd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    uint64_t key = 0;
    if (signalFd_ < 0 || !Reactor::Get().Add(signalFd_, signal_, EPOLLIN | EPOLLET, key, false)) {
        HILOG_IPC_ERROR("no task signal: errno %{public}d", errno);
    }
}

void IpcThreadPool::Signal()
{
    uint64_t one = 1;
    if (write(signalFd_, &one, sizeof(one)) != sizeof(one)) {
        uint64_t drained;
        (void)read(signalFd_, &drained, sizeof(drained)); // a full counter: empty it, the edge still comes
        (void)write(signalFd_, &one, sizeof(one));
    }
}

bool IpcThreadPool::Submit(std::function<void()> task)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        tasks_.push_back(std::move(task));
        if (tasks_.size() > idle_ && threads_ < maxThreads_ && !StartThreadLocked() && threads_ == 0) {
            tasks_.pop_back();
            return false;
        }
    }
    Signal();
    return true;
}

void IpcThreadPool::EnsureReader()
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (idle_ == 0 && threads_ < maxThreads_) {
        StartThreadLocked();
    }
}

void IpcThreadPool::RunOneTask()
{
    std::function<void()> task;
    bool more;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (tasks_.empty()) {
            return;
        }
        task = std::move(tasks_.front());
        tasks_.pop_front();
        more = !tasks_.empty();
    }
    if (more) {
        Signal();
    }
    task();
}

bool IpcThreadPool::SetMaxThreads(size_t maxThreads)
{
    if (maxThreads < 1 || maxThreads > LIMIT_MAX_THREADS) {
        return false;
    }
    size_t start;
    bool surplus;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        maxThreads_ = maxThreads;
        surplus = threads_ > maxThreads_;
        start =
            tasks_.size() > idle_ ? std::min(tasks_.size() - idle_, maxThreads_ - std::min(threads_, maxThreads_)) : 0;
        while (start > 0 && StartThreadLocked()) {
            start--;
        }
    }
    if (surplus) {
        Signal(); // wakes an idle thread; each one too many hands the wake-up on as it ends
    }
    return true;
}

void IpcThreadPool::SetIdleTime(std::chrono::milliseconds idleTime)
{
    std::lock_guard<std::mutex> lock(mutex_);
    idleTime_ = idleTime;
}

size_t IpcThreadPool::ThreadCount()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return threads_;
}

size_t IpcThreadPool::QueuedTaskCount()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return tasks_.size();
}

size_t IpcThreadPool::TakePeakThreadCount()
{
    std::lock_guard<std::mutex> lock(mutex_);
    size_t peak = peak_;
    peak_ = threads_;
    return peak;
}

bool IpcThreadPool::StartThreadLocked()
{
    try {
        std::thread(&IpcThreadPool::WorkerLoop, this).detach();
    } catch (const std::system_error &error) {
        HILOG_IPC_ERROR("no IPC thread could be started: %{public}s", error.what());
        return false;
    }
    threads_++;
    peak_ = std::max(peak_, threads_);
    return true;
}

bool IpcThreadPool::EndsIdleLocked(std::chrono::steady_clock::time_point idleSince)
{
    if (std::chrono::steady_clock::now() - idleSince < idleTime_) {
        return false;
    }
    return idle_ > 0 || Reactor::Get().ReaderSources() == 0; // the last one waiting for sockets stays
}

// Each piece of work starts with a clean thread: no identity left over from the previous one. A thread above a
// lowered maximum ends at its next wake-up, handing back what woke it.
void IpcThreadPool::WorkerLoop()
{
    std::unique_lock<std::mutex> lock(mutex_);
    auto idleSince = std::chrono::steady_clock::now();
    for (;;) {
        idle_++;
        auto until = std::min(idleSince + idleTime_, std::chrono::steady_clock::now() + WAIT_SLICE);
        lock.unlock();
        Reactor::Event event;
        bool woken = Reactor::Get().Wait(until, event);
        lock.lock();
        idle_--;
        if (threads_ > maxThreads_) {
            if (woken) {
                Reactor::Get().Return(event); // another thread takes it
            }
            break;
        }
        if (!woken) {
            if (EndsIdleLocked(idleSince)) {
                break;
            }
            if (std::chrono::steady_clock::now() - idleSince >= idleTime_) {
                idleSince = std::chrono::steady_clock::now(); // the last reader stays: it waits a whole idle time again
            }
            continue;
        }
        if (idle_ == 0 && threads_ < maxThreads_ && Reactor::Get().ReaderSources() > 0) {
            StartThreadLocked(); // someone has to wait for the next message while this one is served
        }
        lock.unlock();
        Reactor::Get().Dispatch(event);
        ResetThreadIdentity();
        lock.lock();
        idleSince = std::chrono::steady_clock::now();
    }
    threads_--;
}
} // namespace OHOS::HostIpc
