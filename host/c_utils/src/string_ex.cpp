#include "string_ex.h"

#include <cstdint>

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
} // namespace

std::string Str16ToStr8(const std::u16string &str16)
{
    std::string out;
    out.reserve(str16.size());
    for (size_t i = 0; i < str16.size() && str16[i] != u'\0'; i++) {
        char32_t unit = str16[i];
        if (IsLowSurrogate(unit)) {
            return "";
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
    return out;
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
