// SPDX-License-Identifier: Apache-2.0
#include "string_ex.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace OHOS {

namespace {
constexpr char32_t HIGH_SURROGATE_FIRST = 0xD800;
constexpr char32_t LOW_SURROGATE_FIRST = 0xDC00;
constexpr char32_t SURROGATE_END = 0xE000;
constexpr char32_t MAX_CODE_POINT = 0x10FFFF;
constexpr char32_t SUPPLEMENTARY_FIRST = 0x10000;

bool IsHighSurrogate(char32_t unit)
{
    return unit >= HIGH_SURROGATE_FIRST && unit < LOW_SURROGATE_FIRST;
}

bool IsLowSurrogate(char32_t unit)
{
    return unit >= LOW_SURROGATE_FIRST && unit < SURROGATE_END;
}

void AppendUtf8(std::string &out, char32_t cp)
{
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < SUPPLEMENTARY_FIRST) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

void AppendUtf16(std::u16string &out, char32_t cp)
{
    if (cp < SUPPLEMENTARY_FIRST) {
        out.push_back(static_cast<char16_t>(cp));
        return;
    }
    cp -= SUPPLEMENTARY_FIRST;
    out.push_back(static_cast<char16_t>(HIGH_SURROGATE_FIRST + (cp >> 10)));
    out.push_back(static_cast<char16_t>(LOW_SURROGATE_FIRST + (cp & 0x3FF)));
}

// Number of bytes of the sequence led by `lead`, 0 for a byte that cannot start one.
size_t SequenceLength(uint8_t lead)
{
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead <= 0xDF) {
        return 2;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        return 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        return 4;
    }
    return 0;
}

// Decodes one sequence at text[pos]; false for truncated, overlong, surrogate or out-of-range input.
bool DecodeUtf8(const std::string &text, size_t end, size_t &pos, char32_t &cp)
{
    static const char32_t minimum[] = {0, 0, 0x80, 0x800, SUPPLEMENTARY_FIRST};
    auto lead = static_cast<uint8_t>(text[pos]);
    size_t length = SequenceLength(lead);
    if (length == 0 || end - pos < length) {
        return false;
    }
    static const uint8_t leadMask[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    cp = lead & leadMask[length];
    for (size_t i = 1; i < length; i++) {
        auto next = static_cast<uint8_t>(text[pos + i]);
        if ((next & 0xC0) != 0x80) {
            return false;
        }
        cp = (cp << 6) | (next & 0x3F);
    }
    if (cp < minimum[length] || cp > MAX_CODE_POINT || (cp >= HIGH_SURROGATE_FIRST && cp < SURROGATE_END)) {
        return false;
    }
    pos += length;
    return true;
}
bool AllOf(const std::string &str, int (*test)(int))
{
    return std::all_of(str.begin(), str.end(), [test](char c) { return test(static_cast<unsigned char>(c)) != 0; });
}

std::string Transformed(std::string str, int (*convert)(int))
{
    std::transform(str.begin(), str.end(), str.begin(),
                   [convert](char c) { return static_cast<char>(convert(static_cast<unsigned char>(c))); });
    return str;
}

// Str16ToStr8 into `out`; false on a lone low surrogate.
bool Utf16ToUtf8(const std::u16string &str16, std::string &out)
{
    out.reserve(str16.size());
    for (size_t i = 0; i < str16.size() && str16[i] != u'\0'; i++) {
        char32_t unit = str16[i];
        if (IsLowSurrogate(unit)) {
            out.clear();
            return false;
        }
        if (!IsHighSurrogate(unit)) {
            AppendUtf8(out, unit);
            continue;
        }
        // A high surrogate counts only together with the low half that follows it.
        if (i + 1 < str16.size() && IsLowSurrogate(str16[i + 1])) {
            char32_t low = str16[++i];
            AppendUtf8(out, SUPPLEMENTARY_FIRST + ((unit - HIGH_SURROGATE_FIRST) << 10) + (low - LOW_SURROGATE_FIRST));
        }
    }
    return true;
}
} // namespace

std::string UpperStr(const std::string &str)
{
    return Transformed(str, toupper);
}

std::string LowerStr(const std::string &str)
{
    return Transformed(str, tolower);
}

std::string ReplaceStr(const std::string &str, const std::string &src, const std::string &dst)
{
    if (src.empty()) {
        return str;
    }
    std::string out;
    size_t from = 0;
    for (size_t at = str.find(src); at != std::string::npos; at = str.find(src, from)) {
        out.append(str, from, at - from).append(dst);
        from = at + src.size();
    }
    return out.append(str, from, std::string::npos);
}

std::string TrimStr(const std::string &str, const char cTrim)
{
    size_t first = str.find_first_not_of(cTrim);
    if (first == std::string::npos) {
        return "";
    }
    return str.substr(first, str.find_last_not_of(cTrim) - first + 1);
}

std::string DexToHexString(int value, bool upper)
{
    std::ostringstream out;
    out << (upper ? std::uppercase : std::nouppercase) << std::hex << static_cast<unsigned int>(value);
    return out.str();
}

void SplitStr(const std::string &str, const std::string &sep, std::vector<std::string> &strs, bool canEmpty,
              bool needTrim)
{
    strs.clear();
    auto keep = [&strs, canEmpty, needTrim](std::string piece) {
        if (needTrim) {
            piece = TrimStr(piece);
        }
        if (canEmpty || !piece.empty()) {
            strs.push_back(piece);
        }
    };
    size_t from = 0;
    if (!sep.empty()) {
        for (size_t at = str.find(sep); at != std::string::npos; at = str.find(sep, from)) {
            keep(str.substr(from, at - from));
            from = at + sep.size();
        }
    }
    keep(str.substr(from));
}

bool StrToInt(const std::string &str, int &value)
{
    if (str.empty() || !(isdigit(static_cast<unsigned char>(str[0])) || str[0] == '-')) {
        return false;
    }
    char *end = nullptr;
    errno = 0;
    long result = strtol(str.c_str(), &end, 10);
    if (end == str.c_str() || end != str.c_str() + str.size() || errno == ERANGE || result > INT_MAX ||
        result < INT_MIN) {
        return false;
    }
    value = static_cast<int>(result);
    return true;
}

bool IsNumericStr(const std::string &str)
{
    return !str.empty() && AllOf(str, isdigit);
}

bool IsAlphaStr(const std::string &str)
{
    return !str.empty() && AllOf(str, isalpha);
}

// Letters of the asked case only: an empty string, a digit or any other character makes it false.
bool IsUpperStr(const std::string &str)
{
    return !str.empty() && AllOf(str, isupper);
}

bool IsLowerStr(const std::string &str)
{
    return !str.empty() && AllOf(str, islower);
}

bool IsSubStr(const std::string &str, const std::string &sub)
{
    return !str.empty() && !sub.empty() && str.find(sub) != std::string::npos;
}

std::string::size_type GetFirstSubStrBetween(const std::string &str, const std::string &left, const std::string &right,
                                             std::string &sub)
{
    size_t leftAt = left.empty() || right.empty() ? std::string::npos : str.find(left);
    if (leftAt == std::string::npos) {
        return std::string::npos;
    }
    size_t begin = leftAt + left.size();
    size_t rightAt = str.find(right, begin);
    if (rightAt != std::string::npos) {
        sub = str.substr(begin, rightAt - begin);
    }
    return rightAt;
}

// Each round starts at the previous closing delimiter, which lies past the previous opening one, so the scan
// always moves on.
void GetSubStrBetween(const std::string &str, const std::string &left, const std::string &right,
                      std::vector<std::string> &sub)
{
    size_t from = 0;
    std::string piece;
    for (;;) {
        size_t rightAt = GetFirstSubStrBetween(str.substr(from), left, right, piece);
        if (rightAt == std::string::npos) {
            return;
        }
        sub.push_back(piece);
        from += rightAt;
    }
}

bool IsSameTextStr(const std::string &first, const std::string &second)
{
    return LowerStr(first) == LowerStr(second);
}

bool IsAsciiString(const std::string &str)
{
    return std::all_of(str.begin(), str.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string Str16ToStr8(const std::u16string &str16)
{
    std::string out;
    Utf16ToUtf8(str16, out);
    return out;
}

int GetUtf16ToUtf8Length(const std::u16string &str16)
{
    std::string out;
    if (str16.empty() || !Utf16ToUtf8(str16, out) || out.size() > static_cast<size_t>(INT_MAX)) {
        return -1;
    }
    return static_cast<int>(out.size());
}

int Char16ToChar8(const std::u16string &str16, char *buffer, int bufferLen)
{
    int length = GetUtf16ToUtf8Length(str16);
    if (buffer == nullptr || length < 0 || bufferLen <= length) {
        return -1;
    }
    std::string out = Str16ToStr8(str16);
    memcpy(buffer, out.c_str(), out.size() + 1);
    return length + 1;
}

std::u16string Str8ToStr16(const std::string &str)
{
    size_t end = str.find('\0');
    if (end == std::string::npos) {
        end = str.size();
    }
    std::u16string out;
    out.reserve(end);
    size_t pos = 0;
    while (pos < end) {
        char32_t cp = 0;
        if (!DecodeUtf8(str, end, pos, cp)) {
            return u"";
        }
        AppendUtf16(out, cp);
    }
    return out;
}

} // namespace OHOS
