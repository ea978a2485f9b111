// SPDX-License-Identifier: Apache-2.0
#include "transcript.h"

#include <algorithm>
#include <iostream>

#include "tarnby_emulator.h"
#include "tarnby_errors.h"

namespace OHOS::TarnbyDemo {
namespace {
// D, I, W, E, F as hilog prints them (levels 3 to 7).
char LevelLetter(LogLevel level)
{
    static const char LETTERS[] = "???DIWEF";
    return level >= 0 && level < LOG_LEVEL_MAX ? LETTERS[level] : '?';
}

std::string LogLine(const HiLogRecord &record)
{
    return std::string("      log ") + LevelLetter(record.level) + " " + record.tag + ": " + record.text;
}
} // namespace

Transcript::Transcript(bool showLogs) : showLogs_(showLogs), mainThread_(std::this_thread::get_id())
{
    HiLogSetSink([this](const HiLogRecord &record) { OnLog(record); });
}

Transcript::~Transcript()
{
    // The library still logs while the process ends (its proxy goes at unload): keep those lines out of the
    // transcript's way unless asked for.
    if (showLogs_) {
        HiLogSetSink([](const HiLogRecord &record) { std::cout << LogLine(record) << std::endl; });
    } else {
        HiLogSetSink([](const HiLogRecord &) {});
    }
}

void Transcript::Print(const std::string &line)
{
    std::lock_guard<std::mutex> lock(printMutex_);
    PrintLocked(line);
}

void Transcript::PrintLocked(const std::string &line)
{
    if (!pendingCall_.empty()) {
        std::cout << pendingCall_ << std::endl;
        pendingCall_.clear();
    }
    std::cout << line << std::endl;
}

void Transcript::OnLog(const HiLogRecord &record)
{
    if (showLogs_) {
        Print(LogLine(record));
    }
    std::lock_guard<std::mutex> lock(logMutex_);
    logTexts_.push_back(record.text);
    logAdded_.notify_all();
}

bool Transcript::WaitForLog(const std::string &fragment, std::chrono::milliseconds timeout)
{
    std::unique_lock<std::mutex> lock(logMutex_);
    return logAdded_.wait_for(lock, timeout, [this, &fragment] {
        return std::any_of(logTexts_.begin(), logTexts_.end(),
                           [&fragment](const std::string &text) { return text.find(fragment) != std::string::npos; });
    });
}

void Transcript::Section(const std::string &title)
{
    Print("");
    Print("== " + title + " ==");
}

void Transcript::Begin(const std::string &call)
{
    std::lock_guard<std::mutex> lock(printMutex_);
    pendingCall_ = "  " + call;
}

void Transcript::BeginService(const std::string &call)
{
    Begin("[emulator] " + call);
}

int32_t Transcript::End(int32_t status, const std::string &extra)
{
    EndWith(" -> " + Status(status) + extra);
    return status;
}

int32_t Transcript::EndService(int32_t status)
{
    EndWith(" -> " + ServiceStatus(status));
    return status;
}

void Transcript::EndWith(const std::string &result)
{
    std::lock_guard<std::mutex> lock(printMutex_);
    if (pendingCall_.empty()) {
        PrintLocked("   " + result); // below the callbacks that arrived during the call
        return;
    }
    std::string line = pendingCall_ + result;
    pendingCall_.clear();
    PrintLocked(line);
}

void Transcript::CallbackArrived(const std::string &what)
{
    Print("      callback on " + ThreadName() + ": " + what);
}

void Transcript::Service(const std::string &what)
{
    Print("  [emulator] " + what);
}

void Transcript::Note(const std::string &what)
{
    Print("  " + what);
}

bool Transcript::Expect(bool holds, const std::string &what)
{
    if (!holds) {
        ++failures_;
        Print("  !! not as expected: " + what);
    }
    return holds;
}

bool Transcript::TakeScenarioResult()
{
    bool passed = failures_ == 0;
    failures_ = 0;
    return passed;
}

std::string Transcript::Status(int32_t code)
{
    const char *name = Tarnby::TarnbyStatusName(code);
    if (name == nullptr) {
        name = TarnbyEmulator::EmulatorResultName(code);
    }
    return std::string(name != nullptr ? name : "unnamed") + " (" + std::to_string(code) + ")";
}

std::string Transcript::ServiceStatus(int32_t code)
{
    const char *name = TarnbyEmulator::EmulatorResultName(code);
    return name != nullptr ? std::string(name) + " (" + std::to_string(code) + ")" : Status(code);
}

std::string Transcript::ThreadName() const
{
    return std::this_thread::get_id() == mainThread_ ? "main thread" : "ipc thread";
}

std::string Transcript::Quote(const std::string &text)
{
    return "\"" + text + "\"";
}
} // namespace OHOS::TarnbyDemo
