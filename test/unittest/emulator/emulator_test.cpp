// The service emulator by itself (refusals, hook, event log) and the demo run as a user runs it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sys/wait.h>

#include "audio_transfer_ability.h"
#include "collaboration_ability.h"
#include "iservice_registry.h"
#include "service_fixture.h"
#include "wire.h"

namespace OHOS::TarnbyTest {
namespace {
using namespace TarnbyEmulator;

Tarnby::CollaborationAbility &g_collaboration = Tarnby::CollaborationAbility::GetInstance();

// The service token, the service code, then `body`.
Body Envelope(uint32_t serviceType, uint32_t sub, const Body &body = Fields())
{
    return [=](MessageParcel &data) {
        data.WriteInterfaceToken(SERVICE_TOKEN);
        WriteServiceCode(data, serviceType, sub);
        body(data);
    };
}

class EmulatorTest : public ServiceTest {
protected:
    // A hand-made request to whatever is registered under the Tarnby id: the int32 at the head of the reply, or the
    // send status when there is none.
    int32_t Answer(uint32_t code, const Body &fill)
    {
        auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        fill(data);
        int status = manager->GetSystemAbility(TARNBY_SERVICE_ID)->SendRequest(code, data, reply, option);
        return reply.GetDataSize() == 0 ? status : reply.ReadInt32();
    }
};

TEST_F(EmulatorTest, MalformedAndForeignRequestsAreRefusedAndNamed)
{
    const std::pair<Body, std::string> truncated[] = {
        {Fields([](MessageParcel &d) { d.WriteInterfaceToken(SERVICE_TOKEN); }, 103u),
         "request 101: subServiceType missing"},
        {Envelope(103, 7, Fields(0)), "StartCollaboration: localId missing"},
        {Envelope(103, 7, Fields(0, 1, 0)), "StartCollaboration: target absent"},
        {Envelope(103, 13, Fields(1, 4000000u, 0)),
         "SendCollaborationData: data missing"}, // a length beyond what the parcel holds sizes nothing
        {Envelope(103, 13, Fields(1, 0x3FF001u)), "SendCollaborationData: dataLen out of range"},
        {Envelope(104, 27, Fields("peer", "speaker")), "InitAudioTransfer: businessType missing"},
    };
    for (const auto &[fill, problem] : truncated) {
        EXPECT_EQ(Answer(101, fill), EMU_ERR_MALFORMED) << problem;
        EXPECT_TRUE(logs_.Find("request refused with 290002: " + problem)) << problem;
    }
    EXPECT_EQ(Answer(601, Envelope(103, 7)), EMU_ERR_UNKNOWN_OPERATION); // right operation, wrong request code
    EXPECT_EQ(Answer(101, Envelope(103, 99)), EMU_ERR_UNKNOWN_OPERATION);
    EXPECT_TRUE(logs_.Find("request refused with 290003: request 101 (103/99/0/0/0) names no operation"));
    EXPECT_EQ(Answer(101, [](MessageParcel &d) { d.WriteInterfaceToken(CALLBACK_TOKEN); }), EMU_ERR_WRONG_TOKEN);
    EXPECT_EQ(emulator_.EventsOfKind("request.rejected").size(), std::size(truncated) + 3);
    EXPECT_TRUE(emulator_.Sessions().empty());
}

TEST_F(EmulatorTest, HookAnswersInsteadOfTheEmulatorUntilRemoved)
{
    emulator_.SetRequestHook([](const DecodedRequest &request) -> std::optional<ScriptedReply> {
        if (request.operation == "StopCollaboration") {
            return ScriptedReply{0, {-5}};
        }
        return request.operation == "StartAudioTransfer" ? std::optional(ScriptedReply{7, {}}) : std::nullopt;
    });
    EXPECT_EQ(g_collaboration.StopCollaboration(1), -5);
    EXPECT_EQ(Tarnby::AudioTransferAbility::GetInstance().StartAudioTransfer(1), 461374453);
    EXPECT_EQ(Tarnby::AudioTransferAbility::GetInstance().StopAudioTransfer(1), EMU_ERR_UNKNOWN_CONNECTION);
    emulator_.SetRequestHook(nullptr);
    EXPECT_EQ(g_collaboration.StopCollaboration(1), EMU_ERR_UNKNOWN_SESSION);
    EXPECT_EQ(emulator_.Requests().size(), 4u);
    EXPECT_TRUE(emulator_.WaitForRequests(4, 0ms));
}

// The event log keeps the latest 10,000 events, oldest first, whatever came before.
TEST_F(EmulatorTest, EventLogKeepsTheLatestEvents)
{
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
