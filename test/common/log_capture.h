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
