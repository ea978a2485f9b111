#ifndef UTILS_BASE_STRING_EX_H
#define UTILS_BASE_STRING_EX_H

#include <string>

namespace OHOS {

// UTF-16 to UTF-8. Stops at the first U+0000; a high surrogate without its low half is dropped; a lone low
// surrogate makes the whole result "".
std::string Str16ToStr8(const std::u16string &str16);

// UTF-8 to UTF-16. Stops at the first NUL byte; any invalid or truncated sequence makes the whole result u"".
std::u16string Str8ToStr16(const std::string &str);

} // namespace OHOS

#endif // UTILS_BASE_STRING_EX_H
