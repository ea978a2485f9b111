// SPDX-License-Identifier: Apache-2.0
// The collaboration front as the service sees it, the start's answer through its inner callback, the session callback.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "collaboration_ability.h"
#include "service_fixture.h"
#include "start_wait.h"

namespace OHOS::TarnbyTest {
namespace {
using Tarnby::CollaborationAbility;
using Tarnby::TargetInfo;
using Answer = std::pair<int32_t, int32_t>;

constexpr uint32_t MAX_DATA_LEN = 4190208;
constexpr Answer ANSWER{0, 31};
const std::string PEER = R"(1 "0123456789abcdef" 1u "com.example.peer" "PeerAbility" 0)";
const std::string PEER_SA = R"(1 "fedcba9876543210" 0u "" "" 4700)";

CollaborationAbility &g_ability = CollaborationAbility::GetInstance();
const auto Peer = [] {
    return sptr<TargetInfo>::MakeSptr("0123456789abcdef", Tarnby::ABILITY_TARGET, "com.example.peer", "PeerAbility", 0);
};
const auto PeerSa = [] {
    return sptr<TargetInfo>::MakeSptr("fedcba9876543210", Tarnby::SYSTEM_ABILITY_TARGET, "", "", 4700);
};
int AnswerStart(const sptr<IRemoteObject> &inner, Answer answer, uint32_t code = 103)
{
    MessageParcel data;
    TarnbyEmulator::WriteStartAnswer(data, answer.first, answer.second);
    return TarnbyEmulator::SendCallback(inner, code, data);
}
sptr<IRemoteObject> InnerCallbackOf(const DecodedRequest &request)
{
    const auto *found = request.Find("callback");
    return found != nullptr ? std::get<sptr<IRemoteObject>>(*found) : nullptr;
}

class SessionHooks : public Tarnby::CollabAbilityCallback {
public:
    void OnCollaborationData(int32_t sessionId, const uint8_t *data, uint32_t dataLen) override
    {
        calls.push_back("data " + Text(sessionId, data, dataLen));
    }
    void OnCollaborationEvent(int32_t sessionId, const uint8_t *data, uint32_t dataLen) override
    {
        calls.push_back("event " + Text(sessionId, data, dataLen));
    }
    static std::string Text(int32_t sessionId, const uint8_t *data, uint32_t dataLen)
    {
        std::string bytes = data == nullptr ? "null" : std::string(reinterpret_cast<const char *>(data), dataLen);
        return std::to_string(sessionId) + " " + std::to_string(dataLen) + " " + (dataLen > 16 ? "..." : bytes);
    }
    std::vector<std::string> calls;
};

class CollaborationTest : public ServiceTest {
protected:
    void SetUp() override
    {
        ServiceTest::SetUp();
        Tarnby::Internal::SetStartAnswerWait(5s);
    }
    void TearDown() override
    {
        Tarnby::Internal::SetStartAnswerWait(Tarnby::Internal::START_ANSWER_WAIT);
        ServiceTest::TearDown();
    }
    // Starts are answered `answer` inside the request, before the reply; the others reply `result`.
    void ScriptAnswers(Answer answer, int32_t result = 0)
    {
        Script([answer, result](const DecodedRequest &request) {
            if (request.subServiceType == 7 || request.subServiceType == 25) {
                AnswerStart(InnerCallbackOf(request), answer);
            }
            return std::vector<int32_t>{result};
        });
    }
    // True once `count` callers wait for their answer (the reply wait logs its start).
    bool CallersWaiting(size_t count, const std::string &line = "enter, time:5")
    {
        return Eventually([this, count, &line] { return logs_.Count(line) >= count; });
    }
};

struct RequestCase {
    const char *name;
    std::function<Answer()> call;
    uint32_t subServiceType;
    std::string body;
};

void PrintTo(const RequestCase &row, std::ostream *out) // its name in test listings, not its bytes
{
    *out << row.name;
}

class StartRequestTest : public CollaborationTest, public testing::WithParamInterface<RequestCase> {};

TEST_P(StartRequestTest, CarriesItsFieldsInWireOrder)
{
    ScriptAnswers(ANSWER);
    EXPECT_EQ(GetParam().call(), ANSWER);
    DecodedRequest request = OnlyRequest();
    EXPECT_EQ(request.code, 101u);
    EXPECT_EQ(request.flags, 0);
    EXPECT_EQ(request.waitTime, 8);
    EXPECT_EQ(request.serviceType, 103u);
    EXPECT_EQ(request.subServiceType, GetParam().subServiceType);
    EXPECT_EQ(request.Body(), GetParam().body);
    EXPECT_EQ(request.leftover, 0u);
}

const std::string LONGEST_EXTRA(MAX_DATA_LEN - 1, 'y');
const std::string LARGEST_DATA(MAX_DATA_LEN, 'z');
const RequestCase REQUEST_CASES[] = {
    {"SystemAbilityWithExtra", [] { return g_ability.StartCollaboration(5520, Peer(), "extra=1"); }, 7,
     "0 5520 " + PEER + R"( <object> "extra=1")"},
    {"SystemAbilityWithoutExtra", [] { return g_ability.StartCollaboration(5521, PeerSa()); }, 7,
     "0 5521 " + PEER_SA + " <object>"},
    {"Ability",
     [] {
         auto anywhere = sptr<TargetInfo>::MakeSptr("com.example.peer", "PeerAbility", Tarnby::ABILITY_TARGET);
         return g_ability.StartCollaboration("com.example.local", "LocalAbility", anywhere, "{\"k\":1}");
     },
     7, R"(1 "com.example.local" "LocalAbility" 1 "" 1u "com.example.peer" "PeerAbility" 0 <object> "{"k":1}")"},
    {"EmptyExtraLeftOut", [] { return g_ability.StartCollaboration(7, Peer(), ""); }, 7, "0 7 " + PEER + " <object>"},
    {"TooLongExtraLeftOut", [] { return g_ability.StartCollaboration(7, Peer(), std::string(MAX_DATA_LEN, 'x')); }, 7,
     "0 7 " + PEER + " <object>"},
    {"LongestExtra", [] { return g_ability.StartCollaboration("b", "a", Peer(), LONGEST_EXTRA); }, 7,
     R"(1 "b" "a" )" + PEER + R"( <object> "<4190207 chars>")"},
    {"WithData", [] { return g_ability.StartCollaboration(PeerSa(), Peer(), "hello", 5); }, 25,
     PEER_SA + " " + PEER + " <object> 5u x68656c6c6f"},
    {"LengthWithoutBuffer", [] { return g_ability.StartCollaboration(Peer(), PeerSa(), nullptr, 10); }, 25,
     PEER + " " + PEER_SA + " <object> 10u"},
    {"ZeroLength", [] { return g_ability.StartCollaboration(Peer(), PeerSa(), "ignored", 0); }, 25,
     PEER + " " + PEER_SA + " <object> 0u"},
    {"LargestData",
     [] { return g_ability.StartCollaboration(Peer(), Peer(), LARGEST_DATA.data(), LARGEST_DATA.size()); }, 25,
     PEER + " " + PEER + " <object> 4190208u <4190208 bytes>"},
};
INSTANTIATE_TEST_SUITE_P(Collaboration, StartRequestTest, testing::ValuesIn(REQUEST_CASES),
                         [](const auto &info) { return std::string(info.param.name); });

// Register, unregister, send and stop: their fields, the service's result passed through, and its failure line; then
// the messages the session callback gets.
TEST_F(CollaborationTest, SessionRequestsCarryTheirFieldsAndMessagesReachTheirHooks)
{
    auto callback = sptr<SessionHooks>::MakeSptr();
    struct Case {
        std::function<int32_t()> call;
        uint32_t subServiceType;
        std::string body;
        const char *failureLine;
    } const cases[] = {
        {[&] { return g_ability.RegisterCollaborationCallback(Peer(), callback); }, 23, PEER + " <object>",
         "RegisterCollaborationCallback failed"},
        {[] { return g_ability.UnRegisterCollaborationCallback(Peer()); }, 24, PEER,
         "UnRegisterCollaborationCallback failed"},
        {[] { return g_ability.SendCollaborationData(77, "hello", 5); }, 13, "77 5u x68656c6c6f",
         "send collaboration data failed"},
        {[] { return g_ability.StopCollaboration(77); }, 8, "77", nullptr},
    };
    for (int32_t result : {0, -7}) {
        ScriptAnswers(ANSWER, result);
        for (const Case &row : cases) {
            SCOPED_TRACE(row.body + " answered " + std::to_string(result));
            logs_.Clear();
            EXPECT_EQ(row.call(), result);
            DecodedRequest request = emulator_.Requests().back();
            EXPECT_EQ(request.subServiceType, row.subServiceType);
            EXPECT_EQ(request.Body(), row.body);
            EXPECT_EQ(request.leftover, 0u);
            auto lines = logs_.Records();
            size_t errors = std::count_if(lines.begin(), lines.end(), [](const HiLogRecord &line) {
                return line.level == LOG_ERROR && LogCapture::Message(line) != "enter";
            });
            bool failureLogged =
                row.failureLine != nullptr && logs_.Logged(LOG_ERROR, "TRBYCollaboration", row.failureLine);
            EXPECT_EQ(failureLogged, result != 0 && row.failureLine != nullptr);
            EXPECT_EQ(errors, failureLogged ? 1u : 0u);
        }
    }
    // The session callback reads type, session id, length and the bytes; only data (104) and events (105) reach a hook.
    auto deliver = [&callback](int32_t type, uint32_t length, const std::string &bytes, uint32_t code = 103) {
        MessageParcel data;
        data.SetMaxCapacity(2 * MAX_DATA_LEN);
        bool written = data.WriteInterfaceToken(TarnbyEmulator::CALLBACK_TOKEN) && data.WriteInt32(type) &&
                       data.WriteInt32(31) && data.WriteUint32(length) &&
                       (bytes.empty() || data.WriteUnpadBuffer(bytes.data(), bytes.size()));
        return written ? TarnbyEmulator::SendCallback(callback->AsObject(), code, data) : -1;
    };
    EXPECT_EQ(deliver(104, 5, "hello"), 0);
    EXPECT_EQ(deliver(105, 2, "up"), 0);
    EXPECT_EQ(deliver(105, 0, ""), 0);
    EXPECT_EQ(deliver(106, 2, "no"), 0);
    EXPECT_EQ(deliver(104, 8, "abc"), 0); // a short body: a null buffer with the length
    EXPECT_EQ(deliver(105, MAX_DATA_LEN, LARGEST_DATA), 0);
    EXPECT_EQ(deliver(105, MAX_DATA_LEN + 1, ""), 1001);
    EXPECT_EQ(deliver(104, 1, "x", 104), 1001);
    EXPECT_EQ(callback->calls, std::vector<std::string>({"data 31 5 hello", "event 31 2 up", "event 31 0 ",
                                                         "data 31 8 null", "event 31 4190208 ..."}));
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCollaboration", "data len 4190209 invalid"));
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCollaboration", "collaboration ability callback code is 104"));
}

TEST_F(CollaborationTest, RefusedArgumentsAFailedSendOrNoServiceSendNothingMoreAndWaitForNothing)
{
    auto anywhere = sptr<TargetInfo>::MakeSptr(4700); // a system-ability start needs a device
    const std::string tooLarge(MAX_DATA_LEN + 1, 'q');
    const Answer invalid{1001, 0};
    EXPECT_EQ(g_ability.StartCollaboration(1, nullptr, "x"), invalid);
    EXPECT_EQ(g_ability.StartCollaboration(1, anywhere, "x"), invalid);
    EXPECT_EQ(g_ability.StartCollaboration("b", "a", nullptr, "x"), invalid);
    EXPECT_EQ(g_ability.StartCollaboration(nullptr, Peer(), "x", 1), invalid);
    EXPECT_EQ(g_ability.StartCollaboration(Peer(), nullptr, "x", 1), invalid);
    EXPECT_EQ(logs_.Count("targetInfo is null"), 5u);
    EXPECT_EQ(g_ability.StartCollaboration(Peer(), Peer(), tooLarge.data(), tooLarge.size()), Answer(1007, 0));
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCollProc", "dataLen write failed"));
    EXPECT_EQ(g_ability.RegisterCollaborationCallback(nullptr, sptr<SessionHooks>::MakeSptr()), 1007);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCollaboration", "targetInfo write failed"));
    EXPECT_EQ(g_ability.RegisterCollaborationCallback(Peer(), nullptr), 1007);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCollaboration", "callback write failed"));
    EXPECT_EQ(g_ability.UnRegisterCollaborationCallback(nullptr), 1007);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCollaboration", "localInfo write failed"));
    EXPECT_EQ(g_ability.SendCollaborationData(1, nullptr, 5), 1001);
    EXPECT_EQ(g_ability.SendCollaborationData(1, "x", 0), 1001);
    EXPECT_EQ(logs_.Count("data is null"), 2u);
    EXPECT_EQ(g_ability.SendCollaborationData(1, tooLarge.data(), tooLarge.size()), 461635592);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCollaboration", "dataLen[4190209] too large"));
    MessageParcel data;
    MessageParcel reply;
    MessageOption option(MessageOption::TF_SYNC, 8);
    EXPECT_EQ(Tarnby::SendReqSync(nullptr, data, reply, option), Answer(1001, 0)); // no inner callback
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCollaboration", "callback is nullptr"));
    EXPECT_EQ(emulator_.Requests().size(), 0u);
    EXPECT_EQ(logs_.FunctionOf("targetInfo write failed"), "RegisterCollaborationCallback");
    // Without a service, or when the send fails, every operation returns at once without waiting.
    auto callback = sptr<SessionHooks>::MakeSptr();
    auto everyOperation = [&] {
        return std::vector<int32_t>{g_ability.StartCollaboration(1, Peer(), "x").first,
                                    g_ability.StartCollaboration(1, Peer()).first,
                                    g_ability.StartCollaboration("b", "a", Peer(), "x").first,
                                    g_ability.StartCollaboration(Peer(), Peer(), "abc", 3).first,
                                    g_ability.RegisterCollaborationCallback(Peer(), callback),
                                    g_ability.UnRegisterCollaborationCallback(Peer()),
                                    g_ability.SendCollaborationData(1, "abc", 3),
                                    g_ability.StopCollaboration(1)};
    };
    ScriptTransportFailure();
    EXPECT_EQ(everyOperation(), std::vector<int32_t>(8, 461374453));
    EXPECT_EQ(logs_.Count("send request to Tarnby failed"), 8u);
    EXPECT_EQ(emulator_.Requests().size(), 8u);
    RemoveService();
    EXPECT_EQ(everyOperation(), std::vector<int32_t>(8, 1012));
    EXPECT_EQ(logs_.Count("Tarnby dead"), 8u);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCollaboration", "Tarnby dead"));
    EXPECT_EQ(logs_.Count("enter, time:5"), 0u);
    EXPECT_EQ(emulator_.Requests().size(), 8u);
}

TEST_F(CollaborationTest, AnswersAfterTheReplyAndAfterTheWaitAndTheProductionWait)
{
    std::thread answerer;
    Script([this, &answerer](const DecodedRequest &request) {
        sptr<IRemoteObject> inner = InnerCallbackOf(request);
        // Neither of these is an answer: a wrong request code, then the service's own token.
        EXPECT_EQ(AnswerStart(inner, {1, 2}, 104), 1001);
        MessageParcel foreign;
        foreign.WriteInterfaceToken(TarnbyEmulator::SERVICE_TOKEN);
        foreign.WriteInt32(3);
        foreign.WriteInt32(4);
        EXPECT_EQ(TarnbyEmulator::SendCallback(inner, 103, foreign), 1010);
        answerer = std::thread([this, inner] { EXPECT_EQ(CallersWaiting(1) ? AnswerStart(inner, {-3, 88}) : -1, 0); });
        return std::vector<int32_t>{0};
    });
    EXPECT_EQ(g_ability.StartCollaboration(5520, Peer(), ""), Answer(-3, 88));
    answerer.join();
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCollaboration", "collaboration ability inner callback code is 104"));
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCallback",
                             "receive wrong interface token = ohos.ITarnby.ITarnbyService, expect " +
                                 std::string("ohos.ITarnby.ITarnbyCallback")));
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCollaboration", "OnStartCollaboration result = -3, id = 88"));
    EXPECT_FALSE(logs_.Find("OnStartCollaboration result = 1, id = 2"));
    // The production wait, seen without sitting it out: the caller announces a 20-second wait, then takes a late
    // answer. A shortened wait without an answer runs out, and the answer that comes after it is dropped.
    Tarnby::Internal::SetStartAnswerWait(Tarnby::Internal::START_ANSWER_WAIT);
    Script([](const DecodedRequest &) { return std::vector<int32_t>{0}; });
    Answer answer;
    std::thread caller([&answer] { answer = g_ability.StartCollaboration(9, Peer(), ""); });
    bool waiting = CallersWaiting(1, "enter, time:20");
    EXPECT_EQ(AnswerStart(InnerCallbackOf(emulator_.Requests().back()), {0, 20}), 0);
    caller.join();
    EXPECT_TRUE(waiting);
    EXPECT_EQ(answer, Answer(0, 20));
    Tarnby::Internal::SetStartAnswerWait(50ms);
    EXPECT_EQ(g_ability.StartCollaboration(9, Peer(), "late"), Answer(461635601, 0));
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCollaboration", "wait timeout"));
    // The caller has let go of its inner callback; the service still holds it and answers now.
    EXPECT_EQ(AnswerStart(InnerCallbackOf(emulator_.Requests().back()), {0, 55}), 0);
    EXPECT_TRUE(logs_.Find("OnStartCollaboration result = 0, id = 55"));
}

TEST_F(CollaborationTest, ConcurrentStartsEachGetTheirOwnAnswer)
{
    constexpr int callerCount = 8;
    Script([](const DecodedRequest &) { return std::vector<int32_t>{0}; }); // answered once every caller waits
    auto answerFor = [](int32_t localId) { return Answer{localId % 2 == 0 ? 0 : -localId, localId * 1000 + 7}; };
    std::vector<Answer> results(callerCount);
    std::vector<std::thread> callers;
    for (int i = 0; i < callerCount; ++i) {
        callers.emplace_back([&results, i] { results[i] = g_ability.StartCollaboration(4000 + i, Peer(), ""); });
    }
    EXPECT_TRUE(CallersWaiting(callerCount));
    auto requests = emulator_.Requests();
    std::shuffle(requests.begin(), requests.end(), std::mt19937(20240601));
    for (const auto &request : requests) {
        int32_t localId = std::get<int32_t>(*request.Find("localId"));
        EXPECT_EQ(AnswerStart(InnerCallbackOf(request), answerFor(localId)), 0);
    }
    for (auto &caller : callers) {
        caller.join();
    }
    for (int i = 0; i < callerCount; ++i) {
        EXPECT_EQ(results[i], answerFor(4000 + i)) << "caller " << i;
    }
}

} // namespace
} // namespace OHOS::TarnbyTest
