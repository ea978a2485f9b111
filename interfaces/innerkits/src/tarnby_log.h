// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_LOG_H
#define TARNBY_LOG_H

#include "hilog/log.h"

namespace OHOS::Tarnby {
// Where a line is logged from. A helper that logs on behalf of its caller takes a `LogSite site = LogSite::Here()`
// parameter: the default is filled in where the helper is called, so the line shows the caller's file, line and
// function.
struct LogSite {
    const char *file;
    int line;
    const char *function;

    static constexpr LogSite Here(const char *file = __builtin_FILE(), int line = __builtin_LINE(),
                                  const char *function = __builtin_FUNCTION())
    {
        return LogSite{file, line, function};
    }
};

// The log identity of a source unit: every line it writes carries this domain and tag.
struct LogLabel {
    unsigned int domain;
    const char *tag;
};

inline constexpr LogLabel LABEL_CLIENT = {0xD004612, "TRBYClient"};
inline constexpr LogLabel LABEL_PROXY = {0xD004613, "TRBYProxy"};
inline constexpr LogLabel LABEL_CALLBACK = {0xD004616, "TRBYCallback"};
inline constexpr LogLabel LABEL_DEVICE_DETECT = {0xD004617, "TRBYDeviceDetect"};
inline constexpr LogLabel LABEL_VESKOR = {0xD00461A, "VeskorManager"};
inline constexpr LogLabel LABEL_COLLABORATION = {0xD004624, "TRBYCollaboration"};
inline constexpr LogLabel LABEL_COLL_PROC = {0xD004625, "TRBYCollProc"};

// File name without its directories, for the line prefix.
constexpr const char *LogFileName(const char *path)
{
    const char *name = path;
    for (const char *p = path; *p != '\0'; ++p) {
        if (*p == '/') {
            name = p + 1;
        }
    }
    return name;
}
} // namespace OHOS::Tarnby

// The library's private logging header; it never reaches a consumer's include path. Every line is prefixed with
// "[file:line]function# ". A source unit defines `LOG_LABEL` (a LogLabel) in its own anonymous namespace and logs with
// TRBY_LOGI/TRBY_LOGE; the *_AS forms write one line under another unit's label. TRBY_LOG_AT names the whole site,
// for a helper that logs on behalf of its caller, and TRBY_LOG_SITE takes it as one LogSite. As the platform's macros
// do, a line below the loggable level is dropped before its arguments are formatted.
#define TRBY_LOG_AT(label, level, file, line, func, fmt, ...)                                                          \
    (HiLogIsLoggable((label).domain, (label).tag, (level))                                                             \
         ? (void)HiLogPrint(LOG_CORE, (level), (label).domain, (label).tag, "[%{public}s:%{public}d]%{public}s# " fmt, \
                            ::OHOS::Tarnby::LogFileName(file), (line), (func), ##__VA_ARGS__)                          \
         : (void)0)
#define TRBY_LOG_SITE(label, level, site, fmt, ...)                                                                    \
    TRBY_LOG_AT(label, level, (site).file, (site).line, (site).function, fmt, ##__VA_ARGS__)
#define TRBY_LOG_FN(label, level, func, fmt, ...)                                                                      \
    TRBY_LOG_AT(label, level, __FILE__, __LINE__, func, fmt, ##__VA_ARGS__)
#define TRBY_LOG_AS(label, level, fmt, ...) TRBY_LOG_FN(label, level, __FUNCTION__, fmt, ##__VA_ARGS__)

#define TRBY_LOGI_AS(label, fmt, ...) TRBY_LOG_AS(label, LOG_INFO, fmt, ##__VA_ARGS__)
#define TRBY_LOGE_AS(label, fmt, ...) TRBY_LOG_AS(label, LOG_ERROR, fmt, ##__VA_ARGS__)
#define TRBY_LOGI(fmt, ...) TRBY_LOGI_AS(LOG_LABEL, fmt, ##__VA_ARGS__)
#define TRBY_LOGE(fmt, ...) TRBY_LOGE_AS(LOG_LABEL, fmt, ##__VA_ARGS__)

#endif // TARNBY_LOG_H
