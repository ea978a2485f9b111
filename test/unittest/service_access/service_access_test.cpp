// SPDX-License-Identifier: Apache-2.0
// Reaching the service (the envelope, the three send operations and their failures, the shared proxy's lookup), the
// service emulator by itself (refusals, hook, event log), and the demo run as a user runs it.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <atomic>
#include <climits>
#include <cstdlib>

#include "audio_transfer_ability.h"
#include "collaboration_ability.h"
#include "service_fixture.h"
#include "wire.h"

namespace OHOS::TarnbyTest {
namespace {
using Tarnby::ITarnbyService;
using Tarnby::TarnbyProxy;
using namespace TarnbyEmulator;
constexpr size_t TOKEN_BYTES = 68; // the service token as the platform writes it

// Strict-mode word 0x100, work source 0, the service token; then `fields`.
template <typename... Fields>
std::vector<uint8_t> EnvelopeBytes(Fields... fields)
{
    return Wire().Words(0x100, 0).Str(u"ohos.ITarnby.ITarnbyService").Words(fields...).Bytes();
}

std::vector<uint8_t> Tail(const MessageParcel &parcel, size_t size)
{
    const auto *end = reinterpret_cast<const uint8_t *>(parcel.GetData()) + parcel.GetDataSize();
    return std::vector<uint8_t>(end - size, end);
}

TEST(EnvelopeTest, TokenThenFiveFieldsAndEachFailureItsCode)
{
    LogCapture logs;
    MessageParcel data;
    ASSERT_TRUE(data.WriteInt32(-1));
    ASSERT_EQ(TarnbyProxy::BuildCollaborationServiceCode(data, 103, 7, 0x01020304, 0xFFFFFFFF, 9), 0);
    std::vector<uint8_t> expected = EnvelopeBytes(103, 7, 0x01020304, 0xFFFFFFFF, 9);
    ASSERT_EQ(expected.size(), TOKEN_BYTES + 20);
    EXPECT_EQ(data.GetDataSize(), 4 + expected.size());
    EXPECT_EQ(Tail(data, expected.size()), expected);
    EXPECT_TRUE(logs.Logged(LOG_INFO, "TRBYProxy", "sender interface is ohos.ITarnby.ITarnbyService"));
    // Room for the token and `fields` of the five: 1007 after the token, with those fields left in place.
    for (size_t room : {TOKEN_BYTES - 4, TOKEN_BYTES, TOKEN_BYTES + 16}) {
        SCOPED_TRACE("room " + std::to_string(room));
        logs.Clear();
        MessageParcel full;
        LeaveRoom(full, room);
        int32_t status = TarnbyProxy::BuildCollaborationServiceCode(full, 11, 12, 13, 14, 15);
        EXPECT_EQ(status, room < TOKEN_BYTES ? 1006 : 1007);
        EXPECT_EQ(logs.Logged(LOG_ERROR, "TRBYProxy", "write interface token failed"), room < TOKEN_BYTES);
        EXPECT_EQ(logs.Logged(LOG_ERROR, "TRBYProxy", "write to parcel failed"), room >= TOKEN_BYTES);
        if (room >= TOKEN_BYTES) {
            std::vector<uint8_t> written = EnvelopeBytes(11, 12, 13, 14);
            written.resize(room);
            EXPECT_EQ(Tail(full, room), written);
        }
        EXPECT_FALSE(logs.Contains("sender interface is"));
    }
}

using SendOperation = int32_t (ITarnbyService::*)(MessageParcel &, MessageParcel &, MessageOption &);
struct SendCase {
    const char *name;
    SendOperation operation;
    uint32_t requestCode;
};

void PrintTo(const SendCase &row, std::ostream *out) // its name in test listings, not its bytes
{
    *out << row.name;
}

class SendOperationTest : public ServiceTest, public testing::WithParamInterface<SendCase> {
protected:
    // An envelope with distinct values in all five fields and a marker as the body.
    int32_t Send(const sptr<ITarnbyService> &proxy, MessageParcel &reply, int waitTime = 8)
    {
        MessageParcel data;
        EXPECT_EQ(TarnbyProxy::BuildCollaborationServiceCode(data, 103, 25, 3, 4, 5), 0);
        data.WriteInt32(0x5EED);
        MessageOption option(MessageOption::TF_SYNC, waitTime);
        return ((*proxy).*GetParam().operation)(data, reply, option);
    }
};

TEST_P(SendOperationTest, EnvelopeArrivesWithTheRequestCodeAndOptionAndFailuresBecome1008Or1009)
{
    Script([](const DecodedRequest &) { return std::vector<int32_t>{-4242}; });
    sptr<ITarnbyService> proxy = TarnbyProxy::GetInstance();
    ASSERT_NE(proxy, nullptr);
    for (int waitTime : {8, 3}) {
        MessageParcel reply;
        ASSERT_EQ(Send(proxy, reply, waitTime), 0);
        EXPECT_EQ(reply.ReadInt32(), -4242);
    }
    auto requests = emulator_.Requests();
    ASSERT_EQ(requests.size(), 2u);
    for (const DecodedRequest &request : requests) {
        EXPECT_EQ(request.code, GetParam().requestCode);
        EXPECT_EQ(std::vector<uint32_t>({request.serviceType, request.subServiceType, request.operateCode,
                                         request.subOperateCode, request.command}),
                  std::vector<uint32_t>({103, 25, 3, 4, 5}));
        EXPECT_EQ(request.flags, 0);
        EXPECT_EQ(request.leftover, 4u);
    }
    EXPECT_EQ(requests[0].waitTime, 8);
    EXPECT_EQ(requests[1].waitTime, 3);
    EXPECT_EQ(logs_.FunctionOf("enter"), GetParam().name);
    // The service's status reaches the proxy only with an empty reply; whatever it is, the caller sees 1008.
    for (int error : {-1, 1, 305, INT_MIN, INT_MAX}) {
        ScriptTransportFailure(error);
        MessageParcel reply;
        EXPECT_EQ(Send(proxy, reply), 1008);
        std::string line = "failed to SendRequest, error: " + std::to_string(error);
        EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYProxy", line));
        EXPECT_EQ(logs_.FunctionOf(line), GetParam().name);
    }
    emulator_.Kill();
    MessageParcel reply;
    EXPECT_EQ(Send(proxy, reply), 1008);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYProxy", "failed to SendRequest, error: 32"));
    EXPECT_EQ(Send(sptr<TarnbyProxy>::MakeSptr(nullptr), reply), 1009);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYProxy", "Remote is nullptr"));
    EXPECT_EQ(logs_.FunctionOf("Remote is nullptr"), GetParam().name);
}

const SendCase SEND_CASES[] = {
    {"CollaborationToDeviceEvent", &ITarnbyService::CollaborationToDeviceEvent, 101},
    {"VeskorEvent", &ITarnbyService::VeskorEvent, 501},
    {"SurfaceTransferEvent", &ITarnbyService::SurfaceTransferEvent, 601},
};
INSTANTIATE_TEST_SUITE_P(EachOperation, SendOperationTest, testing::ValuesIn(SEND_CASES),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_F(ServiceTest, OneProxyIsKeptUntilDestroyedFailedLookupsKeepNothingAndFirstCallersShareOne)
{
    size_t before = HostSamgr::GetSystemAbilityCallCount();
    sptr<ITarnbyService> first = TarnbyProxy::GetInstance();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(TarnbyProxy::GetInstance(), first);
    EXPECT_EQ(TarnbyProxy::GetTarnbyRemoteObject(), first->AsObject());
    EXPECT_TRUE(first->AsObject()->IsProxyObject());
    EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount() - before, 1u);
    // After DestoryInstance the next caller finds the service as it is now; a copy held from before keeps its object.
    emulator_.Kill();
    TarnbyProxy::DestoryInstance();
    EXPECT_FALSE(logs_.Find("clear resource when death")); // `first` still holds the proxy
    ASSERT_TRUE(emulator_.Restart());
    sptr<ITarnbyService> current = TarnbyProxy::GetInstance();
    ASSERT_NE(current, nullptr);
    EXPECT_NE(current, first);
    EXPECT_EQ(current->AsObject(), TarnbyProxy::GetTarnbyRemoteObject());
    EXPECT_EQ(Tarnby::CollaborationAbility::GetInstance().StopCollaboration(1),
              TarnbyEmulator::EMU_ERR_UNKNOWN_SESSION); // reaches the new service
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    EXPECT_EQ(first->CollaborationToDeviceEvent(data, reply, option), 1008);
    first = nullptr;
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYProxy", "clear resource when death"));
    // A failed lookup keeps nothing: every caller asks again.
    TarnbyProxy::DestoryInstance();
    emulator_.Stop();
    before = HostSamgr::GetSystemAbilityCallCount();
    EXPECT_EQ(TarnbyProxy::GetTarnbyRemoteObject(), nullptr);
    EXPECT_EQ(TarnbyProxy::GetInstance(), nullptr);
    EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount() - before, 2u);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYProxy", "failed to get TARNBY_SA_ID"));
    HostSamgr::SetManagerAvailable(false);
    EXPECT_EQ(TarnbyProxy::GetInstance(), nullptr);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYProxy", "failed to get system manager"));
    HostSamgr::SetManagerAvailable(true);
    ASSERT_TRUE(emulator_.Start());
    EXPECT_NE(TarnbyProxy::GetInstance(), nullptr);
    // Every round starts with no proxy and lets several threads ask at once: one lookup, one proxy for all of them.
    constexpr int threadCount = 4;
    for (int round = 0; round < 200; ++round) {
        TarnbyProxy::DestoryInstance();
        size_t before = HostSamgr::GetSystemAbilityCallCount();
        std::atomic<int> waiting{threadCount};
        std::vector<sptr<ITarnbyService>> results(threadCount);
        std::vector<std::thread> threads;
        for (int i = 0; i < threadCount; ++i) {
            threads.emplace_back([&waiting, &results, i] {
                for (waiting--; waiting.load() > 0;) {
                    std::this_thread::yield();
                }
                results[i] = TarnbyProxy::GetInstance();
            });
        }
        for (auto &thread : threads) {
            thread.join();
        }
        ASSERT_EQ(HostSamgr::GetSystemAbilityCallCount() - before, 1u) << "round " << round;
        ASSERT_NE(results[0], nullptr);
        ASSERT_EQ(std::count(results.begin(), results.end(), results[0]), threadCount) << "round " << round;
    }
}

// The service token, the service code, then `body`.
Body Envelope(uint32_t serviceType, uint32_t sub, const Body &body = Fields())
{
    return [=](MessageParcel &data) {
        data.WriteInterfaceToken(SERVICE_TOKEN);
        WriteServiceCode(data, serviceType, sub);
        body(data);
    };
}

TEST_F(ServiceTest, MalformedAndForeignRequestsAreRefusedAndNamed)
{
    // A hand-made request: the int32 at the head of the reply, or the send status when there is none.
    auto Answer = [this](uint32_t code, const Body &fill) {
        MessageParcel data;
        MessageParcel reply;
        fill(data);
        int status = SendCallback(emulator_.ServiceObject(), code, data, &reply);
        return reply.GetDataSize() == 0 ? status : reply.ReadInt32();
    };
    // A present target (system ability 5 on "net"), and an object to call back.
    const Body TARGET = Fields(1, "net", 0u, "bundle", "ability", 5);
    const Body OBJECT = [](MessageParcel &d) { d.WriteRemoteObject(new IPCObjectStub(u"callback")); };
    const std::pair<Body, std::string> truncated[] = {
        {Fields([](MessageParcel &d) { d.WriteInterfaceToken(SERVICE_TOKEN); }, 103u),
         "request 101: subServiceType missing"},
        {Envelope(103, 7, Fields(0)), "StartCollaboration: localId missing"},
        {Envelope(103, 7, Fields(0, 1, 0)), "StartCollaboration: target absent"},
        {Envelope(103, 13, Fields(1, 4000000u, 0)),
         "SendCollaborationData: data missing"}, // a length beyond what the parcel holds sizes nothing
        {Envelope(103, 13, Fields(1, 0x3FF001u)), "SendCollaborationData: dataLen out of range"},
        {Envelope(104, 27, Fields("peer", "speaker")), "InitAudioTransfer: businessType missing"},
        {Envelope(103, 7, Fields(0, 1, TARGET)), "StartCollaboration: callback missing"},
        {Envelope(103, 7, Fields(2, "bundle", "ability", TARGET, OBJECT)),
         "StartCollaboration: LocalTargetType out of range"},
        {Envelope(103, 25, Fields(TARGET, TARGET, OBJECT, 0x3FF001u)), "StartCollaboration: dataLen out of range"},
        {Envelope(103, 13, Fields(1, 0u)), "SendCollaborationData: dataLen out of range"},
        {Envelope(104, 27, Fields("", "speaker", 1)), "InitAudioTransfer: empty peer or device"},
        {Envelope(104, 27, Fields("peer", "", 1)), "InitAudioTransfer: empty peer or device"},
    };
    for (const auto &[fill, problem] : truncated) {
        EXPECT_EQ(Answer(101, fill), EMU_ERR_MALFORMED) << problem;
        EXPECT_TRUE(logs_.Find("request refused with 290002: " + problem)) << problem;
    }
    EXPECT_EQ(Answer(601, Envelope(103, 7)), EMU_ERR_UNKNOWN_OPERATION); // right operation, wrong request code
    // Target types 0 to 2 name kinds of ability; 3 is refused when a callback is registered for it.
    EXPECT_EQ(Answer(101, Envelope(103, 23, Fields(1, "net", 2u, "bundle", "ability", 5, OBJECT))), EMU_OK);
    EXPECT_EQ(Answer(101, Envelope(103, 23, Fields(1, "net", 3u, "bundle", "ability", 5, OBJECT))), EMU_ERR_BAD_TARGET);
    // The qualifiers after the two types are always 0; a request with any of them set names no operation.
    for (const Body &qualifiers : {Fields(1u, 0u, 0u), Fields(0u, 1u, 0u), Fields(0u, 0u, 1u)}) {
        EXPECT_EQ(Answer(101, Fields([](MessageParcel &d) { d.WriteInterfaceToken(SERVICE_TOKEN); }, 103u, 8u,
                                     qualifiers, 1)),
                  EMU_ERR_UNKNOWN_OPERATION);
    }
    EXPECT_EQ(Answer(101, Envelope(103, 99)), EMU_ERR_UNKNOWN_OPERATION);
    EXPECT_TRUE(logs_.Find("request refused with 290003: request 101 (103/99/0/0/0) names no operation"));
    // A foreign token: refused, and nothing after it is read, even a well-formed stop request.
    EXPECT_EQ(
        Answer(101, Fields([](MessageParcel &d) { d.WriteInterfaceToken(CALLBACK_TOKEN); }, 103u, 8u, 0u, 0u, 0u, 1)),
        EMU_ERR_WRONG_TOKEN);
    DecodedRequest foreign = emulator_.Requests().back();
    EXPECT_TRUE(foreign.operation.empty() && foreign.fields.empty()) << foreign.operation;
    EXPECT_EQ(emulator_.EventsOfKind("request.rejected").size(), std::size(truncated) + 6);
    EXPECT_TRUE(emulator_.Sessions().empty());
}

TEST_F(ServiceTest, HookAnswersInsteadOfTheEmulatorUntilRemovedAndTheEventLogKeepsTheLatest)
{
    emulator_.SetRequestHook([](const DecodedRequest &request) -> std::optional<ScriptedReply> {
        if (request.operation == "StopCollaboration") {
            return ScriptedReply{0, {-5}};
        }
        return request.operation == "StartAudioTransfer" ? std::optional(ScriptedReply{7, {}}) : std::nullopt;
    });
    EXPECT_EQ(Tarnby::CollaborationAbility::GetInstance().StopCollaboration(1), -5);
    EXPECT_EQ(Tarnby::AudioTransferAbility::GetInstance().StartAudioTransfer(1), 461374453);
    EXPECT_EQ(Tarnby::AudioTransferAbility::GetInstance().StopAudioTransfer(1), EMU_ERR_UNKNOWN_CONNECTION);
    emulator_.SetRequestHook(nullptr);
    EXPECT_EQ(Tarnby::CollaborationAbility::GetInstance().StopCollaboration(1), EMU_ERR_UNKNOWN_SESSION);
    EXPECT_EQ(emulator_.Requests().size(), 4u);
    EXPECT_TRUE(emulator_.WaitForRequests(4, 0ms));
    // The event log keeps the latest 10,000 events, oldest first, whatever came before.
    uint64_t first = emulator_.Events().back().sequence;
    for (int i = 0; i < 10005; ++i) {
        emulator_.PeerSendEvent(-1 - i, "x"); // logged as undelivered: an unknown session
    }
    auto events = emulator_.Events();
    ASSERT_EQ(events.size(), 10000u);
    EXPECT_EQ(events.front().sequence, first + 6);
    EXPECT_EQ(events.back().sequence, first + 10005);
    EXPECT_EQ(events.back().id, -10005);
}

// The demo checks its own key results (its transcript says which) and exits 0 only when every scenario is as expected;
// a usage error is 2.
TEST(DemoTest, RunsEveryScenarioAsExpectedAndRefusesBadArguments)
{
    auto run = [](const std::string &arguments) {
        int status = std::system((std::string(TARNBY_DEMO_PATH) + " " + arguments).c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    EXPECT_EQ(run("all"), 0);
    EXPECT_EQ(run("bogus 2>/dev/null"), 2);
}
} // namespace
} // namespace OHOS::TarnbyTest
