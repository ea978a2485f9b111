// The audio front against the fake service: every request as the service decodes it, the answers passed on, and
// each of the front's own failures with its code and line.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <utility>

#include "audio_transfer_ability.h"
#include "host_samgr.h"
#include "log_expect.h"
#include "media_test_support.h"

namespace OHOS::Tarnby {
namespace {
using namespace TarnbyTest;

constexpr uint32_t COLLABORATION_TO_DEVICE_EVENT = 101;
const std::string PEER = "peer-network-0123";
const std::string DEVICE = "living-room-speaker";

class AudioTransferTest : public MediaServiceTest {
protected:
    static AudioTransferAbility &Audio()
    {
        return AudioTransferAbility::GetInstance();
    }
};

TEST_F(AudioTransferTest, InitSendsBothNamesThenTheBusinessTypeAndReturnsTheTwoAnswers)
{
    requests_->SetReply(AUDIO_SERVICE_TYPE, 27, {-5, 41});
    std::pair<int32_t, int32_t> result = Audio().InitAudioTransfer(PEER, DEVICE, static_cast<BusinessType>(3));
    EXPECT_EQ(result, std::make_pair(-5, 41));

    DecodedRequest request = requests_->Only();
    EXPECT_TRUE(EnvelopeIs(request.envelope, COLLABORATION_TO_DEVICE_EVENT, AUDIO_SERVICE_TYPE, 27));
    EXPECT_EQ(request.fields, (std::vector<WireValue>{Str(PEER), Str(DEVICE), I32(3)}));
    EXPECT_EQ(request.unreadBytes, 0u);
    // Identifiers are masked in the log: first three characters, "****", last three.
    EXPECT_TRUE(Logged(logs_, LOG_INFO, PROXY_LABEL, "enter, peerNetworkId=pee****123 devName=liv****ker"));
}

struct SessionCase {
    const char *name;
    uint32_t subServiceType;
    int32_t (*call)(int32_t connId);
    std::vector<WireValue> fields;
};

// Test names and failure messages show the operation, not the bytes of the case.
void PrintTo(const SessionCase &testCase, std::ostream *out)
{
    *out << testCase.name;
}

class AudioSessionRequestTest : public AudioTransferTest, public testing::WithParamInterface<SessionCase> {};

TEST_P(AudioSessionRequestTest, SendsTheConnectionIdAndReturnsTheAnswer)
{
    requests_->SetReply(AUDIO_SERVICE_TYPE, GetParam().subServiceType, {-77});
    EXPECT_EQ(GetParam().call(41), -77);

    DecodedRequest request = requests_->Only();
    EXPECT_TRUE(
        EnvelopeIs(request.envelope, COLLABORATION_TO_DEVICE_EVENT, AUDIO_SERVICE_TYPE, GetParam().subServiceType));
    EXPECT_EQ(request.fields, GetParam().fields);
    EXPECT_EQ(request.unreadBytes, 0u);
    EXPECT_TRUE(Logged(logs_, LOG_INFO, PROXY_LABEL, "enter collaborationSessionId: 41"));
    EXPECT_EQ(LoggedFunction(logs_, "leave"), GetParam().name);
}

TEST_P(AudioSessionRequestTest, WithoutServiceReturns1012)
{
    HostSamgr::Reset();
    EXPECT_EQ(GetParam().call(41), 1012);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "Tarnby dead"));
    EXPECT_EQ(LoggedFunction(logs_, "Tarnby dead"), GetParam().name);
}

TEST_P(AudioSessionRequestTest, SendFailureReturnsTheFrontsCode)
{
    // An error without a reply reaches the proxy as a failed send.
    service_->On(AUDIO_SERVICE_TYPE, GetParam().subServiceType,
                 [](const RequestEnvelope &, MessageParcel &, MessageParcel &) { return ERR_INVALID_DATA; });
    EXPECT_EQ(GetParam().call(41), SEND_FAILED);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "send request to Tarnby failed"));
}

INSTANTIATE_TEST_SUITE_P(
    Audio, AudioSessionRequestTest,
    testing::Values(SessionCase{"DeInitAudioTransfer",
                                28,
                                [](int32_t id) {
                                    return AudioTransferAbility::GetInstance().DeInitAudioTransfer(id, BusinessType(6));
                                },
                                {I32(41), I32(6)}},
                    SessionCase{"StartAudioTransfer",
                                15,
                                [](int32_t id) { return AudioTransferAbility::GetInstance().StartAudioTransfer(id); },
                                {I32(41)}},
                    SessionCase{"StopAudioTransfer",
                                16,
                                [](int32_t id) { return AudioTransferAbility::GetInstance().StopAudioTransfer(id); },
                                {I32(41)}}),
    [](const testing::TestParamInfo<SessionCase> &info) { return std::string(info.param.name); });

TEST_F(AudioTransferTest, InitWithAnEmptyNameSendsNothing)
{
    EXPECT_EQ(Audio().InitAudioTransfer("", DEVICE, BusinessType(1)), std::make_pair(1001, 1001));
    EXPECT_EQ(Audio().InitAudioTransfer(PEER, "", BusinessType(1)), std::make_pair(1001, 1001));
    EXPECT_EQ(service_->RequestCount(), 0u);
}

TEST_F(AudioTransferTest, InitWithoutServiceReturns1012Twice)
{
    HostSamgr::Reset();
    EXPECT_EQ(Audio().InitAudioTransfer(PEER, DEVICE, BusinessType(1)), std::make_pair(1012, 1012));
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "Tarnby dead"));
    // The service is looked up before the fields are written: an unwritable name still gives 1012.
    EXPECT_EQ(Audio().InitAudioTransfer(OVERSIZED, DEVICE, BusinessType(1)), std::make_pair(1012, 1012));
}

TEST_F(AudioTransferTest, InitNamesTheFieldThatCannotBeWritten)
{
    EXPECT_EQ(Audio().InitAudioTransfer(OVERSIZED, DEVICE, BusinessType(1)), std::make_pair(1007, 1007));
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "peerNetworkId write failed"));
    EXPECT_EQ(Audio().InitAudioTransfer(PEER, OVERSIZED, BusinessType(1)), std::make_pair(1007, 1007));
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "devName write failed"));
    EXPECT_EQ(service_->RequestCount(), 0u);
}

TEST_F(AudioTransferTest, InitSendFailureReturnsTheSendCodeAnd1007)
{
    service_->On(AUDIO_SERVICE_TYPE, 27,
                 [](const RequestEnvelope &, MessageParcel &, MessageParcel &) { return ERR_INVALID_DATA; });
    EXPECT_EQ(Audio().InitAudioTransfer(PEER, DEVICE, BusinessType(1)), std::make_pair(SEND_FAILED, 1007));
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "send request to Tarnby failed"));
    EXPECT_FALSE(logs_.Find("leave"));
}

TEST_F(AudioTransferTest, FourArgumentStartSendsNothing)
{
    EXPECT_EQ(Audio().StartAudioTransfer(PEER, DEVICE, BusinessType(2), 41), 0x1B8107E7);
    EXPECT_EQ(Audio().StartAudioTransfer("", "", BusinessType(-1), -1), 0x1B8107E7);
    EXPECT_EQ(service_->RequestCount(), 0u);
    EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount(), 0u);
    EXPECT_TRUE(Logged(logs_, LOG_INFO, PROXY_LABEL,
                       "enter, peerNetworkId=pee****123 devName=liv****ker businessType=2 connId=41"));
}
} // namespace
} // namespace OHOS::Tarnby
