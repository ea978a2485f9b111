// SPDX-License-Identifier: Apache-2.0
#ifndef HIVIEWDFX_HOST_LOG_WRITER_H
#define HIVIEWDFX_HOST_LOG_WRITER_H

#include <ctime>
#include <string>

#include "hilog/log_c.h"

namespace OHOS::HostLog {
// One formatted line as the caller hands it over; the writer adds the date, pid and level letter.
struct Line {
    timespec time{};
    long tid = 0;
    LogLevel level = LOG_INFO;
    unsigned int domain = 0;
    std::string tag;
    std::string text;
};

// The calling thread's kernel thread id, looked up once per thread.
long CurrentTid();

// Queues the line for the background writer, which prints it to stderr. The ring holds a bounded number of lines:
// when it is full the oldest line is dropped and the writer later prints how many were. Lines of one thread keep
// their order. Before the writer runs (it starts with the first line) or once the process is exiting, the line is
// written on the caller's thread instead.
void QueueLine(const timespec &time, LogLevel level, unsigned int domain, const char *tag, const std::string &text);

// Returns once every line queued before the call has been written.
void FlushLines();
} // namespace OHOS::HostLog

#endif // HIVIEWDFX_HOST_LOG_WRITER_H
