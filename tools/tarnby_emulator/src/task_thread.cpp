// SPDX-License-Identifier: Apache-2.0
#include "task_thread.h"

namespace OHOS::TarnbyEmulator {
TaskThread::~TaskThread()
{
    Stop();
}

void TaskThread::Start()
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (running_) {
        return;
    }
    running_ = true;
    thread_ = std::thread([this] { Loop(); });
}

bool TaskThread::Post(std::function<void()> task)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (!running_) {
        return false;
    }
    tasks_.push_back(std::move(task));
    wakeUp_.notify_one();
    return true;
}

void TaskThread::Stop()
{
    std::deque<std::function<void()>> dropped; // destroyed after the lock: tasks may hold objects with destructors
    std::thread finished;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        running_ = false;
        dropped.swap(tasks_);
        finished = std::move(thread_);
        wakeUp_.notify_all();
    }
    if (!finished.joinable()) {
        return;
    }
    if (finished.get_id() == std::this_thread::get_id()) {
        finished.detach();
    } else {
        finished.join();
    }
}

void TaskThread::Loop()
{
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
        wakeUp_.wait(lock, [this] { return !running_ || !tasks_.empty(); });
        if (!running_) {
            return;
        }
        std::function<void()> task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task();
        task = nullptr;
        lock.lock();
    }
}
} // namespace OHOS::TarnbyEmulator
