// SPDX-License-Identifier: Apache-2.0
// Audio and surface transfer fronts as the service sees them, the death recipient, and the service's death.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "audio_transfer_ability.h"
#include "death_recipient.h"
#include "hook_recorder.h"
#include "service_fixture.h"
#include "surface_transfer_ability.h"

namespace OHOS::TarnbyTest {
namespace {
using namespace Tarnby;
constexpr int32_t SEND_FAILED = 461374453;
const std::string OVERSIZED(210000, 'x'); // more than a request parcel may hold (200 KiB)
const ScreenParam SCREEN{11, 12, 13, 14, 15};

AudioTransferAbility &g_audio = AudioTransferAbility::GetInstance();
SurfaceTransferAbility &g_surface = SurfaceTransferAbility::GetInstance();
const auto Device = [] {
    return std::make_shared<RemoteDevice>(RemoteDevice{"a", "bb", "ccc", "dddd", -7, 5, "hello"});
};

struct MediaCase {
    const char *name;
    std::function<int32_t()> call;
    uint32_t code;
    uint32_t serviceType;
    uint32_t subServiceType;
    std::string body;
};

void PrintTo(const MediaCase &row, std::ostream *out) // its name in test listings, not its bytes
{
    *out << row.name;
}

class MediaRequestTest : public ServiceTest, public testing::WithParamInterface<MediaCase> {};

TEST_P(MediaRequestTest, SendsItsFieldsInOrderAndMapsTheServicesFailures)
{
    Script([](const DecodedRequest &) { return std::vector<int32_t>{-31}; });
    EXPECT_EQ(GetParam().call(), -31);
    DecodedRequest request = OnlyRequest();
    EXPECT_EQ(request.code, GetParam().code);
    EXPECT_EQ(request.flags, 0);
    EXPECT_EQ(request.waitTime, 8);
    EXPECT_EQ(request.serviceType, GetParam().serviceType);
    EXPECT_EQ(request.subServiceType, GetParam().subServiceType);
    EXPECT_EQ(request.Body(), GetParam().body);
    EXPECT_EQ(request.leftover, 0u);
    EXPECT_EQ(logs_.FunctionOf("leave"), GetParam().name);
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYProxy", "leave"));
    logs_.Clear();
    ScriptTransportFailure();
    EXPECT_EQ(GetParam().call(), SEND_FAILED);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYProxy", "send request to Tarnby failed"));
    EXPECT_FALSE(logs_.Find("leave"));
    RemoveService();
    EXPECT_EQ(GetParam().call(), 1012);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYProxy", "Tarnby dead"));
    EXPECT_EQ(logs_.FunctionOf("Tarnby dead"), GetParam().name);
}

const MediaCase MEDIA_CASES[] = {
    {"DeInitAudioTransfer", [] { return g_audio.DeInitAudioTransfer(41, BusinessType(6)); }, 101, 104, 28, "41 6"},
    {"StartAudioTransfer", [] { return g_audio.StartAudioTransfer(41); }, 101, 104, 15, "41"},
    {"StopAudioTransfer", [] { return g_audio.StopAudioTransfer(41); }, 101, 104, 16, "41"},
    {"DeInitSurfaceTransfer", [] { return g_surface.DeInitSurfaceTransfer(4); }, 601, 105, 18, "4"},
    {"StartSurfaceTransfer", [] { return g_surface.StartSurfaceTransfer(4, "first", "second"); }, 601, 105, 19,
     R"("first" "second" 4)"},
    {"StopSurfaceTransfer", [] { return g_surface.StopSurfaceTransfer(4); }, 601, 105, 20, "4"},
    {"CastOperation", [] { return g_surface.CastOperation(4, static_cast<CastOperationType>(-6)); }, 601, 105, 21,
     "4 -6"},
    {"SetScreenParam",
     [] { return g_surface.SetScreenParam(4, CastSetScreenParamType(2), std::make_shared<ScreenParam>(SCREEN)); }, 601,
     105, 22, "4 2 11u 12u 13u 14u 15u"},
    {"SetVirtualDisplayParam",
     [text = std::string("display-text")]() mutable { return g_surface.SetVirtualDisplayParam(4, 99, text); }, 601, 105,
     29, R"(4 99u "display-text")"},
};
INSTANTIATE_TEST_SUITE_P(Media, MediaRequestTest, testing::ValuesIn(MEDIA_CASES),
                         [](const auto &info) { return std::string(info.param.name); });

// Audio checks its names, looks the service up, then writes its fields; the reply is (result, connection id).
TEST_F(ServiceTest, AudioInitRefusesBeforeSendingAndReturnsTheTwoAnswers)
{
    EXPECT_EQ(g_audio.InitAudioTransfer("", "d", BusinessType(1)), std::make_pair(1001, 1001));
    EXPECT_EQ(g_audio.InitAudioTransfer("p", "", BusinessType(1)), std::make_pair(1001, 1001));
    EXPECT_EQ(g_audio.InitAudioTransfer(OVERSIZED, "d", BusinessType(1)), std::make_pair(1007, 1007));
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYProxy", "peerNetworkId write failed"));
    EXPECT_EQ(g_audio.InitAudioTransfer("p", OVERSIZED, BusinessType(1)), std::make_pair(1007, 1007));
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYProxy", "devName write failed"));
    EXPECT_EQ(g_audio.StartAudioTransfer("peer-network-0123", "living-room-speaker", BusinessType(2), 41), 461440999);
    EXPECT_EQ(emulator_.Requests().size(), 0u);
    Script([](const DecodedRequest &) { return std::vector<int32_t>{-2, 41}; });
    EXPECT_EQ(g_audio.InitAudioTransfer("peer-network-0123", "living-room-speaker", BusinessType(3)),
              std::make_pair(-2, 41));
    EXPECT_EQ(OnlyRequest().Body(), R"("peer-network-0123" "living-room-speaker" 3)");
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYProxy", "enter, peerNetworkId=pee****123 devName=liv****ker"));
    ScriptTransportFailure();
    EXPECT_EQ(g_audio.InitAudioTransfer("p", "d", BusinessType(1)), std::make_pair(SEND_FAILED, 1007));
    RemoveService();
    EXPECT_EQ(g_audio.InitAudioTransfer(OVERSIZED, "d", BusinessType(1)), std::make_pair(1012, 1012));
}

// Init sends the id, the device and the callback; what it refuses sends nothing. It looks the service up before it
// writes (an unwritable device then gives 1012); the other surface requests are built whole before the lookup, so a
// field that cannot be written wins over the missing service.
TEST_F(ServiceTest, SurfaceInitLooksUpBeforeWritingAndTheOtherRequestsAfter)
{
    auto callback = sptr<HookRecorder>::MakeSptr();
    EXPECT_EQ(g_surface.InitSurfaceTransfer(1, nullptr, nullptr), 1018);
    EXPECT_FALSE(logs_.Find("remote device is null"));
    EXPECT_EQ(g_surface.InitSurfaceTransfer(1, nullptr, callback), 1001);
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYProxy", "remote device is null"));
    auto emptyBlock = Device();
    emptyBlock->dataLen = 0; // the block has no length of its own, and an empty one is refused
    EXPECT_EQ(g_surface.InitSurfaceTransfer(1, emptyBlock, callback), 1007);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYProxy", "remote device write failed"));
    EXPECT_EQ(emulator_.Requests().size(), 0u);
    Script([](const DecodedRequest &) { return std::vector<int32_t>{0}; });
    EXPECT_EQ(g_surface.InitSurfaceTransfer(9, Device(), callback), 0);
    DecodedRequest request = OnlyRequest();
    EXPECT_EQ(request.operation, "InitSurfaceTransfer");
    EXPECT_EQ(request.Body(), R"(9 "a" "bb" "ccc" "dddd" -7 5u x68656c6c6f <object>)");
    EXPECT_TRUE(std::get<sptr<IRemoteObject>>(*request.Find("callback"))->IsProxyObject());
    ScriptTransportFailure();
    EXPECT_EQ(g_surface.InitSurfaceTransfer(1, Device(), callback), SEND_FAILED);
    RemoveService();
    logs_.Clear();
    EXPECT_EQ(g_surface.InitSurfaceTransfer(1, emptyBlock, callback), 1012);
    EXPECT_FALSE(logs_.Find("remote device write failed"));
    logs_.Clear();
    EXPECT_EQ(g_surface.StartSurfaceTransfer(4, OVERSIZED, "second"), 1007);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYProxy", "write StartSurfaceTransfer param failed"));
    std::string text = OVERSIZED;
    EXPECT_EQ(g_surface.SetVirtualDisplayParam(4, 1, text), 1007);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYProxy", "SetVirtualDisplayParam write failed"));
    EXPECT_EQ(g_surface.SetScreenParam(4, CastSetScreenParamType(1), nullptr), 1007);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCallback", "parcel write faile!"));
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYProxy", "screen param write failed"));
    EXPECT_EQ(logs_.FunctionOf("screen param write failed"), "SetScreenParam");
    EXPECT_FALSE(logs_.Find("Tarnby dead"));
}

TEST_F(ServiceTest, DeathRecipientKeepsTheFirstCallbackAndForgetsItWithTheDeath)
{
    auto recipient = sptr<DeathRecipient>::MakeSptr();
    auto first = sptr<HookRecorder>::MakeSptr();
    auto second = sptr<HookRecorder>::MakeSptr();
    recipient->SetDeathRecipientid(5);
    recipient->SetCallback(first);
    recipient->SetCallback(second);
    recipient->OnRemoteDied(nullptr);
    recipient->SetCategory("custom");
    recipient->SetCallback(second); // the death forgot the callback and the id
    recipient->OnRemoteDied(nullptr);
    EXPECT_EQ(first->Calls(), std::vector<std::string>({"OnEvent(1012, 5, errorcode)"}));
    EXPECT_EQ(second->Calls(), std::vector<std::string>({"OnEvent(1012, 0, custom)"}));

    auto dropped = sptr<HookRecorder>::MakeSptr();
    recipient->SetCallback(dropped);
    recipient->DestroyData();
    ASSERT_NE(TarnbyProxy::GetInstance(), nullptr);
    uint32_t lookups = HostSamgr::GetSystemAbilityCallCount();
    recipient->OnRemoteDied(nullptr);
    EXPECT_TRUE(dropped->Calls().empty());
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYClient", "callback is nullptr."));
    // Every death drops the shared proxy: the next call looks the service up again.
    ASSERT_NE(TarnbyProxy::GetInstance(), nullptr);
    EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount(), lookups + 1);
}

// The surface front is a process-wide singleton whose recipient is registered at most once, so this runs in a new
// process of this binary; failures come back as its exit code and error output. A recipient asked for before there is
// a service registers later; the service's death then reaches the first callback only, and the next call finds the
// service again.
TEST_F(ServiceTest, DeathReachesTheFirstCallbackAndTheNextCallFindsTheServiceAgain)
{
    auto scenario = [this] {
        emulator_.Stop();
        EXPECT_FALSE(g_surface.SetDeathRecipient());
        EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYProxy", "Tarnby dead"));
        ASSERT_TRUE(emulator_.Start()); // nothing was created by the failed call, so a later one registers
        ASSERT_TRUE(g_surface.SetDeathRecipient());
        EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYProxy", "AddDeathRecipient result = 1."));
        Script([](const DecodedRequest &) { return std::vector<int32_t>{7}; });
        auto first = sptr<HookRecorder>::MakeSptr();
        auto second = sptr<HookRecorder>::MakeSptr();
        ASSERT_EQ(g_surface.InitSurfaceTransfer(3, Device(), first), 7);
        ASSERT_EQ(g_surface.InitSurfaceTransfer(3, Device(), second), 7);
        emulator_.Kill();
        ASSERT_TRUE(Eventually([this] { return logs_.Logged(LOG_INFO, "TRBYClient", "leave"); }));
        EXPECT_EQ(first->Calls(), std::vector<std::string>({"OnEvent(1012, 7, errorcode)"}));
        EXPECT_TRUE(second->Calls().empty());
        ASSERT_TRUE(emulator_.Restart());
        EXPECT_EQ(g_audio.StartAudioTransfer(3), 7); // the proxy was dropped: found again
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    emulator_.Stop(); // the child registers the service itself: a live registration keeps its name
    EXPECT_EXIT(
        {
            scenario();
            const testing::TestResult *result = testing::UnitTest::GetInstance()->current_test_info()->result();
            for (int i = 0; i < result->total_part_count(); ++i) {
                if (result->GetTestPartResult(i).failed()) {
                    std::fprintf(stderr, "%s\n", result->GetTestPartResult(i).message());
                }
            }
            std::_Exit(result->Failed() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}
} // namespace
} // namespace OHOS::TarnbyTest
