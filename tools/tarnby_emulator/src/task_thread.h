// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EMULATOR_TASK_THREAD_H
#define TARNBY_EMULATOR_TASK_THREAD_H

// The emulator's own thread: work that the service does after it has replied (the answer to a start request) runs
// here, in the order it was posted.
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace OHOS::TarnbyEmulator {
class TaskThread {
public:
    TaskThread() = default;
    ~TaskThread();
    TaskThread(const TaskThread &) = delete;
    TaskThread &operator=(const TaskThread &) = delete;

    void Start();
    // False when the thread is not running; the task is dropped then.
    bool Post(std::function<void()> task);
    // Drops what is still queued, lets the running task finish and joins the thread (from a task itself it only lets
    // the thread end). Safe to call twice.
    void Stop();

private:
    void Loop();

    std::mutex mutex_;
    std::condition_variable wakeUp_;
    std::deque<std::function<void()>> tasks_;
    bool running_ = false;
    std::thread thread_;
};
} // namespace OHOS::TarnbyEmulator

#endif // TARNBY_EMULATOR_TASK_THREAD_H
