// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EMULATOR_BOUNDED_LOG_H
#define TARNBY_EMULATOR_BOUNDED_LOG_H

// A ring of the latest entries: once full, each new entry takes the place of the oldest, at constant cost.
#include <cstddef>
#include <vector>

namespace OHOS::TarnbyEmulator {
template <typename T>
class BoundedLog {
public:
    explicit BoundedLog(size_t capacity) : capacity_(capacity > 0 ? capacity : 1) {}

    void Push(T entry)
    {
        if (entries_.size() < capacity_) {
            entries_.push_back(std::move(entry));
            return;
        }
        entries_[oldest_] = std::move(entry);
        oldest_ = (oldest_ + 1) % capacity_;
    }
    // Oldest first.
    template <typename Visit>
    void ForEach(Visit &&visit) const
    {
        for (size_t i = 0; i < entries_.size(); ++i) {
            visit(entries_[(oldest_ + i) % entries_.size()]);
        }
    }
    std::vector<T> Items() const
    {
        std::vector<T> items;
        items.reserve(entries_.size());
        ForEach([&items](const T &entry) { items.push_back(entry); });
        return items;
    }
    void Clear()
    {
        entries_.clear();
        oldest_ = 0;
    }

private:
    size_t capacity_;
    size_t oldest_ = 0;
    std::vector<T> entries_;
};
} // namespace OHOS::TarnbyEmulator

#endif // TARNBY_EMULATOR_BOUNDED_LOG_H
