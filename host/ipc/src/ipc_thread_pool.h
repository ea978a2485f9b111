// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_THREAD_POOL_H
#define OHOS_HOST_IPC_THREAD_POOL_H

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace OHOS::HostIpc {
// The process's IPC threads, at most a maximum number of them (16 unless IPCSkeleton::SetMaxWorkThreadNum says
// otherwise). An idle thread waits in the reactor, for a queued task or a message on any socket of the process,
// and serves what woke it; while the process has sockets, one thread always waits. A task that finds every thread
// busy at the maximum waits in the queue until one is free; it is never dropped. A thread idle for the idle time
// ends, but the last one waiting for sockets. A nested synchronous request is served by the thread that waits for
// it (see CallWaiter), so nesting never deadlocks at the maximum.
//
// Threads: any. Locks: mutex_ guards the queue and the counts; tasks and sources run without it.
class IpcThreadPool {
public:
    static constexpr size_t DEFAULT_MAX_THREADS = 16;
    static constexpr size_t LIMIT_MAX_THREADS = 256;

    static IpcThreadPool &Get();
    // False only when no thread runs and none could be started; the task is then dropped.
    bool Submit(std::function<void()> task);
    // Starts a thread to wait for the sockets if none waits yet (after a socket joined the reactor).
    void EnsureReader();
    // 1..LIMIT_MAX_THREADS; threads above a lowered maximum end when their work is done.
    bool SetMaxThreads(size_t maxThreads);
    void SetIdleTime(std::chrono::milliseconds idleTime);
    size_t ThreadCount();
    size_t QueuedTaskCount();
    // The most threads that ran at the same time since the last call.
    size_t TakePeakThreadCount();

private:
    class TaskSignal;

    IpcThreadPool();
    bool StartThreadLocked();
    void Signal();
    void RunOneTask();
    void WorkerLoop();
    // Whether a thread that waited in vain since `idleSince` ends now.
    bool EndsIdleLocked(std::chrono::steady_clock::time_point idleSince);

    std::mutex mutex_;
    std::deque<std::function<void()>> tasks_;
    std::shared_ptr<TaskSignal> signal_;
    int signalFd_ = -1;
    size_t idle_ = 0;
    size_t threads_ = 0;
    size_t peak_ = 0;
    size_t maxThreads_ = DEFAULT_MAX_THREADS;
    std::chrono::milliseconds idleTime_{std::chrono::seconds(10)};
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_THREAD_POOL_H
