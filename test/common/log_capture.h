#ifndef TARNBY_TEST_LOG_CAPTURE_H
#define TARNBY_TEST_LOG_CAPTURE_H

// Collects every HiLog record written while it lives (host log sink); restores the stderr writer when it goes.
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
    // Whether some record's message (after the prefix) equals `message`; the first such record goes to `found`.
    bool Find(const std::string &message, HiLogRecord *found = nullptr) const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto &record : records_) {
            if (Message(record) == message) {
                if (found != nullptr) {
                    *found = record;
                }
                return true;
            }
        }
        return false;
    }
    // How many records have exactly `message` after the prefix.
    size_t Count(const std::string &message) const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        size_t count = 0;
        for (const auto &record : records_) {
            count += Message(record) == message ? 1 : 0;
        }
        return count;
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
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto &record : records_) {
            if (Message(record) == message && record.level == level && record.tag == tag && record.domain == domain &&
                record.type == LOG_CORE) {
                return true;
            }
        }
        return false;
    }
    // The function named in the prefix of the first line whose message is `message`, or "".
    std::string FunctionOf(const std::string &message) const
    {
        HiLogRecord record;
        if (!Find(message, &record)) {
            return "";
        }
        size_t close = record.text.find(']');
        size_t mark = record.text.find("# ");
        return close < mark && mark != std::string::npos ? record.text.substr(close + 1, mark - close - 1) : "";
    }
    // True if any record's full text contains `fragment`.
    bool Contains(const std::string &fragment) const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto &record : records_) {
            if (record.text.find(fragment) != std::string::npos) {
                return true;
            }
        }
        return false;
    }

private:
    mutable std::mutex mutex_;
    std::vector<HiLogRecord> records_;
};
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_LOG_CAPTURE_H
