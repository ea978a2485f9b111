// SPDX-License-Identifier: Apache-2.0
#ifndef UTILS_BASE_ERRORS_H
#define UTILS_BASE_ERRORS_H

#include <cerrno>

namespace OHOS {

using ErrCode = int;

// Common errors are plain errno values on top of a zero offset.
constexpr ErrCode BASE_ERR_OFFSET = 0;

constexpr ErrCode ERR_OK = 0;
constexpr ErrCode ERR_DEAD_OBJECT = BASE_ERR_OFFSET + EPIPE;

} // namespace OHOS

#endif // UTILS_BASE_ERRORS_H
