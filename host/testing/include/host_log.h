// SPDX-License-Identifier: Apache-2.0
#ifndef HIVIEWDFX_HOST_LOG_H
#define HIVIEWDFX_HOST_LOG_H

// Host-only: lets tests and tools see what HiLogPrint writes. Never included by the library.
#include <functional>
#include <string>

#include "hilog/log_c.h"

struct HiLogRecord {
    LogType type;
    LogLevel level;
    unsigned int domain;
    std::string tag;
    std::string text; // fully formatted: %{public} values shown, %{private} and untagged ones as <private>
};

// Every record that passes the level threshold goes to `sink`, on the logging thread, before HiLogPrint returns,
// instead of to the background stderr writer; an empty function restores the writer. The sink may be called from
// any thread, concurrently. Once HiLogSetSink returns, the sink it replaced is never called again (called from
// inside a sink, it does not wait for that sink call itself to end).
void HiLogSetSink(std::function<void(const HiLogRecord &)> sink);

// Returns once every line queued for stderr before the call has been written.
void HiLogFlush();

// Reads the threshold from OHOS_HOST_LOG_LEVEL again at the next log call, as at process start.
void HiLogReadLevel();

#endif // HIVIEWDFX_HOST_LOG_H
