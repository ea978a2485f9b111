// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_TEST_LOG_CAPTURE_H
#define TARNBY_TEST_LOG_CAPTURE_H

// Collects every HiLog record written while it lives (host log sink); restores the stderr writer when it goes.
#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "host_log.h"

namespace OHOS::TarnbyTest {
class LogCapture {
public:
    LogCapture()
    {
        HiLogSetSink([this](const HiLogRecord &record) {
            std::lock_guard<std::mutex> lock(mutex_);
            records_.push_back(record);
        });
    }
    ~LogCapture()
    {
        HiLogSetSink(nullptr);
    }
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    std::vector<HiLogRecord> Records() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return records_;
    }
    void Clear()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        records_.clear();
    }
    // The message after the "[file:line]function# " prefix.
    static std::string Message(const HiLogRecord &record)
    {
        size_t mark = record.text.find("# ");
        return mark == std::string::npos ? record.text : record.text.substr(mark + 2);
    }
    // The records whose message (after the prefix) is exactly `message`, oldest first.
    std::vector<HiLogRecord> With(const std::string &message) const
    {
        std::vector<HiLogRecord> found;
        for (const HiLogRecord &record : Records()) {
            if (Message(record) == message) {
                found.push_back(record);
            }
        }
        return found;
    }
    // Whether some record has `message`; the first such record goes to `found`.
    bool Find(const std::string &message, HiLogRecord *found = nullptr) const
    {
        auto records = With(message);
        if (found != nullptr && !records.empty()) {
            *found = records.front();
        }
        return !records.empty();
    }
    size_t Count(const std::string &message) const
    {
        return With(message).size();
    }
    // Whether `message` was logged at `level` under `tag`, with that tag's domain (spelled out here on purpose, not
    // taken from the library's headers).
    bool Logged(LogLevel level, const std::string &tag, const std::string &message) const
    {
        static const std::pair<const char *, unsigned int> domains[] = {
            {"TRBYClient", 0xD004612},        {"TRBYProxy", 0xD004613},        {"TRBYService", 0xD004615},
            {"TRBYCallback", 0xD004616},      {"TRBYDeviceDetect", 0xD004617}, {"VeskorManager", 0xD00461A},
            {"TRBYCollaboration", 0xD004624}, {"TRBYCollProc", 0xD004625}};
        unsigned int domain = 0;
        for (const auto &[name, value] : domains) {
            domain = tag == name ? value : domain;
        }
        auto records = With(message);
        return std::any_of(records.begin(), records.end(), [&](const HiLogRecord &record) {
            return record.level == level && record.tag == tag && record.domain == domain && record.type == LOG_CORE;
        });
    }
    // The function named in the prefix ("[file:line]function# ") of the first line whose message is `message`, or "".
    std::string FunctionOf(const std::string &message) const
    {
        HiLogRecord record;
        std::string text = Find(message, &record) ? record.text : "]# ";
        return text.substr(text.find(']') + 1, text.find("# ") - text.find(']') - 1);
    }
    // True if any record's full text contains `fragment`.
    bool Contains(const std::string &fragment) const
    {
        auto records = Records();
        return std::any_of(records.begin(), records.end(),
                           [&](const HiLogRecord &record) { return record.text.find(fragment) != std::string::npos; });
    }

private:
    mutable std::mutex mutex_;
    std::vector<HiLogRecord> records_;
};
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_LOG_CAPTURE_H
