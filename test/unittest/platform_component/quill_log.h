// SPDX-License-Identifier: Apache-2.0
#ifndef QUILL_LOG_H
#define QUILL_LOG_H

// The component's own log header, as platform components write theirs: the domain and tag once, the HILOG_* macros
// of hilog/log.h with a function prefix.
#include "hilog/log.h"

#undef LOG_DOMAIN
#undef LOG_TAG
#define LOG_DOMAIN 0xD001799
#define LOG_TAG "QuillClient"

#define QUILL_LOGI(fmt, ...) HILOG_INFO(LOG_CORE, "[%{public}s] " fmt, __FUNCTION__, ##__VA_ARGS__)
#define QUILL_LOGE(fmt, ...) HILOG_ERROR(LOG_CORE, "[%{public}s] " fmt, __FUNCTION__, ##__VA_ARGS__)

#endif // QUILL_LOG_H
