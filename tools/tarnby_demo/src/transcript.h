// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_DEMO_TRANSCRIPT_H
#define TARNBY_DEMO_TRANSCRIPT_H

// What the demo prints: each call with its arguments and status, each callback with the thread it came on, the
// emulator's side where it matters, and (with --log) the library's log lines. Lines from any thread are printed
// whole, in the order they happen.
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host_log.h"

namespace OHOS::TarnbyDemo {
class Transcript {
public:
    // Remembers the calling thread as the main thread, and takes over the library's log lines: shown with
    // `showLogs`, silenced otherwise.
    explicit Transcript(bool showLogs);
    ~Transcript();
    Transcript(const Transcript &) = delete;
    Transcript &operator=(const Transcript &) = delete;

    void Section(const std::string &title);
    // A call of the library: Begin() before it, End() with its status after it. The transcript shows
    // "  Call(args) -> NAME (number)[extra]" on one line, or the status on a line of its own below the callbacks
    // that arrived during the call. End() returns `status`.
    void Begin(const std::string &call);
    int32_t End(int32_t status, const std::string &extra = std::string());
    // The same for a call of the emulator (marked so), whose status is named by the emulator first.
    void BeginService(const std::string &call);
    int32_t EndService(int32_t status);
    // Ends a call whose result is not a status, e.g. " -> 3 (an id)".
    void EndWith(const std::string &result);
    void CallbackArrived(const std::string &what);
    // A line from the emulator's side, or a remark.
    void Service(const std::string &what);
    void Note(const std::string &what);
    // A key result of the scenario: nothing is printed when it holds.
    bool Expect(bool holds, const std::string &what);
    // Whether every expectation since the last call held; starts the next count.
    bool TakeScenarioResult();

    // Waits until a log line containing `fragment` has been written (also one written before the call).
    bool WaitForLog(const std::string &fragment, std::chrono::milliseconds timeout);

    // "TRBY_OK (0)", "EMU_ERR_UNKNOWN_SESSION (290004)", "unnamed (7)": the library's name first.
    static std::string Status(int32_t code);
    // The same with the emulator's name first, for what the emulator's own calls return.
    static std::string ServiceStatus(int32_t code);
    // "main thread" or "ipc thread".
    std::string ThreadName() const;
    static std::string Quote(const std::string &text);

private:
    void Print(const std::string &line);
    void PrintLocked(const std::string &line);
    void OnLog(const HiLogRecord &record);

    const bool showLogs_;
    const std::thread::id mainThread_;
    std::mutex printMutex_;
    std::string pendingCall_; // begun, not ended, and not printed yet
    std::mutex logMutex_;
    std::condition_variable logAdded_;
    std::vector<std::string> logTexts_;
    int failures_ = 0;
};
} // namespace OHOS::TarnbyDemo

#endif // TARNBY_DEMO_TRANSCRIPT_H
