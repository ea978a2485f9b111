// SPDX-License-Identifier: Apache-2.0
#ifndef HIVIEWDFX_HOST_LOG_FORMAT_H
#define HIVIEWDFX_HOST_LOG_FORMAT_H

#include <cstdarg>
#include <string>

namespace OHOS::HostLog {
// Appends `fmt` with its arguments to `text` as the platform shows them: "%{public}" values as printf would,
// "%{private}" and untagged ones as "<private>" (their arguments are still consumed, by type).
void FormatInto(std::string &text, const char *fmt, va_list args);
} // namespace OHOS::HostLog

#endif // HIVIEWDFX_HOST_LOG_FORMAT_H
