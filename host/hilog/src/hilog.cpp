// Host HiLog: formats like the platform (privacy tags honoured) and writes hilog-like lines to stderr or a sink.
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>

#include <sys/syscall.h>
#include <unistd.h>

#include "host_log.h"
#include "hilog/log.h"

namespace {
std::mutex g_sinkMutex;
std::function<void(const HiLogRecord &)> g_sink;

constexpr const char *PRIVATE_VALUE = "<private>";

struct Conversion {
    std::string pattern; // the printf conversion without the privacy tag, e.g. "%-8.3lu"
    bool isPublic = false;
    std::string length;
    char conv = '\0';
};

bool IsFlag(char c)
{
    return c == '-' || c == '+' || c == ' ' || c == '#' || c == '0';
}

bool IsLengthChar(char c)
{
    return c == 'h' || c == 'l' || c == 'z' || c == 'j' || c == 't' || c == 'L' || c == 'q';
}

// Parses one conversion starting after '%'; returns the index after it.
size_t ParseConversion(const char *fmt, size_t pos, Conversion &out)
{
    out = Conversion();
    out.pattern = "%";
    const std::string publicTag = "{public}";
    const std::string privateTag = "{private}";
    if (fmt[pos] == '{') {
        std::string rest(fmt + pos);
        if (rest.compare(0, publicTag.size(), publicTag) == 0) {
            out.isPublic = true;
            pos += publicTag.size();
        } else if (rest.compare(0, privateTag.size(), privateTag) == 0) {
            pos += privateTag.size();
        }
    }
    while (IsFlag(fmt[pos])) {
        out.pattern += fmt[pos++];
    }
    while ((fmt[pos] >= '0' && fmt[pos] <= '9') || fmt[pos] == '*' || fmt[pos] == '.') {
        out.pattern += fmt[pos++];
    }
    while (IsLengthChar(fmt[pos])) {
        out.length += fmt[pos];
        out.pattern += fmt[pos++];
    }
    out.conv = fmt[pos];
    if (out.conv != '\0') {
        out.pattern += fmt[pos++];
    }
    return pos;
}

template <typename T>
void Append(std::string &text, const std::string &pattern, bool show, T value)
{
    if (!show) {
        text += PRIVATE_VALUE;
        return;
    }
    int needed = std::snprintf(nullptr, 0, pattern.c_str(), value);
    if (needed <= 0) {
        return;
    }
    std::string piece(static_cast<size_t>(needed) + 1, '\0');
    std::snprintf(piece.data(), piece.size(), pattern.c_str(), value);
    piece.resize(static_cast<size_t>(needed));
    text += piece;
}

// Takes the conversion's argument from `args` by its type, so private values are skipped correctly.
void AppendArgument(std::string &text, const Conversion &c, va_list &args)
{
    std::string pattern = c.pattern;
    // A '*' width or precision takes an int argument of its own; resolve it into the pattern.
    for (size_t star = pattern.find('*'); star != std::string::npos; star = pattern.find('*')) {
        pattern.replace(star, 1, std::to_string(va_arg(args, int)));
    }
    const std::string &len = c.length;
    switch (c.conv) {
        case 'd':
        case 'i':
        case 'u':
        case 'x':
        case 'X':
        case 'o':
        case 'c':
            if (len == "l") {
                Append(text, pattern, c.isPublic, va_arg(args, long));
            } else if (len == "ll" || len == "q" || len == "j") {
                Append(text, pattern, c.isPublic, va_arg(args, long long));
            } else if (len == "z" || len == "t") {
                Append(text, pattern, c.isPublic, va_arg(args, size_t));
            } else {
                Append(text, pattern, c.isPublic, va_arg(args, int));
            }
            break;
        case 'f':
        case 'F':
        case 'e':
        case 'E':
        case 'g':
        case 'G':
        case 'a':
        case 'A':
            if (len == "L") {
                Append(text, pattern, c.isPublic, va_arg(args, long double));
            } else {
                Append(text, pattern, c.isPublic, va_arg(args, double));
            }
            break;
        case 's': {
            const char *value = va_arg(args, const char *);
            Append(text, pattern, c.isPublic, value == nullptr ? "(null)" : value);
            break;
        }
        case 'p':
            Append(text, pattern, c.isPublic, va_arg(args, void *));
            break;
        default:
            text += pattern; // unknown conversion: shown as written, no argument taken
            break;
    }
}

// A va_list parameter decays to a pointer on some ABIs, so the arguments are walked through a local copy.
std::string Format(const char *fmt, va_list args)
{
    va_list walk;
    va_copy(walk, args);
    std::string text;
    for (size_t pos = 0; fmt[pos] != '\0';) {
        if (fmt[pos] != '%') {
            text += fmt[pos++];
            continue;
        }
        if (fmt[pos + 1] == '%') {
            text += '%';
            pos += 2;
            continue;
        }
        Conversion conversion;
        pos = ParseConversion(fmt, pos + 1, conversion);
        AppendArgument(text, conversion, walk);
    }
    va_end(walk);
    return text;
}

char LevelLetter(LogLevel level)
{
    switch (level) {
        case LOG_DEBUG:
            return 'D';
        case LOG_INFO:
            return 'I';
        case LOG_WARN:
            return 'W';
        case LOG_ERROR:
            return 'E';
        case LOG_FATAL:
            return 'F';
        default:
            return '?';
    }
}

void WriteToStderr(const HiLogRecord &record)
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    char stamp[32] = {0};
    std::strftime(stamp, sizeof(stamp), "%m-%d %H:%M:%S", &local);
    std::fprintf(stderr, "%s.%03ld %5d %5ld %c %05X/%s: %s\n", stamp, now.tv_nsec / 1000000, static_cast<int>(getpid()),
                 static_cast<long>(syscall(SYS_gettid)), LevelLetter(record.level), record.domain & 0xFFFFF,
                 record.tag.c_str(), record.text.c_str());
}
} // namespace

extern "C" int HiLogPrint(LogType type, LogLevel level, unsigned int domain, const char *tag, const char *fmt, ...)
{
    if (fmt == nullptr) {
        return -1;
    }
    va_list args;
    va_start(args, fmt);
    HiLogRecord record{type, level, domain, tag == nullptr ? "" : tag, Format(fmt, args)};
    va_end(args);
    std::function<void(const HiLogRecord &)> sink;
    {
        std::lock_guard<std::mutex> lock(g_sinkMutex);
        sink = g_sink;
    }
    if (sink) {
        sink(record);
    } else {
        WriteToStderr(record);
    }
    return static_cast<int>(record.text.size());
}

extern "C" bool HiLogIsLoggable(unsigned int domain, const char *tag, LogLevel level)
{
    return tag != nullptr && level >= LOG_DEBUG && level < LOG_LEVEL_MAX;
}

void HiLogSetSink(std::function<void(const HiLogRecord &)> sink)
{
    std::lock_guard<std::mutex> lock(g_sinkMutex);
    g_sink = std::move(sink);
}
