// SPDX-License-Identifier: Apache-2.0
// Privacy-tag formatting: printf conversions with an optional {public}/{private} tag after '%'.
#include "log_format.h"

#include <cstdio>
#include <cstring>

namespace OHOS::HostLog {
namespace {
constexpr const char *PRIVATE_VALUE = "<private>";
constexpr const char PUBLIC_TAG[] = "{public}";
constexpr const char PRIVATE_TAG[] = "{private}";
constexpr size_t MAX_PATTERN = 32; // '%', flags, width, precision, length and conversion

struct Conversion {
    char pattern[MAX_PATTERN]; // the printf conversion without the privacy tag, e.g. "%-8.3lu"
    size_t patternLength = 0;
    bool isPublic = false;
    char length[3] = {}; // "", "l", "ll", "z", ...
    char conv = '\0';
};

bool IsFlag(char c)
{
    return c == '-' || c == '+' || c == ' ' || c == '#' || c == '0';
}

bool IsWidthChar(char c)
{
    return (c >= '0' && c <= '9') || c == '*' || c == '.';
}

bool IsLengthChar(char c)
{
    return c == 'h' || c == 'l' || c == 'z' || c == 'j' || c == 't' || c == 'L' || c == 'q';
}

bool StartsWith(const char *text, const char *prefix, size_t prefixLength)
{
    return std::strncmp(text, prefix, prefixLength) == 0;
}

void AddToPattern(Conversion &out, char c)
{
    if (out.patternLength + 1 < MAX_PATTERN) {
        out.pattern[out.patternLength++] = c;
    }
}

// Parses one conversion starting after '%'; returns the index after it.
size_t ParseConversion(const char *fmt, size_t pos, Conversion &out)
{
    out = Conversion();
    AddToPattern(out, '%');
    if (StartsWith(fmt + pos, PUBLIC_TAG, sizeof(PUBLIC_TAG) - 1)) {
        out.isPublic = true;
        pos += sizeof(PUBLIC_TAG) - 1;
    } else if (StartsWith(fmt + pos, PRIVATE_TAG, sizeof(PRIVATE_TAG) - 1)) {
        pos += sizeof(PRIVATE_TAG) - 1;
    }
    while (IsFlag(fmt[pos]) || IsWidthChar(fmt[pos])) {
        AddToPattern(out, fmt[pos++]);
    }
    for (size_t n = 0; IsLengthChar(fmt[pos]); pos++) {
        if (n + 1 < sizeof(out.length)) {
            out.length[n++] = fmt[pos];
        }
        AddToPattern(out, fmt[pos]);
    }
    out.conv = fmt[pos];
    if (out.conv != '\0') {
        AddToPattern(out, fmt[pos++]);
    }
    out.pattern[out.patternLength] = '\0';
    return pos;
}

template <typename T>
void Append(std::string &text, const char *pattern, bool show, T value)
{
    if (!show) {
        text += PRIVATE_VALUE;
        return;
    }
    char small[64];
    int needed = std::snprintf(small, sizeof(small), pattern, value);
    if (needed <= 0) {
        return;
    }
    if (static_cast<size_t>(needed) < sizeof(small)) {
        text.append(small, static_cast<size_t>(needed));
        return;
    }
    size_t start = text.size();
    text.resize(start + static_cast<size_t>(needed) + 1);
    std::snprintf(&text[start], static_cast<size_t>(needed) + 1, pattern, value);
    text.resize(start + static_cast<size_t>(needed));
}

// A '*' width or precision takes an int argument of its own; it is resolved into the pattern.
void ResolveStars(Conversion &c, va_list &args)
{
    char resolved[MAX_PATTERN * 2];
    size_t used = 0;
    for (size_t i = 0; i < c.patternLength && used + 12 < sizeof(resolved); i++) {
        if (c.pattern[i] == '*') {
            used +=
                static_cast<size_t>(std::snprintf(resolved + used, sizeof(resolved) - used, "%d", va_arg(args, int)));
        } else {
            resolved[used++] = c.pattern[i];
        }
    }
    used = used < MAX_PATTERN - 1 ? used : MAX_PATTERN - 1;
    std::memcpy(c.pattern, resolved, used);
    c.pattern[used] = '\0';
    c.patternLength = used;
}

void AppendInteger(std::string &text, const Conversion &c, va_list &args)
{
    const char *len = c.length;
    if (std::strcmp(len, "l") == 0) {
        Append(text, c.pattern, c.isPublic, va_arg(args, long));
    } else if (std::strcmp(len, "ll") == 0 || std::strcmp(len, "q") == 0 || std::strcmp(len, "j") == 0) {
        Append(text, c.pattern, c.isPublic, va_arg(args, long long));
    } else if (std::strcmp(len, "z") == 0 || std::strcmp(len, "t") == 0) {
        Append(text, c.pattern, c.isPublic, va_arg(args, size_t));
    } else {
        Append(text, c.pattern, c.isPublic, va_arg(args, int));
    }
}

// Takes the conversion's argument from `args` by its type, so private values are skipped correctly.
void AppendArgument(std::string &text, Conversion &c, va_list &args)
{
    if (std::memchr(c.pattern, '*', c.patternLength) != nullptr) {
        ResolveStars(c, args);
    }
    switch (c.conv) {
        case 'd':
        case 'i':
        case 'u':
        case 'x':
        case 'X':
        case 'o':
        case 'c':
            AppendInteger(text, c, args);
            break;
        case 'f':
        case 'F':
        case 'e':
        case 'E':
        case 'g':
        case 'G':
        case 'a':
        case 'A':
            if (std::strcmp(c.length, "L") == 0) {
                Append(text, c.pattern, c.isPublic, va_arg(args, long double));
            } else {
                Append(text, c.pattern, c.isPublic, va_arg(args, double));
            }
            break;
        case 's': {
            const char *value = va_arg(args, const char *);
            Append(text, c.pattern, c.isPublic, value == nullptr ? "(null)" : value);
            break;
        }
        case 'p':
            Append(text, c.pattern, c.isPublic, va_arg(args, void *));
            break;
        default:
            text.append(c.pattern, c.patternLength); // unknown conversion: shown as written, no argument taken
            break;
    }
}
} // namespace

// A va_list parameter decays to a pointer on some ABIs, so the arguments are walked through a local copy.
void FormatInto(std::string &text, const char *fmt, va_list args)
{
    va_list walk;
    va_copy(walk, args);
    for (size_t pos = 0; fmt[pos] != '\0';) {
        const char *percent = std::strchr(fmt + pos, '%');
        if (percent == nullptr) {
            text.append(fmt + pos);
            break;
        }
        text.append(fmt + pos, static_cast<size_t>(percent - (fmt + pos)));
        pos = static_cast<size_t>(percent - fmt);
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
}
} // namespace OHOS::HostLog
