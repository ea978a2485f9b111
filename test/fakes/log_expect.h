#ifndef TARNBY_TEST_LOG_EXPECT_H
#define TARNBY_TEST_LOG_EXPECT_H

// Checks one captured log line as a whole: the message after the "[file:line]function# " prefix, and the record's
// type, level, domain and tag. The library's labels are spelled out here on purpose, not taken from its headers.
#include <gtest/gtest.h>

#include <string>

#include "log_capture.h"

namespace OHOS::TarnbyTest {
struct ExpectedLabel {
    unsigned int domain;
    const char *tag;
};

inline constexpr ExpectedLabel PROXY_LABEL = {0xD004613, "TRBYProxy"};
inline constexpr ExpectedLabel CALLBACK_LABEL = {0xD004616, "TRBYCallback"};

inline testing::AssertionResult Logged(const LogCapture &logs, LogLevel level, ExpectedLabel label,
                                       const std::string &message)
{
    HiLogRecord record;
    if (!logs.Find(message, &record)) {
        return testing::AssertionFailure() << "no log line \"" << message << "\"";
    }
    if (record.type != LOG_CORE || record.level != level || record.domain != label.domain || record.tag != label.tag) {
        return testing::AssertionFailure()
               << "\"" << message << "\" logged with type " << record.type << ", level " << record.level
               << ", domain 0x" << std::hex << record.domain << ", tag " << record.tag;
    }
    return testing::AssertionSuccess();
}

// The function name in the prefix of the line whose message is `message`, or "" when there is none.
inline std::string LoggedFunction(const LogCapture &logs, const std::string &message)
{
    HiLogRecord record;
    if (!logs.Find(message, &record)) {
        return "";
    }
    size_t close = record.text.find(']');
    size_t mark = record.text.find("# ");
    if (close == std::string::npos || mark == std::string::npos || mark < close) {
        return "";
    }
    return record.text.substr(close + 1, mark - close - 1);
}
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_LOG_EXPECT_H
