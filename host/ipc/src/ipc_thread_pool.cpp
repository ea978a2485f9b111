#include "ipc_thread_pool.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <thread>

#include "ipc_log.h"
#include "ipc_skeleton.h"
#include "thread_identity.h"

namespace OHOS::HostIpc {
// Never destroyed: its threads may still be parked when the process exits, and joining them then could hang
// the exit behind a handler that never returns.
IpcThreadPool &IpcThreadPool::Get()
{
    static IpcThreadPool *pool = new IpcThreadPool();
    return *pool;
}

bool IpcThreadPool::Submit(std::function<void()> task)
{
    std::lock_guard<std::mutex> lock(mutex_);
    tasks_.push_back(std::move(task));
    if (tasks_.size() <= idle_) {
        wakeUp_.notify_one();
        return true;
    }
    if (threads_ >= maxThreads_ || StartThreadLocked() || threads_ > 0) {
        return true; // waits for the next free thread
    }
    tasks_.pop_back();
    return false;
}

bool IpcThreadPool::TrySubmitNow(std::function<void()> &task)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (tasks_.size() < idle_) {
        tasks_.push_back(std::move(task));
        wakeUp_.notify_one();
        return true;
    }
    if (threads_ < maxThreads_ && StartThreadLocked()) {
        tasks_.push_back(std::move(task));
        return true;
    }
    return false;
}

bool IpcThreadPool::TryBorrowThread()
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (!tasks_.empty() || threads_ >= maxThreads_) {
        return false;
    }
    CountThreadLocked();
    return true;
}

void IpcThreadPool::GiveBackThread()
{
    std::lock_guard<std::mutex> lock(mutex_);
    threads_--;
    StartThreadsForWaitingTasksLocked(); // a task that queued while the borrowed thread counted gets its place
}

bool IpcThreadPool::SetMaxThreads(size_t maxThreads)
{
    if (maxThreads < 1 || maxThreads > LIMIT_MAX_THREADS) {
        return false;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    maxThreads_ = maxThreads;
    StartThreadsForWaitingTasksLocked();
    wakeUp_.notify_all();
    return true;
}

void IpcThreadPool::SetIdleTime(std::chrono::milliseconds idleTime)
{
    std::lock_guard<std::mutex> lock(mutex_);
    idleTime_ = idleTime;
    wakeUp_.notify_all();
}

std::chrono::milliseconds IpcThreadPool::IdleTime()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return idleTime_;
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

void IpcThreadPool::StartThreadsForWaitingTasksLocked()
{
    while (threads_ < maxThreads_ && tasks_.size() > idle_ && StartThreadLocked()) {
    }
}

void IpcThreadPool::CountThreadLocked()
{
    threads_++;
    peak_ = std::max(peak_, threads_);
}

bool IpcThreadPool::StartThreadLocked()
{
    try {
        std::thread(&IpcThreadPool::WorkerLoop, this).detach();
    } catch (const std::system_error &error) {
        HILOG_IPC_ERROR("no IPC thread could be started: %{public}s", error.what());
        return false;
    }
    CountThreadLocked();
    return true;
}

// Each task starts with a clean thread: no identity left over from the previous one.
void IpcThreadPool::WorkerLoop()
{
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        idle_++;
        auto idleSince = std::chrono::steady_clock::now();
        // The idle time is read on every wake-up, so a shortened one takes effect for threads already waiting.
        while (tasks_.empty() && threads_ <= maxThreads_ && std::chrono::steady_clock::now() - idleSince < idleTime_) {
            wakeUp_.wait_until(lock, idleSince + idleTime_);
        }
        idle_--;
        if (tasks_.empty()) {
            break; // idle for too long, or one thread too many after the maximum was lowered
        }
        std::function<void()> task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task();
        task = nullptr;
        ResetThreadIdentity();
        lock.lock();
        if (threads_ > maxThreads_) {
            break;
        }
    }
    threads_--;
}
} // namespace OHOS::HostIpc

namespace OHOS {
bool IPCSkeleton::SetMaxWorkThreadNum(int maxThreadNum)
{
    return maxThreadNum > 0 && HostIpc::IpcThreadPool::Get().SetMaxThreads(static_cast<size_t>(maxThreadNum));
}
} // namespace OHOS
