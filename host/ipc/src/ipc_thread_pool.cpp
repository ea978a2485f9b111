#include "ipc_thread_pool.h"

#include <new>
#include <system_error>
#include <thread>

#include "ipc_log.h"
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
    if (StartThreadLocked()) {
        return true;
    }
    tasks_.pop_back();
    return false;
}

size_t IpcThreadPool::ThreadCount()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return threads_;
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
    return true;
}

// Each task starts with a clean thread: no identity left over from the previous one.
void IpcThreadPool::WorkerLoop()
{
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        idle_++;
        wakeUp_.wait(lock, [this] { return !tasks_.empty(); });
        idle_--;
        std::function<void()> task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task();
        task = nullptr;
        ResetThreadIdentity();
        lock.lock();
    }
}
} // namespace OHOS::HostIpc
