#ifndef OHOS_HOST_IPC_THREAD_POOL_H
#define OHOS_HOST_IPC_THREAD_POOL_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>

namespace OHOS::HostIpc {
// The process's IPC threads, at most a maximum number of them (16 unless IPCSkeleton::SetMaxWorkThreadNum says
// otherwise). A task that finds every thread busy at the maximum waits in the queue until one is free; it is never
// dropped. A thread that stays idle for the idle time ends. A nested synchronous request that finds no free thread
// is served by the thread that waits for it (see CallWaiter), so nesting never deadlocks at the maximum.
class IpcThreadPool {
public:
    static constexpr size_t DEFAULT_MAX_THREADS = 16;
    static constexpr size_t LIMIT_MAX_THREADS = 256;

    static IpcThreadPool &Get();
    // False only when no thread runs and none could be started; the task is then dropped.
    bool Submit(std::function<void()> task);
    // Runs the task only if a thread is free or may be started now; false (task untouched) otherwise.
    bool TrySubmitNow(std::function<void()> &task);
    // Counts the calling thread as one of the pool's threads while it runs one task itself, if a thread could be
    // started for it now and no task waits; false otherwise. Every borrowed thread is given back.
    bool TryBorrowThread();
    void GiveBackThread();
    // 1..LIMIT_MAX_THREADS; threads above a lowered maximum end when their task is done.
    bool SetMaxThreads(size_t maxThreads);
    void SetIdleTime(std::chrono::milliseconds idleTime);
    std::chrono::milliseconds IdleTime();
    size_t ThreadCount();
    size_t QueuedTaskCount();
    // The most threads that ran at the same time since the last call.
    size_t TakePeakThreadCount();

private:
    IpcThreadPool() = default;
    bool StartThreadLocked();
    void CountThreadLocked();
    // As many new threads as tasks wait without an idle thread for them, up to the maximum.
    void StartThreadsForWaitingTasksLocked();
    void WorkerLoop();

    std::mutex mutex_;
    std::condition_variable wakeUp_;
    std::deque<std::function<void()>> tasks_;
    size_t idle_ = 0;
    size_t threads_ = 0;
    size_t peak_ = 0;
    size_t maxThreads_ = DEFAULT_MAX_THREADS;
    std::chrono::milliseconds idleTime_{std::chrono::seconds(10)};
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_THREAD_POOL_H
