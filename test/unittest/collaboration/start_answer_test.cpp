// How a start gets its answer: the service replies to the request at once and reports the outcome later through the
// inner callback, before or after that reply, never, or too late; several callers wait at the same time.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "collaboration_fixture.h"
#include "host_samgr.h"

namespace OHOS::TarnbyTest {
namespace {
using StartAnswerTest = CollaborationTest;
const std::pair<int32_t, int32_t> NO_SERVICE{1012, 0};
const std::pair<int32_t, int32_t> SEND_FAILED{461374453, 0};
const std::pair<int32_t, int32_t> NO_ANSWER{461635601, 0};

// Position of the first record whose message is `message`, or the number of records when there is none.
size_t FirstPosition(const std::vector<HiLogRecord> &records, const std::string &message)
{
    auto found = std::find_if(records.begin(), records.end(),
                              [&message](const HiLogRecord &record) { return LogCapture::Message(record) == message; });
    return static_cast<size_t>(found - records.begin());
}

TEST_F(StartAnswerTest, AnswerGivenBeforeTheReplyIsReturned)
{
    ScriptStarts(AnswerTiming::BEFORE_REPLY, {0, 31});

    EXPECT_EQ(Ability().StartCollaboration(5520, PeerAbility(), "x"), Answer(0, 31));
    EXPECT_EQ(AnswerResults(), std::vector<int>({0}));
    // The answer was stored before the caller began to wait, and was not lost.
    auto records = logs_.Records();
    EXPECT_LT(FirstPosition(records, "OnStartCollaboration result = 0, id = 31"), FirstPosition(records, WAITING_LINE));
    EXPECT_TRUE(Logged("OnStartCollaboration result = 0, id = 31", LOG_INFO));
}

TEST_F(StartAnswerTest, AnswerGivenAfterTheReplyWakesTheCaller)
{
    ScriptStarts(AnswerTiming::AFTER_REPLY, {-3, 88});

    EXPECT_EQ(Ability().StartCollaboration("com.example.local", "LocalAbility", PeerAbility(), ""), Answer(-3, 88));
    JoinServiceThreads();
    EXPECT_EQ(AnswerResults(), std::vector<int>({0}));
    auto records = logs_.Records();
    size_t waiting = FirstPosition(records, WAITING_LINE);
    ASSERT_LT(waiting, records.size());
    EXPECT_GT(FirstPosition(records, "OnStartCollaboration result = -3, id = 88"), waiting);
}

TEST_F(StartAnswerTest, StartWithDataWaitsForItsAnswerToo)
{
    ScriptStarts(AnswerTiming::AFTER_REPLY, {0, 64});
    const std::vector<char> bytes = Pattern(100, 9);

    EXPECT_EQ(Ability().StartCollaboration(PeerAbility(), PeerSystemAbility(), bytes.data(), bytes.size()),
              Answer(0, 64));
}

TEST_F(StartAnswerTest, RefusedAnswersLeaveTheCallerWaitingForTheRealOne)
{
    ScriptStarts([this](const StartRequest &request, size_t index) {
        // Neither of these is an answer: a wrong request code, then the service's own token.
        RecordAnswerResult(SendAnswer(request.callback, {1, 2}, 104));
        RecordAnswerResult(SendAnswerWithToken(request.callback, SERVICE_TOKEN, {3, 4}));
        Deliver(request.callback, AnswerTiming::AFTER_REPLY, {0, 9}, index);
    });

    EXPECT_EQ(Ability().StartCollaboration(5520, PeerAbility(), ""), Answer(0, 9));
    JoinServiceThreads();
    EXPECT_EQ(AnswerResults(), std::vector<int>({1001, 1010, 0}));
    EXPECT_TRUE(Logged("collaboration ability inner callback code is 104", LOG_ERROR));
    EXPECT_TRUE(Logged(WRONG_TOKEN_LINE, LOG_ERROR, "TRBYCallback"));
    EXPECT_EQ(logs_.Count("OnStartCollaboration result = 0, id = 9"), 1u);
    EXPECT_FALSE(logs_.Find("OnStartCollaboration result = 1, id = 2"));
    EXPECT_FALSE(logs_.Find("OnStartCollaboration result = 3, id = 4"));
}

TEST_F(StartAnswerTest, WithoutServiceEveryStartReturns1012)
{
    HostSamgr::SetManagerAvailable(false);
    const char bytes[] = "abc";

    EXPECT_EQ(Ability().StartCollaboration(1, PeerAbility(), "x"), NO_SERVICE);
    EXPECT_EQ(Ability().StartCollaboration(1, PeerAbility()), NO_SERVICE);
    EXPECT_EQ(Ability().StartCollaboration("b", "a", PeerAbility(), "x"), NO_SERVICE);
    EXPECT_EQ(Ability().StartCollaboration(PeerAbility(), PeerAbility(), bytes, 3), NO_SERVICE);
    EXPECT_EQ(logs_.Count("Tarnby dead"), 4u);
    EXPECT_EQ(logs_.Count(WAITING_LINE), 0u);
    EXPECT_EQ(service_->RequestCount(), 0u);
}

TEST_F(StartAnswerTest, FailedSendReturnsAtOnceWithoutWaiting)
{
    ScriptTransportFailure();
    const char bytes[] = "abc";

    EXPECT_EQ(Ability().StartCollaboration(1, PeerAbility(), "x"), SEND_FAILED);
    EXPECT_EQ(Ability().StartCollaboration("b", "a", PeerAbility(), "x"), SEND_FAILED);
    EXPECT_EQ(Ability().StartCollaboration(PeerAbility(), PeerAbility(), bytes, 3), SEND_FAILED);
    EXPECT_EQ(logs_.Count("send request to Tarnby failed"), 3u);
    EXPECT_EQ(logs_.Count(WAITING_LINE), 0u);
    EXPECT_EQ(service_->RequestCount(), 3u);
}

TEST_F(StartAnswerTest, SyncSendWithoutAnInnerCallbackIsRefusedBeforeSending)
{
    ScriptStarts(AnswerTiming::BEFORE_REPLY, {0, 5});
    MessageParcel data;
    MessageParcel reply;
    MessageOption option(MessageOption::TF_SYNC, 8);
    data.WriteInterfaceToken(SERVICE_TOKEN);

    // Nothing could carry the answer back, so the request must not reach the service at all.
    EXPECT_EQ(Tarnby::SendReqSync(nullptr, data, reply, option), Answer(1001, 0));
    EXPECT_EQ(service_->RequestCount(), 0u);
    EXPECT_EQ(logs_.Count(WAITING_LINE), 0u);
    EXPECT_TRUE(Logged("callback is nullptr", LOG_ERROR));
}

int32_t LocalIdOf(int caller)
{
    return 4000 + caller;
}

// A distinct answer per request, derived from its local id; odd ids fail on the service's side.
Answer AnswerFor(int32_t localId)
{
    return {localId % 2 == 0 ? 0 : -localId, localId * 1000 + 7};
}

TEST_F(StartAnswerTest, ConcurrentStartsEachGetTheirOwnAnswer)
{
    constexpr int callerCount = 8;
    ScriptStarts([](const StartRequest &, size_t) {}); // answered below, once every caller has asked
    std::vector<std::pair<int32_t, int32_t>> results(callerCount);
    std::vector<std::thread> callers;
    for (int i = 0; i < callerCount; ++i) {
        callers.emplace_back([this, &results, i] {
            results[i] = Ability().StartCollaboration(LocalIdOf(i), PeerAbility(), "caller " + std::to_string(i));
        });
    }
    bool allAsked = service_->WaitForRequests(callerCount, std::chrono::seconds(30));
    std::vector<StartRequest> requests = StartRequests();
    std::shuffle(requests.begin(), requests.end(), std::mt19937(20240601));
    RunOnServiceThread([this, requests] {
        for (const auto &request : requests) {
            RecordAnswerResult(SendAnswer(request.callback, AnswerFor(request.localId)));
        }
    });
    for (auto &caller : callers) {
        caller.join();
    }
    JoinServiceThreads();

    EXPECT_TRUE(allAsked);
    for (int i = 0; i < callerCount; ++i) {
        EXPECT_EQ(results[i], AnswerFor(LocalIdOf(i))) << "caller " << i;
    }
    ASSERT_EQ(requests.size(), static_cast<size_t>(callerCount));
    for (const auto &request : requests) {
        EXPECT_EQ(request.extraData, std::optional<std::string>("caller " + std::to_string(request.localId - 4000)));
    }
    EXPECT_EQ(AnswerResults(), std::vector<int>(callerCount, 0));
}

// The one test that waits out the 20-second limit.
TEST_F(StartAnswerTest, NoAnswerRunsOutAndALateAnswerIsDropped)
{
    ScriptStarts(AnswerTiming::NEVER, {});

    EXPECT_EQ(Ability().StartCollaboration(9, PeerAbility(), "late"), NO_ANSWER);
    EXPECT_TRUE(Logged("wait timeout", LOG_ERROR));
    // The caller has let go of its inner callback; the service still holds it and answers now.
    StartRequest request = Only(StartRequests());
    ASSERT_NE(request.callback, nullptr);
    EXPECT_EQ(SendAnswer(request.callback, {0, 55}), 0);
    EXPECT_TRUE(Logged("OnStartCollaboration result = 0, id = 55", LOG_INFO));
}
} // namespace
} // namespace OHOS::TarnbyTest
