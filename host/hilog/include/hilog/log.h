// SPDX-License-Identifier: Apache-2.0
#ifndef HIVIEWDFX_HILOG_H
#define HIVIEWDFX_HILOG_H

#include "hilog/log_c.h"
#include "hilog/log_cpp.h"

#endif // HIVIEWDFX_HILOG_H
