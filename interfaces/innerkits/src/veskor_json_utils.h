// SPDX-License-Identifier: Apache-2.0
#ifndef VESKOR_JSON_UTILS_H
#define VESKOR_JSON_UTILS_H

// Extra-info JSON helpers of the device-connect callbacks (internal to the library). The service marks in the
// extra info that a descriptor travels beside it; the client puts the number it actually received into "fd".
#include <cstdint>
#include <string>

#include "json/json.h"

namespace OHOS::Tarnby {
class JsonUtils {
public:
    // Parses `str` into `*root` with a default-configured builder reader; false for an empty or invalid string and
    // for any text the parser throws on (never an exception).
    static bool StringToJsonInternal(const std::string &str, Json::Value *root);
};

class VeskorJsonUtils {
public:
    // Whether the extra info is a JSON object with a member "fd".
    static bool IsFdExist(std::string &extraInfo);
    // The extra info with "fd" set to `fd`, styled by jsoncpp; unchanged when it is empty, invalid or not an object.
    static std::string AddFdToExtraInfo(std::string &extraInfo, int32_t fd);
    // The same change made in place; false, with `extraInfo` unchanged, when the text cannot take the descriptor.
    static bool SetFdInExtraInfo(std::string &extraInfo, int32_t fd);
};
} // namespace OHOS::Tarnby

#endif // VESKOR_JSON_UTILS_H
