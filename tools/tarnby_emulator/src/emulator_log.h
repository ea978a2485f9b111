#ifndef TARNBY_EMULATOR_LOG_H
#define TARNBY_EMULATOR_LOG_H

// The emulator logs under a label of its own, so its lines are told apart from the client library's.
#include "hilog/log.h"

namespace OHOS::TarnbyEmulator {
inline constexpr unsigned int EMULATOR_LOG_DOMAIN = 0xD004630;
inline constexpr const char *EMULATOR_LOG_TAG = "TRBYEmulator";
} // namespace OHOS::TarnbyEmulator

#define EMU_LOG(level, fmt, ...)                                                                                \
    ((void)HiLogPrint(LOG_CORE, (level), ::OHOS::TarnbyEmulator::EMULATOR_LOG_DOMAIN,                             \
        ::OHOS::TarnbyEmulator::EMULATOR_LOG_TAG, "%{public}s# " fmt, __FUNCTION__, ##__VA_ARGS__))
#define EMU_LOGI(fmt, ...) EMU_LOG(LOG_INFO, fmt, ##__VA_ARGS__)
#define EMU_LOGE(fmt, ...) EMU_LOG(LOG_ERROR, fmt, ##__VA_ARGS__)

#endif // TARNBY_EMULATOR_LOG_H
