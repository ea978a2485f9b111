// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_PENDING_H
#define TARNBY_PENDING_H

/**
 * @file pending.h
 * @brief A one-shot wait for an answer that arrives on another thread.
 *
 * Shared by the client library and the service.
 */
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <utility>

#include "hilog/log.h"

/**
 * @brief Pending reaches consumers through a public header, so it logs through HiLog itself, under the service's
 * identity ("TRBYService", 0xD004615), with the same "[file:line]function# " prefix as the library's lines; the
 * macro is undefined at the end of this header.
 */
#define TRBY_PENDING_LOGI(fmt, ...)                                                                                    \
    (HiLogIsLoggable(0xD004615, "TRBYService", LOG_INFO)                                                               \
         ? (void)HiLogPrint(LOG_CORE, LOG_INFO, 0xD004615, "TRBYService", "[pending.h:%{public}d]%{public}s# " fmt,    \
                            __LINE__, __FUNCTION__, ##__VA_ARGS__)                                                     \
         : (void)0)

namespace OHOS::Tarnby {
/**
 * @brief A one-shot wait for an answer that arrives on another thread.
 *
 * One thread waits in Start() while another delivers the answer with Stop(). One Pending serves one wait.
 * @tparam T The answer's type.
 */
template <typename T>
class Pending {
public:
    // The library's status header names the time-out ERR_TRBY_WAIT_TIMEOUT (checked where it is used), so this
    // header needs nothing from the library.
    static constexpr int32_t ANSWERED = 0;     ///< Start's status once answered.
    static constexpr int32_t TIMED_OUT = 2010; ///< Start's status when the time ran out.

    /**
     * @brief Waits up to `time` seconds (steady clock) for Stop().
     *
     * A wake-up without an answer waits the full time again.
     * @param time The wait in seconds; 0 does not wait at all.
     * @return (0, answer) once answered, also when the answer came before the wait began, or (2010, the value held)
     *         when the time ran out.
     */
    std::pair<int32_t, T> Start(uint32_t time)
    {
        return Start(std::chrono::seconds(time));
    }

    /**
     * @brief The same with a finer wait (logged in whole seconds).
     * @param wait The wait; 0 does not wait at all.
     * @return As Start(uint32_t).
     */
    std::pair<int32_t, T> Start(std::chrono::milliseconds wait)
    {
        TRBY_PENDING_LOGI("enter, time:%{public}d",
                          static_cast<int>(std::chrono::duration_cast<std::chrono::seconds>(wait).count()));
        std::unique_lock<std::mutex> lock(mutex_);
        wait_ = wait;
        while (true) {
            if (isStop_) {
                TRBY_PENDING_LOGI("wait stop");
                return {ANSWERED, value_};
            }
            auto deadline = std::chrono::steady_clock::now() + wait_;
            if (wait_.count() != 0) {
                cv_.wait_until(lock, deadline);
            }
            if (!isStop_ && std::chrono::steady_clock::now() >= deadline) {
                TRBY_PENDING_LOGI("wait timeout");
                return {TIMED_OUT, value_};
            }
        }
    }

    /**
     * @brief Delivers the answer and wakes every waiter. Nothing makes the Pending wait again.
     * @param value The answer.
     */
    void Stop(T value)
    {
        TRBY_PENDING_LOGI("enter");
        std::lock_guard<std::mutex> lock(mutex_);
        value_ = std::move(value);
        isStop_ = true;
        cv_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable cv_;
    std::chrono::milliseconds wait_{0};
    T value_{};
    bool isStop_ = false;
};
} // namespace OHOS::Tarnby

#undef TRBY_PENDING_LOGI

#endif // TARNBY_PENDING_H
