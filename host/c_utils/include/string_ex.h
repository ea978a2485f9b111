// SPDX-License-Identifier: Apache-2.0
#ifndef UTILS_BASE_STRING_EX_H
#define UTILS_BASE_STRING_EX_H

#include <string>
#include <vector>

namespace OHOS {

// ASCII case conversion; other bytes are kept.
std::string UpperStr(const std::string &str);
std::string LowerStr(const std::string &str);

// Every occurrence of `src`, left to right and without overlap, replaced by `dst`; an empty `src` changes nothing.
std::string ReplaceStr(const std::string &str, const std::string &src, const std::string &dst);

// Without the leading and trailing `cTrim` characters.
std::string TrimStr(const std::string &str, const char cTrim = ' ');

// Hexadecimal digits of `value` (a negative value as its 32-bit two's complement), no prefix.
std::string DexToHexString(int value, bool upper = true);

// Appends the pieces of `str` between the separators to `strs` (it is not cleared). Each piece is trimmed of
// spaces when `needTrim`; empty pieces are dropped unless `canEmpty`. An empty separator gives the whole string.
void SplitStr(const std::string &str, const std::string &sep, std::vector<std::string> &strs, bool canEmpty = false,
              bool needTrim = true);

template <class T>
std::string ToString(T iValue)
{
    return std::to_string(iValue);
}

// Decimal digits with an optional leading '-', nothing else (no spaces, no '+'), within the range of int.
// `value` is changed only on success.
bool StrToInt(const std::string &str, int &value);

// Non-empty and only the given kind of character.
bool IsNumericStr(const std::string &str);
bool IsAlphaStr(const std::string &str);
// No lowercase (uppercase) letter; characters that are not letters are ignored, so "" and "12" pass both.
bool IsUpperStr(const std::string &str);
bool IsLowerStr(const std::string &str);

// Whether `sub` occurs in `str`; false when either is empty.
bool IsSubStr(const std::string &str, const std::string &sub);

// The text between the first `left` and the next `right` after it, into `sub`. Returns the position of that
// `right` in `str`, or npos (and `sub` unchanged) when there is no such pair or a delimiter is empty.
std::string::size_type GetFirstSubStrBetween(const std::string &str, const std::string &left, const std::string &right,
                                             std::string &sub);

// Appends every such text to `sub`, scanning on from each closing `right` (which may open the next pair).
void GetSubStrBetween(const std::string &str, const std::string &left, const std::string &right,
                      std::vector<std::string> &sub);

// Equal apart from ASCII case.
bool IsSameTextStr(const std::string &first, const std::string &second);

// Every byte below 0x80.
bool IsAsciiString(const std::string &str);

// UTF-16 to UTF-8. Stops at the first U+0000; a high surrogate without its low half is dropped; a lone low
// surrogate makes the whole result "".
std::string Str16ToStr8(const std::u16string &str16);

// UTF-8 to UTF-16. Stops at the first NUL byte; any invalid or truncated sequence makes the whole result u"".
std::u16string Str8ToStr16(const std::string &str);

// Bytes of the UTF-8 form that Str16ToStr8 gives (no terminator); -1 when that conversion fails or `str16` is
// empty.
int GetUtf16ToUtf8Length(const std::u16string &str16);

// Writes the UTF-8 form and a terminating NUL into `buffer` and returns the bytes written including the NUL;
// -1 (nothing written) for a null buffer, a failing conversion or a buffer shorter than that.
int Char16ToChar8(const std::u16string &str16, char *buffer, int bufferLen);

} // namespace OHOS

#endif // UTILS_BASE_STRING_EX_H
