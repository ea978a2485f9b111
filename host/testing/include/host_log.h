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

// Every record goes to `sink` instead of stderr; an empty function restores the default stderr writer.
// The sink may be called from any thread, concurrently.
void HiLogSetSink(std::function<void(const HiLogRecord &)> sink);

#endif // HIVIEWDFX_HOST_LOG_H
