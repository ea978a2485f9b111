// SPDX-License-Identifier: Apache-2.0
// Host HiLog: the level check comes first, then the caller formats (privacy tags honoured) and hands the line to
// the background writer, or, while a test sink is installed, to the sink on its own thread.
#include <pthread.h>
#include <strings.h>

#include <atomic>
#include <condition_variable>
#include <cstdarg>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "hilog/log.h"
#include "host_log.h"
#include "log_format.h"
#include "log_writer.h"

namespace {
constexpr const char *LEVEL_VARIABLE = "OHOS_HOST_LOG_LEVEL";
constexpr int LEVEL_NOT_READ = -1;

std::atomic<int> g_minLevel{LEVEL_NOT_READ};

// D/I/W/E/F or debug/info/warn/error/fatal, in any case; anything else means the default, info.
LogLevel ParseLevel(const char *value)
{
    struct Name {
        const char *letter;
        const char *word;
        LogLevel level;
    };
    static const Name names[] = {{"D", "debug", LOG_DEBUG},
                                 {"I", "info", LOG_INFO},
                                 {"W", "warn", LOG_WARN},
                                 {"E", "error", LOG_ERROR},
                                 {"F", "fatal", LOG_FATAL}};
    for (const Name &name : names) {
        if (value != nullptr && (strcasecmp(value, name.letter) == 0 || strcasecmp(value, name.word) == 0)) {
            return name.level;
        }
    }
    return LOG_INFO;
}

int MinLevel()
{
    int level = g_minLevel.load(std::memory_order_relaxed);
    if (level == LEVEL_NOT_READ) {
        level = ParseLevel(std::getenv(LEVEL_VARIABLE));
        g_minLevel.store(level, std::memory_order_relaxed);
    }
    return level;
}

bool LevelPasses(LogLevel level)
{
    return level >= MinLevel() && level < LOG_LEVEL_MAX;
}

// One installed sink and the calls of it still running. HiLogSetSink swaps the state and waits for those calls,
// so that no call of a replaced sink starts or runs after it returns.
struct SinkState {
    std::function<void(const HiLogRecord &)> sink;
    int running = 0;
};

struct SinkRegistry {
    std::mutex mutex;
    std::condition_variable idle;
    std::unique_ptr<SinkState> state;
};

// Never destroyed: IPC threads may still log while the process's statics go away at exit.
SinkRegistry &Sinks()
{
    static auto *registry = new SinkRegistry();
    return *registry;
}

std::atomic<bool> g_hasSink{false};
thread_local int t_sinkDepth = 0; // sink calls running on this thread
// Sinks replaced from inside a sink call on this thread: freed once that call has returned.
thread_local std::vector<std::unique_ptr<SinkState>> t_retired;

void HookForkSafety()
{
    static std::once_flag once;
    std::call_once(once, [] {
        pthread_atfork([] { Sinks().mutex.lock(); }, [] { Sinks().mutex.unlock(); }, [] { Sinks().mutex.unlock(); });
    });
}

// False when no sink is installed.
bool CallSink(const HiLogRecord &record)
{
    SinkState *state = nullptr;
    {
        std::lock_guard<std::mutex> lock(Sinks().mutex);
        state = Sinks().state.get();
        if (state == nullptr) {
            return false;
        }
        state->running++;
    }
    struct Done {
        SinkState *state;
        ~Done()
        {
            {
                std::lock_guard<std::mutex> lock(Sinks().mutex);
                state->running--;
                Sinks().idle.notify_all();
            }
            if (--t_sinkDepth == 0) {
                t_retired.clear();
            }
        }
    } done{state};
    t_sinkDepth++;
    state->sink(record);
    return true;
}

// The caller's formatting buffer, reused so that a line costs no allocation. A thread's objects go before the
// statics at exit, and static destructors may still log: they then format into a buffer of their own.
thread_local bool t_bufferGone = false;
struct FormatBuffer {
    std::string text;
    ~FormatBuffer()
    {
        t_bufferGone = true;
    }
};
thread_local FormatBuffer t_buffer;
} // namespace

namespace {
int PrintArgs(LogType type, LogLevel level, unsigned int domain, const char *tag, const char *fmt, va_list args)
{
    if (fmt == nullptr || !LevelPasses(level)) {
        return -1;
    }
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    std::string text;
    // A sink that logs must not format over the record it was given.
    std::string &buffer = (t_sinkDepth > 0 || t_bufferGone) ? text : t_buffer.text;
    buffer.clear();
    OHOS::HostLog::FormatInto(buffer, fmt, args);
    const char *safeTag = tag == nullptr ? "" : tag;
    if (g_hasSink.load(std::memory_order_acquire) && CallSink(HiLogRecord{type, level, domain, safeTag, buffer})) {
        return static_cast<int>(buffer.size());
    }
    OHOS::HostLog::QueueLine(now, level, domain, safeTag, buffer);
    return static_cast<int>(buffer.size());
}
} // namespace

extern "C" int HiLogPrint(LogType type, LogLevel level, unsigned int domain, const char *tag, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    int printed = PrintArgs(type, level, domain, tag, fmt, args);
    va_end(args);
    return printed;
}

// The C++ interface of older components: a label instead of the type, domain and tag.
#define HILOG_CPP_LEVEL(Name, level)                                                                                   \
    int OHOS::HiviewDFX::HiLog::Name(const HiLogLabel &label, const char *fmt, ...)                                    \
    {                                                                                                                  \
        va_list args;                                                                                                  \
        va_start(args, fmt);                                                                                           \
        int printed = PrintArgs(label.type, (level), label.domain, label.tag, fmt, args);                              \
        va_end(args);                                                                                                  \
        return printed;                                                                                                \
    }
HILOG_CPP_LEVEL(Debug, LOG_DEBUG)
HILOG_CPP_LEVEL(Info, LOG_INFO)
HILOG_CPP_LEVEL(Warn, LOG_WARN)
HILOG_CPP_LEVEL(Error, LOG_ERROR)
HILOG_CPP_LEVEL(Fatal, LOG_FATAL)
#undef HILOG_CPP_LEVEL

extern "C" bool HiLogIsLoggable(unsigned int domain, const char *tag, LogLevel level)
{
    return tag != nullptr && LevelPasses(level);
}

void HiLogSetSink(std::function<void(const HiLogRecord &)> sink)
{
    HookForkSafety();
    std::unique_ptr<SinkState> next;
    if (sink) {
        next.reset(new SinkState{std::move(sink), 0});
    }
    std::unique_ptr<SinkState> old;
    {
        std::unique_lock<std::mutex> lock(Sinks().mutex);
        old = std::move(Sinks().state);
        Sinks().state = std::move(next);
        g_hasSink.store(Sinks().state != nullptr, std::memory_order_release);
        // Calls on this very thread cannot finish while it waits here; every other call of the old sink can.
        SinkState *replaced = old.get();
        Sinks().idle.wait(lock, [replaced] { return replaced == nullptr || replaced->running <= t_sinkDepth; });
    }
    if (t_sinkDepth > 0 && old != nullptr) {
        t_retired.push_back(std::move(old)); // the sink that called us is still running
    }
}

void HiLogFlush()
{
    OHOS::HostLog::FlushLines();
}

void HiLogReadLevel()
{
    g_minLevel.store(LEVEL_NOT_READ, std::memory_order_relaxed);
}
