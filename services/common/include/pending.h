#ifndef TARNBY_PENDING_H
#define TARNBY_PENDING_H

// A one-shot wait for an answer that arrives on another thread. Shared by the client library and the service.
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <utility>

#include "tarnby_errors.h"
#include "tarnby_log.h"

namespace OHOS::Tarnby {
template <typename T>
class Pending {
public:
    // Waits up to `time` seconds (steady clock) for Stop(). Returns (0, answer) once answered, also when the answer
    // came before the wait began, or (2010, the value held) when the time ran out; `time` 0 does not wait at all.
    // A wake-up without an answer waits the full time again.
    std::pair<int32_t, T> Start(uint32_t time)
    {
        HILOGI_AS(LABEL_SERVICE, "enter, time:%{public}d", time);
        std::unique_lock<std::mutex> lock(mutex_);
        time_ = time;
        while (true) {
            if (isStop_) {
                HILOGI_AS(LABEL_SERVICE, "wait stop");
                return {TRBY_OK, value_};
            }
            auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(time_);
            if (time_ != 0) {
                cv_.wait_until(lock, deadline);
            }
            if (!isStop_ && std::chrono::steady_clock::now() >= deadline) {
                HILOGI_AS(LABEL_SERVICE, "wait timeout");
                return {ERR_TRBY_WAIT_TIMEOUT, value_};
            }
        }
    }

    // Delivers the answer and wakes every waiter. One Pending serves one wait: nothing makes it wait again.
    void Stop(T value)
    {
        HILOGI_AS(LABEL_SERVICE, "enter");
        std::lock_guard<std::mutex> lock(mutex_);
        value_ = std::move(value);
        isStop_ = true;
        cv_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable cv_;
    uint32_t time_ = 0;
    T value_{};
    bool isStop_ = false;
};
} // namespace OHOS::Tarnby

#endif // TARNBY_PENDING_H
