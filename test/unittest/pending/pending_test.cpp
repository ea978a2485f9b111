// The one-shot reply wait: an answer wakes its waiters, an early answer is kept, a wait without an answer runs out.
// Waits either end at once (time 0, an answer already there) or last until an answer comes; a broken wake-up shows
// as a hang, which the test's time limit turns into a failure. Nothing here asserts on a duration.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "log_capture.h"
#include "pending.h"
#include "tarnby_errors.h"

namespace OHOS::TarnbyTest {
namespace {
using Tarnby::Pending;
using Answer = std::pair<int32_t, int32_t>;
using Outcome = std::pair<int32_t, Answer>;

constexpr int32_t WAIT_OK = 0;
constexpr int32_t WAIT_TIMEOUT = 2010;
constexpr uint32_t ENDLESS = 3600; // never runs out within a test: only an answer ends such a wait
constexpr unsigned int PENDING_DOMAIN = 0xD004615;
const std::string ENDLESS_ENTER = "enter, time:3600";

// Lets the waiters announce themselves before the answer is given, so the answer finds them waiting.
bool WaitForMessages(const LogCapture &logs, const std::string &message, size_t count)
{
    for (int round = 0; round < 30000; ++round) {
        if (logs.Count(message) >= count) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

// Position of each record whose message is `message`, in logging order.
std::vector<size_t> PositionsOf(const std::vector<HiLogRecord> &records, const std::string &message)
{
    std::vector<size_t> positions;
    for (size_t i = 0; i < records.size(); ++i) {
        if (LogCapture::Message(records[i]) == message) {
            positions.push_back(i);
        }
    }
    return positions;
}

TEST(PendingTest, AnswerGivenBeforeStartIsNotLost)
{
    LogCapture logs;
    Pending<Answer> pending;
    pending.Stop({7, 42});

    EXPECT_EQ(pending.Start(ENDLESS), Outcome(WAIT_OK, Answer(7, 42)));
    EXPECT_TRUE(logs.Find("wait stop"));
    EXPECT_FALSE(logs.Find("wait timeout"));
}

TEST(PendingTest, StartZeroReturnsAnAnswerAlreadyThere)
{
    LogCapture logs;
    Pending<Answer> pending;
    pending.Stop({-5, 9});

    EXPECT_EQ(pending.Start(0), Outcome(WAIT_OK, Answer(-5, 9)));
}

TEST(PendingTest, StartZeroWithoutAnswerTimesOutWithTheInitialValue)
{
    LogCapture logs;
    Pending<Answer> pending;

    EXPECT_EQ(pending.Start(0), Outcome(WAIT_TIMEOUT, Answer(0, 0)));
    HiLogRecord timeout;
    ASSERT_TRUE(logs.Find("wait timeout", &timeout));
    EXPECT_EQ(timeout.level, LOG_INFO);
    EXPECT_EQ(timeout.domain, PENDING_DOMAIN);
    EXPECT_EQ(timeout.tag, "TRBYService");
    EXPECT_TRUE(logs.Find("enter, time:0"));
}

TEST(PendingTest, ShortWaitWithoutAnswerRunsOut)
{
    LogCapture logs;
    Pending<std::string> pending;

    auto [status, value] = pending.Start(1);
    EXPECT_EQ(status, WAIT_TIMEOUT);
    EXPECT_EQ(value, "");
    EXPECT_TRUE(logs.Find("wait timeout"));
}

TEST(PendingTest, AnswerWakesTheWaiter)
{
    LogCapture logs;
    Pending<Answer> pending;
    Outcome outcome{-1, {-1, -1}};
    std::thread waiter([&] { outcome = pending.Start(ENDLESS); });
    bool announced = WaitForMessages(logs, ENDLESS_ENTER, 1);
    pending.Stop({3, 4});
    waiter.join();

    EXPECT_TRUE(announced);
    EXPECT_EQ(outcome, Outcome(WAIT_OK, Answer(3, 4)));
}

TEST(PendingTest, LateAnswerIsKeptButDoesNotChangeTheTimedOutResult)
{
    LogCapture logs;
    Pending<Answer> pending;
    Outcome timedOut = pending.Start(0);
    pending.Stop({11, 12});

    EXPECT_EQ(timedOut, Outcome(WAIT_TIMEOUT, Answer(0, 0)));
    // The stored answer is there for a later reader; the flag is never cleared, so it is not waited for again.
    EXPECT_EQ(pending.Start(0), Outcome(WAIT_OK, Answer(11, 12)));
}

TEST(PendingTest, OneAnswerReleasesEveryWaiter)
{
    constexpr size_t waiterCount = 8;
    LogCapture logs;
    Pending<Answer> pending;
    std::vector<Outcome> outcomes(waiterCount, Outcome(-1, {-1, -1}));
    std::vector<std::thread> waiters;
    for (size_t i = 0; i < waiterCount; ++i) {
        waiters.emplace_back([&pending, &outcomes, i] { outcomes[i] = pending.Start(ENDLESS); });
    }
    bool announced = WaitForMessages(logs, ENDLESS_ENTER, waiterCount);
    pending.Stop({21, 22});
    for (auto &waiter : waiters) {
        waiter.join();
    }

    EXPECT_TRUE(announced);
    for (const auto &outcome : outcomes) {
        EXPECT_EQ(outcome, Outcome(WAIT_OK, Answer(21, 22)));
    }
    // Every waiter leaves through the answer, after it was given ("enter" is the line of Stop).
    auto records = logs.Records();
    auto stops = PositionsOf(records, "enter");
    auto released = PositionsOf(records, "wait stop");
    ASSERT_EQ(stops.size(), 1u);
    ASSERT_EQ(released.size(), waiterCount);
    for (size_t position : released) {
        EXPECT_GT(position, stops.front());
    }
    EXPECT_FALSE(logs.Find("wait timeout"));
}

TEST(PendingTest, RacingAnswerAndTimeoutNeverMixStatusAndValue)
{
    LogCapture logs;
    const std::string answer = "session answer long enough to live on the heap";
    size_t answered = 0;
    for (int round = 0; round < 200; ++round) {
        Pending<std::string> pending;
        std::thread giver([&pending, &answer] { pending.Stop(answer); });
        auto [status, value] = pending.Start(0);
        giver.join();
        if (status == WAIT_OK) {
            EXPECT_EQ(value, answer);
            ++answered;
        } else {
            EXPECT_EQ(status, WAIT_TIMEOUT);
            EXPECT_EQ(value, "");
        }
        // Whatever the race gave, the answer is stored once the giver is done.
        EXPECT_EQ(pending.Start(0).second, answer);
    }
    RecordProperty("answered_before_timeout", static_cast<int>(answered));
}
} // namespace
} // namespace OHOS::TarnbyTest
