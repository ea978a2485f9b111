// SPDX-License-Identifier: Apache-2.0
#ifndef HIVIEWDFX_HILOG_CPP_H
#define HIVIEWDFX_HILOG_CPP_H

// The C++ interface that older components log through: a label names the type, the domain and the tag once.
#include "hilog/log_c.h"

#ifdef __cplusplus
namespace OHOS {
namespace HiviewDFX {
struct HiLogLabel {
    LogType type;
    unsigned int domain;
    const char *tag;
};

class HiLog final {
public:
    // printf-style, with the privacy tags of HiLogPrint; the number of bytes of the text, or -1.
    static int Debug(const HiLogLabel &label, const char *fmt, ...);
    static int Info(const HiLogLabel &label, const char *fmt, ...);
    static int Warn(const HiLogLabel &label, const char *fmt, ...);
    static int Error(const HiLogLabel &label, const char *fmt, ...);
    static int Fatal(const HiLogLabel &label, const char *fmt, ...);
};
} // namespace HiviewDFX
} // namespace OHOS
#endif // __cplusplus

#endif // HIVIEWDFX_HILOG_CPP_H
