#ifndef OHOS_HOST_IPC_THREAD_POOL_H
#define OHOS_HOST_IPC_THREAD_POOL_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>

namespace OHOS::HostIpc {
// The host's IPC threads. A task never waits for a free thread: the pool grows whenever every thread is busy,
// so a handler may send a synchronous request whose handler sends one back, to any depth.
class IpcThreadPool {
public:
    static IpcThreadPool &Get();
    // False only when no thread could be started; the task is then dropped.
    bool Submit(std::function<void()> task);
    size_t ThreadCount();

private:
    IpcThreadPool() = default;
    bool StartThreadLocked();
    void WorkerLoop();

    std::mutex mutex_;
    std::condition_variable wakeUp_;
    std::deque<std::function<void()>> tasks_;
    size_t idle_ = 0;
    size_t threads_ = 0;
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_THREAD_POOL_H
