// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EMULATOR_SERVER_TRACE_RECORDER_H
#define TARNBY_EMULATOR_SERVER_TRACE_RECORDER_H

// The server's transaction trace: the latest transactions in a bounded ring, each also written as one JSON line to
// the trace file (flushed as it happens, so `tail -f` shows it) and handed to the live listeners.
#include <json/json.h>

#include <cstdio>
#include <deque>
#include <functional>
#include <mutex>
#include <string>

#include "tarnby_emulator.h"

namespace OHOS::TarnbyEmulator {
// A transaction as JSON: its fields named and typed, byte blocks as their size (and their text when short).
Json::Value TransactionJson(const Transaction &transaction);
// An event of the emulator's log as JSON.
Json::Value EventJson(const EmulatorEvent &event);

class TraceRecorder {
public:
    static constexpr size_t RING_SIZE = 1000;

    ~TraceRecorder();
    // Appends every transaction to `path` as JSON Lines from now on; false (with `error`) when it cannot be opened.
    bool WriteTo(const std::string &path, std::string &error);
    void Record(const Transaction &transaction);
    // The ring, oldest first.
    Json::Value Entries() const;
    // Called with each new entry, outside the recorder's lock.
    void OnEntry(std::function<void(const Json::Value &entry)> listener);

private:
    mutable std::mutex mutex_;
    std::deque<Json::Value> ring_;
    FILE *file_ = nullptr;
    std::function<void(const Json::Value &)> listener_;
};
} // namespace OHOS::TarnbyEmulator

#endif // TARNBY_EMULATOR_SERVER_TRACE_RECORDER_H
