// SPDX-License-Identifier: Apache-2.0
// The background writer of host HiLog: callers copy a formatted line into a bounded ring under a short lock, one
// thread prints the lines to stderr in batches, as the platform's logging daemon does.
#include "log_writer.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

namespace OHOS::HostLog {
namespace {
constexpr size_t RING_LINES = 1024;
// After the first line wakes it, the writer waits this long for more so that it prints in batches.
constexpr auto BATCH_DELAY = std::chrono::milliseconds(1);
constexpr const char *WRITER_TAG = "HiLog";

thread_local long t_tid = 0;

char LevelLetter(LogLevel level)
{
    switch (level) {
        case LOG_DEBUG:
            return 'D';
        case LOG_INFO:
            return 'I';
        case LOG_WARN:
            return 'W';
        case LOG_ERROR:
            return 'E';
        case LOG_FATAL:
            return 'F';
        default:
            return '?';
    }
}

// "MM-DD hh:mm:ss.mmm  pid   tid L DDDDD/tag: text"
void AppendFormatted(std::string &out, const Line &line, int pid)
{
    tm local{};
    localtime_r(&line.time.tv_sec, &local);
    char stamp[32] = {0};
    std::strftime(stamp, sizeof(stamp), "%m-%d %H:%M:%S", &local);
    char head[128];
    int length = std::snprintf(head, sizeof(head), "%s.%03ld %5d %5ld %c %05X/", stamp, line.time.tv_nsec / 1000000,
                               pid, line.tid, LevelLetter(line.level), line.domain & 0xFFFFF);
    out.append(head, length > 0 ? static_cast<size_t>(length) : 0);
    out += line.tag;
    out += ": ";
    out += line.text;
    out += '\n';
}

void WriteOut(const std::string &out)
{
    std::fwrite(out.data(), 1, out.size(), stderr);
    std::fflush(stderr);
}

Line DropNotice(uint64_t dropped)
{
    Line notice;
    clock_gettime(CLOCK_REALTIME, &notice.time);
    notice.tid = CurrentTid();
    notice.level = LOG_WARN;
    notice.tag = WRITER_TAG;
    notice.text = "dropped " + std::to_string(dropped) + " lines";
    return notice;
}

class Writer {
public:
    void Queue(const timespec &time, LogLevel level, unsigned int domain, const char *tag, const std::string &text);
    void Flush();
    void StopAtExit();
    void LockForFork()
    {
        mutex_.lock();
    }
    void UnlockAfterFork()
    {
        mutex_.unlock();
    }

private:
    bool StartLocked();
    void Run();
    // Waits until there is something to print; false when the writer is to end.
    bool WaitForLines(std::unique_lock<std::mutex> &lock);

    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable written_;
    std::vector<Line> ring_;
    size_t head_ = 0;
    size_t count_ = 0;
    uint64_t dropped_ = 0;
    uint64_t queued_ = 0;  // lines ever queued, dropped ones included
    uint64_t handled_ = 0; // of those, the ones printed or reported as dropped
    bool started_ = false;
    bool stopping_ = false;
    bool stopped_ = false; // no writer thread any more: callers write themselves
    bool sleeping_ = false;
    bool flushWanted_ = false;
    std::thread *thread_ = nullptr; // never destroyed: a forked child must not touch its parent's thread
};

std::atomic<Writer *> g_writer{nullptr};

// Never destroyed, so that lines logged by static destructors still find it; a forked child gets a fresh one.
Writer &TheWriter()
{
    static Writer *first = [] {
        auto *writer = new Writer();
        g_writer.store(writer);
        pthread_atfork([] { g_writer.load()->LockForFork(); }, [] { g_writer.load()->UnlockAfterFork(); },
                       [] {
                           // The child has only this thread: the parent's queued lines and writer stay with it.
                           t_tid = 0;
                           g_writer.store(new Writer());
                       });
        return writer;
    }();
    (void)first;
    return *g_writer.load();
}

void WriteNow(const Line &line)
{
    std::string out;
    AppendFormatted(out, line, getpid());
    WriteOut(out);
}

bool Writer::StartLocked()
{
    static std::once_flag exitHook;
    std::call_once(exitHook, [] { std::atexit([] { TheWriter().StopAtExit(); }); });
    thread_ = new (std::nothrow) std::thread([this] { Run(); });
    started_ = true;
    stopped_ = thread_ == nullptr;
    return !stopped_;
}

void Writer::Queue(const timespec &time, LogLevel level, unsigned int domain, const char *tag, const std::string &text)
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (stopped_ || (!started_ && !StartLocked())) {
        lock.unlock();
        WriteNow(Line{time, CurrentTid(), level, domain, tag, text});
        return;
    }
    if (ring_.empty()) {
        ring_.resize(RING_LINES);
    }
    if (count_ == ring_.size()) {
        head_ = (head_ + 1) % ring_.size();
        count_--;
        dropped_++;
    }
    Line &slot = ring_[(head_ + count_) % ring_.size()];
    slot.time = time;
    slot.tid = CurrentTid();
    slot.level = level;
    slot.domain = domain;
    slot.tag.assign(tag);
    slot.text.assign(text);
    count_++;
    queued_++;
    if (sleeping_ || count_ == ring_.size() / 2) {
        wake_.notify_one();
    }
}

bool Writer::WaitForLines(std::unique_lock<std::mutex> &lock)
{
    sleeping_ = true;
    wake_.wait(lock, [this] { return count_ > 0 || dropped_ > 0 || stopping_ || flushWanted_; });
    sleeping_ = false;
    if (!stopping_ && !flushWanted_) {
        wake_.wait_for(lock, BATCH_DELAY, [this] { return stopping_ || flushWanted_ || count_ >= ring_.size() / 2; });
    }
    flushWanted_ = false;
    if (stopping_ && count_ == 0 && dropped_ == 0) {
        stopped_ = true;
        return false;
    }
    return true;
}

void Writer::Run()
{
    std::vector<Line> batch(RING_LINES);
    std::string out;
    std::unique_lock<std::mutex> lock(mutex_);
    while (WaitForLines(lock)) {
        size_t taken = count_;
        uint64_t dropped = dropped_;
        for (size_t i = 0; i < taken; i++) {
            std::swap(batch[i], ring_[(head_ + i) % ring_.size()]);
        }
        head_ = (head_ + taken) % (ring_.empty() ? 1 : ring_.size());
        count_ = 0;
        dropped_ = 0;
        lock.unlock();
        out.clear();
        int pid = getpid();
        if (dropped > 0) {
            AppendFormatted(out, DropNotice(dropped), pid);
        }
        for (size_t i = 0; i < taken; i++) {
            AppendFormatted(out, batch[i], pid);
        }
        WriteOut(out);
        lock.lock();
        handled_ += taken + dropped;
        written_.notify_all();
    }
    written_.notify_all();
}

void Writer::Flush()
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (!started_ || stopped_) {
        return;
    }
    uint64_t target = queued_;
    flushWanted_ = true;
    wake_.notify_one();
    written_.wait(lock, [this, target] { return handled_ >= target || stopped_; });
}

// Everything queued is printed before the process goes; later lines are written by their callers.
void Writer::StopAtExit()
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (!started_ || stopped_ || thread_ == nullptr) {
        return;
    }
    stopping_ = true;
    wake_.notify_one();
    lock.unlock();
    thread_->join();
}
} // namespace

long CurrentTid()
{
    if (t_tid == 0) {
        t_tid = static_cast<long>(syscall(SYS_gettid));
    }
    return t_tid;
}

void QueueLine(const timespec &time, LogLevel level, unsigned int domain, const char *tag, const std::string &text)
{
    TheWriter().Queue(time, level, domain, tag, text);
}

void FlushLines()
{
    TheWriter().Flush();
}
} // namespace OHOS::HostLog
