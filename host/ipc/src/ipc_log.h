// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_LOG_H
#define OHOS_HOST_IPC_LOG_H

#include "hilog/log.h"

namespace OHOS::HostIpc {
constexpr unsigned int LOG_DOMAIN_IPC = 0xD0057C0;
constexpr const char *LOG_TAG_IPC = "HostIpc";
} // namespace OHOS::HostIpc

#define HILOG_IPC_PRINT(level, fmt, ...)                                                                               \
    HiLogPrint(LOG_CORE, level, OHOS::HostIpc::LOG_DOMAIN_IPC, OHOS::HostIpc::LOG_TAG_IPC, "%{public}s: " fmt,         \
               __func__, ##__VA_ARGS__)
#define HILOG_IPC_ERROR(fmt, ...) HILOG_IPC_PRINT(LOG_ERROR, fmt, ##__VA_ARGS__)
#define HILOG_IPC_WARN(fmt, ...) HILOG_IPC_PRINT(LOG_WARN, fmt, ##__VA_ARGS__)
#define HILOG_IPC_INFO(fmt, ...) HILOG_IPC_PRINT(LOG_INFO, fmt, ##__VA_ARGS__)

#endif // OHOS_HOST_IPC_LOG_H
