// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EMULATOR_LOG_H
#define TARNBY_EMULATOR_LOG_H

// The emulator logs under a label of its own, so its lines are told apart from the client library's.
#include "hilog/log.h"

namespace OHOS::TarnbyEmulator {
inline constexpr unsigned int EMULATOR_LOG_DOMAIN = 0xD004630;
inline constexpr const char *EMULATOR_LOG_TAG = "TRBYEmulator";
} // namespace OHOS::TarnbyEmulator

// Every line is prefixed with "<where># ": the function, or for the event log the event's kind.
#define EMU_LOG_AT(level, where, fmt, ...)                                                                             \
    ((void)HiLogPrint(LOG_CORE, (level), ::OHOS::TarnbyEmulator::EMULATOR_LOG_DOMAIN,                                  \
                      ::OHOS::TarnbyEmulator::EMULATOR_LOG_TAG, "%{public}s# " fmt, (where), ##__VA_ARGS__))
#define EMU_LOGI(fmt, ...) EMU_LOG_AT(LOG_INFO, __FUNCTION__, fmt, ##__VA_ARGS__)
#define EMU_LOGE(fmt, ...) EMU_LOG_AT(LOG_ERROR, __FUNCTION__, fmt, ##__VA_ARGS__)

#endif // TARNBY_EMULATOR_LOG_H
