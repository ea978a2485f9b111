// SPDX-License-Identifier: Apache-2.0
// The one-shot reply wait. Waits end at once (time 0, an answer already there) or last until an answer comes; a broken
// wake-up shows as a hang, which the test's time limit turns into a failure. Nothing here asserts on a duration.
#include <gtest/gtest.h>

#include <thread>

#include "log_capture.h"
#include "pending.h"

namespace OHOS::TarnbyTest {
namespace {
using Tarnby::Pending;
using Answer = std::pair<int32_t, int32_t>;
using Outcome = std::pair<int32_t, Answer>;
constexpr int32_t WAIT_TIMEOUT = 2010;
constexpr uint32_t ENDLESS = 3600; // never runs out within a test: only an answer ends such a wait

TEST(PendingTest, AnswerBeforeOrAfterTheWaitIsKept)
{
    LogCapture logs;
    Pending<Answer> early;
    early.Stop({7, 42});
    EXPECT_EQ(early.Start(ENDLESS), Outcome(0, Answer(7, 42)));
    EXPECT_EQ(early.Start(0), Outcome(0, Answer(7, 42)));
    Pending<Answer> late;
    EXPECT_EQ(late.Start(0), Outcome(WAIT_TIMEOUT, Answer(0, 0)));
    EXPECT_TRUE(logs.Logged(LOG_INFO, "TRBYService", "wait timeout"));
    EXPECT_TRUE(logs.Find("enter, time:0"));
    late.Stop({11, 12});
    EXPECT_EQ(late.Start(0), Outcome(0, Answer(11, 12))); // stored for a later reader, never cleared
    Pending<std::string> shortWait;
    EXPECT_EQ(shortWait.Start(std::chrono::milliseconds(20)), std::make_pair(WAIT_TIMEOUT, std::string()));
}

TEST(PendingTest, OneAnswerReleasesEveryWaiterAndARacingAnswerNeverMixesStatusAndValue)
{
    constexpr size_t waiterCount = 8;
    LogCapture logs;
    Pending<Answer> pending;
    std::vector<Outcome> outcomes(waiterCount, Outcome(-1, {-1, -1}));
    std::vector<std::thread> waiters;
    for (size_t i = 0; i < waiterCount; ++i) {
        waiters.emplace_back([&pending, &outcomes, i] { outcomes[i] = pending.Start(ENDLESS); });
    }
    for (int round = 0; round < 30000 && logs.Count("enter, time:3600") < waiterCount; ++round) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    pending.Stop({21, 22});
    for (auto &waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(outcomes, std::vector<Outcome>(waiterCount, Outcome(0, Answer(21, 22))));
    EXPECT_EQ(logs.Count("wait stop"), waiterCount);
    const std::string answer = "session answer long enough to live on the heap";
    for (int round = 0; round < 200; ++round) {
        Pending<std::string> pending;
        std::thread giver([&pending, &answer] { pending.Stop(answer); });
        auto [status, value] = pending.Start(0);
        giver.join();
        EXPECT_EQ(value, status == 0 ? answer : "");
        EXPECT_EQ(pending.Start(0).second, answer);
    }
}
} // namespace
} // namespace OHOS::TarnbyTest
