// Register, unregister, send and stop: their fields as the service reads them, the service's result passed through,
// and the arguments refused before anything is sent.
#include <gtest/gtest.h>

#include <vector>

#include "collaboration_fixture.h"
#include "host_samgr.h"

namespace OHOS::TarnbyTest {
namespace {
using SessionRequestTest = CollaborationTest;
constexpr int32_t WRITE_FAILED = 1007;

class SilentCallback : public Tarnby::CollabAbilityCallback {
public:
    void OnCollaborationData(int32_t, const uint8_t *, uint32_t) override {}
    void OnCollaborationEvent(int32_t, const uint8_t *, uint32_t) override {}
};

TEST_F(SessionRequestTest, RegisterCarriesTheTargetThenTheCallback)
{
    ScriptSessions(0);

    EXPECT_EQ(Ability().RegisterCollaborationCallback(PeerAbility(), sptr<SilentCallback>::MakeSptr()), 0);
    ExpectOneEnvelope(SUB_REGISTER);
    SessionRequest request = Only(SessionRequests());
    EXPECT_EQ(request.target, PeerAbilityOnWire());
    EXPECT_NE(request.callback, nullptr);
    EXPECT_EQ(request.leftover, 0u);
    EXPECT_TRUE(Logged("enter", LOG_ERROR));
    EXPECT_FALSE(logs_.Find("RegisterCollaborationCallback failed"));
}

TEST_F(SessionRequestTest, UnregisterCarriesTheTargetAlone)
{
    ScriptSessions(0);

    EXPECT_EQ(Ability().UnRegisterCollaborationCallback(PeerSystemAbility()), 0);
    ExpectOneEnvelope(SUB_UNREGISTER);
    SessionRequest request = Only(SessionRequests());
    EXPECT_EQ(request.target, PeerSystemAbilityOnWire());
    EXPECT_EQ(request.leftover, 0u);
    EXPECT_FALSE(Logged("enter", LOG_ERROR) || Logged("enter", LOG_INFO)); // only the proxy's own "enter"
}

TEST_F(SessionRequestTest, SendCarriesTheSessionLengthAndBytes)
{
    ScriptSessions(0);
    const std::vector<char> bytes = Pattern(13, 1);

    EXPECT_EQ(Ability().SendCollaborationData(-77, bytes.data(), bytes.size()), 0);
    ExpectOneEnvelope(SUB_SEND_DATA);
    SessionRequest request = Only(SessionRequests());
    EXPECT_EQ(request.sessionId, -77);
    EXPECT_EQ(request.dataLen, 13u);
    EXPECT_TRUE(SameBytes(request.data, bytes));
    EXPECT_EQ(request.leftover, 0u);
}

TEST_F(SessionRequestTest, LargestSendGoesThrough)
{
    ScriptSessions(0);
    const std::vector<char> bytes = Pattern(MAX_DATA_LEN, 5);

    EXPECT_EQ(Ability().SendCollaborationData(12, bytes.data(), bytes.size()), 0);
    SessionRequest request = Only(SessionRequests());
    EXPECT_EQ(request.dataLen, MAX_DATA_LEN);
    EXPECT_TRUE(SameBytes(request.data, bytes));
    EXPECT_EQ(request.leftover, 0u);
}

TEST_F(SessionRequestTest, StopCarriesTheSession)
{
    ScriptSessions(0);

    EXPECT_EQ(Ability().StopCollaboration(123456), 0);
    ExpectOneEnvelope(SUB_STOP);
    SessionRequest request = Only(SessionRequests());
    EXPECT_EQ(request.sessionId, 123456);
    EXPECT_EQ(request.leftover, 0u);
}

TEST_F(SessionRequestTest, ServiceResultsArePassedThroughUnchanged)
{
    for (int32_t result : {-1, 7, 29201, 461635601}) {
        ScriptSessions(result);
        const char bytes[] = "ping";
        EXPECT_EQ(Ability().RegisterCollaborationCallback(PeerAbility(), sptr<SilentCallback>::MakeSptr()), result);
        EXPECT_EQ(Ability().UnRegisterCollaborationCallback(PeerAbility()), result);
        EXPECT_EQ(Ability().SendCollaborationData(3, bytes, 4), result);
        EXPECT_EQ(Ability().StopCollaboration(3), result);
    }
    EXPECT_EQ(logs_.Count("RegisterCollaborationCallback failed"), 4u);
    EXPECT_EQ(logs_.Count("UnRegisterCollaborationCallback failed"), 4u);
    EXPECT_EQ(logs_.Count("send collaboration data failed"), 4u);
    EXPECT_TRUE(Logged("RegisterCollaborationCallback failed", LOG_ERROR));
    EXPECT_TRUE(Logged("UnRegisterCollaborationCallback failed", LOG_ERROR));
    EXPECT_TRUE(Logged("send collaboration data failed", LOG_ERROR));
}

TEST_F(SessionRequestTest, StopLogsNothingOfItsOwnWhateverTheResult)
{
    ScriptSessions(-9);

    EXPECT_EQ(Ability().StopCollaboration(3), -9);
    for (const auto &record : logs_.Records()) {
        EXPECT_NE(record.tag, "TRBYCollaboration") << record.text;
    }
}

TEST_F(SessionRequestTest, NullTargetOrCallbackIsRefusedBeforeSending)
{
    EXPECT_EQ(Ability().RegisterCollaborationCallback(nullptr, sptr<SilentCallback>::MakeSptr()), WRITE_FAILED);
    EXPECT_TRUE(Logged("targetInfo write failed", LOG_ERROR));
    EXPECT_EQ(Ability().RegisterCollaborationCallback(PeerAbility(), nullptr), WRITE_FAILED);
    EXPECT_TRUE(Logged("callback write failed", LOG_ERROR));
    EXPECT_EQ(Ability().UnRegisterCollaborationCallback(nullptr), WRITE_FAILED);
    EXPECT_TRUE(Logged("localInfo write failed", LOG_ERROR));
    EXPECT_EQ(service_->RequestCount(), 0u);
}

TEST_F(SessionRequestTest, SendRefusesMissingEmptyAndOversizedData)
{
    const std::vector<char> oversized(MAX_DATA_LEN + 1, 'o');

    EXPECT_EQ(Ability().SendCollaborationData(1, nullptr, 4), 1001);
    EXPECT_EQ(Ability().SendCollaborationData(1, "abcd", 0), 1001);
    EXPECT_EQ(logs_.Count("data is null"), 2u);
    EXPECT_EQ(Ability().SendCollaborationData(1, oversized.data(), oversized.size()), 461635592);
    EXPECT_TRUE(Logged("dataLen[4190209] too large", LOG_ERROR));
    EXPECT_EQ(service_->RequestCount(), 0u);
}

TEST_F(SessionRequestTest, WithoutServiceEveryOperationReturns1012)
{
    HostSamgr::SetManagerAvailable(false);

    EXPECT_EQ(Ability().RegisterCollaborationCallback(PeerAbility(), sptr<SilentCallback>::MakeSptr()), 1012);
    EXPECT_EQ(Ability().UnRegisterCollaborationCallback(PeerAbility()), 1012);
    EXPECT_EQ(Ability().SendCollaborationData(1, "abcd", 4), 1012);
    EXPECT_EQ(Ability().StopCollaboration(1), 1012);
    EXPECT_EQ(logs_.Count("Tarnby dead"), 4u);
    EXPECT_TRUE(Logged("Tarnby dead", LOG_ERROR));
}

TEST_F(SessionRequestTest, FailedSendReturns461374453)
{
    ScriptTransportFailure();

    EXPECT_EQ(Ability().RegisterCollaborationCallback(PeerAbility(), sptr<SilentCallback>::MakeSptr()), 461374453);
    EXPECT_EQ(Ability().UnRegisterCollaborationCallback(PeerAbility()), 461374453);
    EXPECT_EQ(Ability().SendCollaborationData(1, "abcd", 4), 461374453);
    EXPECT_EQ(Ability().StopCollaboration(1), 461374453);
    EXPECT_EQ(logs_.Count("send request to Tarnby failed"), 4u);
    EXPECT_EQ(service_->RequestCount(), 4u);
}

TEST_F(SessionRequestTest, PlaceholdersSendNothingAndTouchNothing)
{
    auto kept = sptr<Tarnby::StartInfo>::MakeSptr(5, PeerAbility(), "kept");
    std::vector<sptr<Tarnby::StartInfo>> infos{kept};

    EXPECT_EQ(Ability().GetCollaborationStartInfos(5, infos), 0);
    EXPECT_EQ(Ability().RegisterCollaborationDataCallback(5, nullptr), 0);
    EXPECT_EQ(Ability().UnRegisterCollaborationDataCallback(5), 0);
    ASSERT_EQ(infos.size(), 1u);
    EXPECT_EQ(infos.front(), kept);
    EXPECT_TRUE(Logged("Get Start Info", LOG_INFO));
    EXPECT_TRUE(Logged("Register", LOG_INFO));
    EXPECT_TRUE(Logged("UnRegister", LOG_INFO));
    EXPECT_EQ(service_->RequestCount(), 0u);
}
} // namespace
} // namespace OHOS::TarnbyTest
