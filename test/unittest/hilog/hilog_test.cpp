// SPDX-License-Identifier: Apache-2.0
// Host HiLog: privacy-tag formatting, the level threshold, the background writer (order, flood, exit) and the sink.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "hilog/log.h"
#include "log_capture.h"

namespace OHOS::TarnbyTest {
namespace {
constexpr unsigned int DOMAIN = 0xD004612;
constexpr const char *TAG = "HiLogTest";

// Sends fd 2 into a small pipe while it lives, so that a reader that waits blocks the writer soon; Finish() flushes
// the log writer and returns the text after "tag: " of each line that arrived.
class StderrPipe {
public:
    explicit StderrPipe(bool readNow = true)
    {
        EXPECT_EQ(pipe2(fds_, O_CLOEXEC), 0);
        fcntl(fds_[1], F_SETPIPE_SZ, 4096);
        saved_ = dup(STDERR_FILENO);
        dup2(fds_[1], STDERR_FILENO);
        if (readNow) {
            StartReading();
        }
    }
    void StartReading()
    {
        reader_ = std::thread([this] {
            char chunk[4096];
            for (ssize_t n; (n = read(fds_[0], chunk, sizeof(chunk))) > 0;) {
                text_.append(chunk, static_cast<size_t>(n));
            }
        });
    }
    std::vector<std::string> Finish(std::string *firstLine = nullptr)
    {
        HiLogFlush();
        dup2(saved_, STDERR_FILENO);
        close(saved_);
        close(fds_[1]);
        reader_.join();
        close(fds_[0]);
        std::vector<std::string> texts;
        std::istringstream in(text_);
        for (std::string line; std::getline(in, line);) {
            size_t mark = line.find(": ");
            texts.push_back(mark == std::string::npos ? "" : line.substr(mark + 2));
            if (firstLine != nullptr && texts.size() == 1) {
                *firstLine = line;
            }
        }
        return texts;
    }

private:
    int fds_[2] = {-1, -1};
    int saved_ = -1;
    std::thread reader_;
    std::string text_;
};

void SetLevelVariable(const char *value)
{
    value == nullptr ? unsetenv("OHOS_HOST_LOG_LEVEL") : setenv("OHOS_HOST_LOG_LEVEL", value, 1);
    HiLogReadLevel();
}
} // namespace

TEST(HiLogFormatTest, PrivacyTagsConversionsArgumentOrderTheRecordAndTheThresholdCheckedBeforeFormatting)
{
    LogCapture capture;
    auto text = [&capture](auto... args) {
        capture.Clear();
        EXPECT_GE(HiLogPrint(LOG_CORE, LOG_INFO, DOMAIN, TAG, args...), 0);
        auto records = capture.Records();
        return records.size() == 1 ? records.front().text : "<" + std::to_string(records.size()) + " records>";
    };
    EXPECT_EQ(text("name = %{public}s", "tarnby"), "name = tarnby");
    EXPECT_EQ(text("id = %{private}d, %d, %s", 42, 43, "x"), "id = <private>, <private>, <private>");
    EXPECT_EQ(text("%{private}s %{public}d %lld %{public}s", "secret", 7, 1LL << 40, "end"),
              "<private> 7 <private> end");
    EXPECT_EQ(text("%f|%{public}.2f|%{public}d", 1.5, 2.25, 3), "<private>|2.25|3");
    EXPECT_EQ(text("%{public}zu", SIZE_MAX), std::to_string(SIZE_MAX));
    EXPECT_EQ(text("%{public}lu", ULONG_MAX), std::to_string(ULONG_MAX));
    EXPECT_EQ(text("%{public}u/%{public}d", 3000000000u, -1), "3000000000/-1");
    EXPECT_EQ(text("%{public}lld", LLONG_MIN), std::to_string(LLONG_MIN));
    EXPECT_EQ(text("%{public}x %{public}#06x", 255u, 10u), "ff 0x000a");
    EXPECT_EQ(text("[%{public}-5d][%{public}5s][%{public}*d]", 12, "ab", 4, 7), "[12   ][   ab][   7]");
    EXPECT_EQ(text("100%% of %{public}c", 'x'), "100% of x");
    EXPECT_EQ(text("%{public}s", static_cast<const char *>(nullptr)), "(null)");
    EXPECT_EQ(text("%{public}s!", std::string(300, 'y').c_str()), std::string(300, 'y') + "!");
    EXPECT_EQ(HiLogPrint(LOG_CORE, LOG_ERROR, DOMAIN, TAG, "code %{public}d", 1012), 9);
    HiLogRecord record;
    ASSERT_TRUE(capture.Find("code 1012", &record));
    EXPECT_TRUE(record.type == LOG_CORE && record.level == LOG_ERROR && record.domain == DOMAIN && record.tag == TAG);
    EXPECT_EQ(HiLogPrint(LOG_CORE, LOG_ERROR, DOMAIN, TAG, nullptr), -1);
    // The threshold comes from the environment.
    const struct {
        const char *value;
        LogLevel threshold;
    } cases[] = {{nullptr, LOG_INFO},  {"D", LOG_DEBUG}, {"debug", LOG_DEBUG}, {"warn", LOG_WARN},   {"E", LOG_ERROR},
                 {"FATAL", LOG_FATAL}, {"f", LOG_FATAL}, {"", LOG_INFO},       {"verbose", LOG_INFO}};
    for (const auto &c : cases) {
        SetLevelVariable(c.value);
        for (LogLevel level : {LOG_DEBUG, LOG_INFO, LOG_WARN, LOG_ERROR, LOG_FATAL}) {
            bool passes = level >= c.threshold;
            EXPECT_EQ(HiLogIsLoggable(DOMAIN, TAG, level), passes) << (c.value ? c.value : "unset") << " " << level;
            capture.Clear();
            EXPECT_EQ(HiLogPrint(LOG_CORE, level, DOMAIN, TAG, "x") == 1, passes);
            EXPECT_EQ(capture.Records().size(), passes ? 1u : 0u);
        }
    }
    SetLevelVariable("error");
    // Formatting would read through this pointer; below the threshold nothing may look at it.
    EXPECT_EQ(HiLogPrint(LOG_CORE, LOG_WARN, DOMAIN, TAG, "%{public}s", reinterpret_cast<const char *>(8)), -1);
    SetLevelVariable(nullptr);
    EXPECT_FALSE(HiLogIsLoggable(DOMAIN, nullptr, LOG_FATAL) || HiLogIsLoggable(DOMAIN, TAG, LOG_LEVEL_MAX));
}

// A child process prints everything it queued when it exits; it forks first, while this process has no other
// thread yet (the ThreadSanitizer build forbids new threads after a multi-threaded fork). The default writer takes
// over once a capture ends.
TEST(HiLogWriterTest, WriterPrintsAtExitOnceTheCaptureEndsAndUnderAFloodDropsTheOldestLinesCountingThem)
{
    constexpr int LINES = 500;
    StderrPipe childErr(false);
    pid_t child = fork();
    if (child == 0) {
        for (int i = 0; i < LINES; i++) {
            HiLogPrint(LOG_CORE, LOG_INFO, DOMAIN, TAG, "line %{public}d", i);
        }
        exit(0);
    }
    childErr.StartReading();
    int status = 0;
    EXPECT_TRUE(waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0);
    std::vector<std::string> texts = childErr.Finish();
    EXPECT_TRUE(texts.size() == LINES && texts[0] == "line 0" && texts.back() == "line " + std::to_string(LINES - 1))
        << texts.size() << " lines";
    StderrPipe err;
    {
        LogCapture capture;
        HiLogPrint(LOG_CORE, LOG_WARN, DOMAIN, TAG, "captured %{public}d", 1);
        EXPECT_TRUE(capture.Find("captured 1"));
    }
    HiLogPrint(LOG_CORE, LOG_WARN, DOMAIN, TAG, "to stderr %{public}s", "now");
    std::string first;
    EXPECT_EQ(err.Finish(&first).size(), 1u);
    EXPECT_TRUE(first.find(" W 04612/HiLogTest: to stderr now") != std::string::npos &&
                first.find(" " + std::to_string(getpid()) + " ") != std::string::npos)
        << first;
    // The pipe is not read until the flood is over, so the writer blocks and the ring overflows.
    constexpr int THREADS = 4;
    constexpr int FLOOD = 3000;
    StderrPipe flooded(false);
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; t++) {
        threads.emplace_back([t] {
            for (int i = 0; i < FLOOD; i++) {
                HiLogPrint(LOG_CORE, LOG_INFO, DOMAIN, TAG, "t%{public}d %{public}d", t, i);
            }
        });
    }
    for (auto &thread : threads) {
        thread.join();
    }
    HiLogPrint(LOG_CORE, LOG_INFO, DOMAIN, TAG, "end");
    flooded.StartReading();
    texts = flooded.Finish();
    long printed = 0, dropped = 0;
    std::vector<int> last(THREADS, -1);
    for (const std::string &text : texts) {
        int t = -1, i = -1;
        long n = 0;
        if (sscanf(text.c_str(), "dropped %ld lines", &n) == 1) {
            dropped += n;
        } else if (sscanf(text.c_str(), "t%d %d", &t, &i) == 2 && t >= 0 && t < THREADS) {
            EXPECT_GT(i, last[t]) << "thread " << t << " reordered";
            last[t] = i;
            printed++;
        }
    }
    EXPECT_TRUE(dropped > 0 && printed + dropped == THREADS * FLOOD)
        << printed << " printed, " << dropped << " dropped";
    EXPECT_EQ(texts.empty() ? "" : texts.back(), "end") << "the newest line is kept";
}

TEST(HiLogSinkTest, ReplacedSinkIsNeverCalledAgainWhileOthersLog)
{
    // Shared state outside the sinks: a replaced sink's own copy of what it captured may be gone once it is late.
    constexpr int SINKS = 1000;
    static std::vector<std::atomic<int>> calls(SINKS + 1);
    static std::atomic<int> installed{-1}, late{0};
    auto install = [](int id) {
        // A call still running once its replacement has been installed counts as late too.
        HiLogSetSink([id](const HiLogRecord &) {
            int mine = id;
            calls[mine]++;
            std::this_thread::yield();
            late += installed > mine ? 1 : 0;
        });
        installed = id; // from here on every earlier sink must never run
    };
    install(0);
    std::atomic<bool> stop{false};
    std::vector<std::thread> loggers;
    for (int t = 0; t < 3; t++) {
        loggers.emplace_back([&stop] {
            while (!stop) {
                HiLogPrint(LOG_CORE, LOG_INFO, DOMAIN, TAG, "busy");
            }
        });
    }
    for (int id = 1; id <= SINKS; id++) {
        while (calls[id - 1] == 0) {
            std::this_thread::yield(); // every sink is in use when it is replaced
        }
        install(id);
    }
    stop = true;
    for (auto &logger : loggers) {
        logger.join();
    }
    HiLogSetSink(nullptr);
    EXPECT_EQ(late.load(), 0);
    // Replacing itself, the sink must not wait for its own call, and must stay alive until that call ends.
    std::vector<std::string> texts;
    int firstCalls = 0;
    HiLogSetSink([&texts, &firstCalls](const HiLogRecord &) {
        HiLogSetSink([&texts](const HiLogRecord &record) { texts.push_back(record.text); });
        HiLogPrint(LOG_CORE, LOG_INFO, DOMAIN, TAG, "from the sink");
        firstCalls++; // the replaced sink is still alive until its own call ends
    });
    HiLogPrint(LOG_CORE, LOG_INFO, DOMAIN, TAG, "first");
    HiLogPrint(LOG_CORE, LOG_INFO, DOMAIN, TAG, "second");
    HiLogSetSink(nullptr);
    EXPECT_EQ(firstCalls, 1);
    EXPECT_EQ(texts, (std::vector<std::string>{"from the sink", "second"}));
}
} // namespace OHOS::TarnbyTest
