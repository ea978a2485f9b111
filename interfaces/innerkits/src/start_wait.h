// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_START_WAIT_H
#define TARNBY_START_WAIT_H

// How long a collaboration start waits for the service's answer on its inner callback: 20 seconds, as on a device.
// The library's own tests shorten it so that no test sits out the full wait. Internal: not part of the library's
// interface and not exported from the shared library.
#include <chrono>

namespace OHOS::Tarnby::Internal {
inline constexpr std::chrono::milliseconds START_ANSWER_WAIT = std::chrono::seconds(20);

std::chrono::milliseconds StartAnswerWait();
void SetStartAnswerWait(std::chrono::milliseconds wait);
} // namespace OHOS::Tarnby::Internal

#endif // TARNBY_START_WAIT_H
