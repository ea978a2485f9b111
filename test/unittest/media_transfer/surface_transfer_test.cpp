// The surface front against the fake service: every request as the service decodes it, the records inside them, the
// callback handed to the service, and each of the front's own failures with its code and line.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "host_samgr.h"
#include "log_expect.h"
#include "media_test_support.h"
#include "surface_transfer_ability.h"

namespace OHOS::Tarnby {
namespace {
using namespace TarnbyTest;

constexpr uint32_t SURFACE_TRANSFER_EVENT = 601;

class SurfaceTransferTest : public MediaServiceTest {
protected:
    static SurfaceTransferAbility &Surface()
    {
        return SurfaceTransferAbility::GetInstance();
    }
};

TEST_F(SurfaceTransferTest, InitSendsTheIdTheDeviceAndTheCallbackObject)
{
    requests_->SetReply(SURFACE_SERVICE_TYPE, 17, {0});
    auto callback = sptr<EventRecorder>::MakeSptr(5);
    EXPECT_EQ(Surface().InitSurfaceTransfer(9, MakeDevice(), callback), 0);

    DecodedRequest request = requests_->Only();
    EXPECT_TRUE(EnvelopeIs(request.envelope, SURFACE_TRANSFER_EVENT, SURFACE_SERVICE_TYPE, 17));
    EXPECT_EQ(request.fields, (std::vector<WireValue>{I32(9), Str("a"), Str("bb"), Str("ccc"), Str("dddd"), I32(-7),
                                                      U32(5), Buf(DEVICE_BLOCK), RemoteObject()}));
    EXPECT_EQ(request.unreadBytes, 0u);

    // The service holds a proxy to the caller's callback and calls it back through the surface family.
    ASSERT_EQ(request.objects.size(), 1u);
    ASSERT_NE(request.objects[0], nullptr);
    EXPECT_TRUE(request.objects[0]->IsProxyObject());
    MessageParcel reply;
    int status = SendCallback(
        request.objects[0], SURFACE_TRANSFER_EVENT,
        [](MessageParcel &data) {
            for (uint32_t field : {105u, 40001u, 0u, 0u, 0u}) {
                data.WriteUint32(field);
            }
            data.WriteString("casting");
        },
        &reply);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(reply.ReadInt32(), 5);
    ASSERT_EQ(callback->Events().size(), 1u);
    EXPECT_EQ(callback->Events()[0].code, 0u);
    EXPECT_EQ(callback->Events()[0].eventId, 40001u);
    EXPECT_EQ(callback->Events()[0].extra, "casting");
}

struct SurfaceCase {
    const char *name;
    uint32_t subServiceType;
    std::function<int32_t()> call;
    std::vector<WireValue> fields;
};

// Test names and failure messages show the operation, not the bytes of the case.
void PrintTo(const SurfaceCase &testCase, std::ostream *out)
{
    *out << testCase.name;
}

std::string g_displayText = "display-text";

const SurfaceCase SURFACE_CASES[] = {
    {"DeInitSurfaceTransfer",
     18,
     [] { return SurfaceTransferAbility::GetInstance().DeInitSurfaceTransfer(4); },
     {I32(4)}},
    {"StartSurfaceTransfer",
     19,
     [] { return SurfaceTransferAbility::GetInstance().StartSurfaceTransfer(4, "first", "second"); },
     {Str("first"), Str("second"), I32(4)}},
    {"StopSurfaceTransfer", 20, [] { return SurfaceTransferAbility::GetInstance().StopSurfaceTransfer(4); }, {I32(4)}},
    {"CastOperation",
     21,
     [] { return SurfaceTransferAbility::GetInstance().CastOperation(4, static_cast<CastOperationType>(-6)); },
     {I32(4), I32(-6)}},
    {"SetScreenParam",
     22,
     [] {
         auto param = std::make_shared<ScreenParam>(ScreenParam{11, 12, 13, 14, 15});
         return SurfaceTransferAbility::GetInstance().SetScreenParam(4, static_cast<CastSetScreenParamType>(2), param);
     },
     {I32(4), I32(2), U32(11), U32(12), U32(13), U32(14), U32(15)}},
    {"SetVirtualDisplayParam",
     29,
     [] { return SurfaceTransferAbility::GetInstance().SetVirtualDisplayParam(4, 99, g_displayText); },
     {I32(4), U32(99), Str("display-text")}},
};

class SurfaceRequestTest : public SurfaceTransferTest, public testing::WithParamInterface<SurfaceCase> {};

TEST_P(SurfaceRequestTest, SendsItsFieldsInOrderAndReturnsTheAnswer)
{
    requests_->SetReply(SURFACE_SERVICE_TYPE, GetParam().subServiceType, {-31});
    EXPECT_EQ(GetParam().call(), -31);

    DecodedRequest request = requests_->Only();
    EXPECT_TRUE(EnvelopeIs(request.envelope, SURFACE_TRANSFER_EVENT, SURFACE_SERVICE_TYPE, GetParam().subServiceType));
    EXPECT_EQ(request.fields, GetParam().fields);
    EXPECT_EQ(request.unreadBytes, 0u);
    EXPECT_EQ(LoggedFunction(logs_, "enter"), GetParam().name);
    EXPECT_EQ(LoggedFunction(logs_, "leave"), GetParam().name);
}

TEST_P(SurfaceRequestTest, WithoutServiceReturns1012)
{
    HostSamgr::Reset();
    EXPECT_EQ(GetParam().call(), 1012);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "Tarnby dead"));
    EXPECT_EQ(LoggedFunction(logs_, "Tarnby dead"), GetParam().name);
}

TEST_P(SurfaceRequestTest, SendFailureReturnsTheFrontsCode)
{
    service_->On(SURFACE_SERVICE_TYPE, GetParam().subServiceType,
                 [](const RequestEnvelope &, MessageParcel &, MessageParcel &) { return ERR_INVALID_DATA; });
    EXPECT_EQ(GetParam().call(), SEND_FAILED);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "send request to Tarnby failed"));
    EXPECT_FALSE(logs_.Find("leave"));
}

INSTANTIATE_TEST_SUITE_P(Surface, SurfaceRequestTest, testing::ValuesIn(SURFACE_CASES),
                         [](const testing::TestParamInfo<SurfaceCase> &info) { return std::string(info.param.name); });

// These requests are built whole before the service is looked up: a field that cannot be written wins over a
// missing service.
TEST_F(SurfaceTransferTest, AFieldThatCannotBeWrittenIsReportedBeforeTheMissingService)
{
    HostSamgr::Reset();
    EXPECT_EQ(Surface().StartSurfaceTransfer(4, OVERSIZED, "second"), 1007);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "write StartSurfaceTransfer param failed"));
    std::string text = OVERSIZED;
    EXPECT_EQ(Surface().SetVirtualDisplayParam(4, 1, text), 1007);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "SetVirtualDisplayParam write failed"));
    EXPECT_EQ(Surface().SetScreenParam(4, CastSetScreenParamType(1), nullptr), 1007);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, CALLBACK_LABEL, "parcel write faile!"));
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "screen param write failed"));
    EXPECT_FALSE(logs_.Find("Tarnby dead"));
    EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount(), 0u);
}

TEST_F(SurfaceTransferTest, InitChecksTheCallbackBeforeTheDevice)
{
    EXPECT_EQ(Surface().InitSurfaceTransfer(1, nullptr, nullptr), 1018);
    EXPECT_TRUE(Logged(logs_, LOG_INFO, PROXY_LABEL, "remote callback is null"));
    EXPECT_FALSE(logs_.Find("remote device is null"));
    EXPECT_EQ(Surface().InitSurfaceTransfer(1, nullptr, sptr<EventRecorder>::MakeSptr()), 1001);
    EXPECT_TRUE(Logged(logs_, LOG_INFO, PROXY_LABEL, "remote device is null"));
    EXPECT_EQ(service_->RequestCount(), 0u);
}

TEST_F(SurfaceTransferTest, InitLooksTheServiceUpBeforeWritingTheDevice)
{
    auto unwritable = MakeDevice();
    unwritable->dataLen = 0; // the block is written without a length of its own, and an empty one is refused
    HostSamgr::Reset();
    EXPECT_EQ(Surface().InitSurfaceTransfer(1, unwritable, sptr<EventRecorder>::MakeSptr()), 1012);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "Tarnby dead"));
    EXPECT_FALSE(logs_.Find("remote device write failed"));
}

TEST_F(SurfaceTransferTest, InitWithAnUnwritableDeviceSendsNothing)
{
    auto emptyBlock = MakeDevice();
    emptyBlock->dataLen = 0;
    EXPECT_EQ(Surface().InitSurfaceTransfer(1, emptyBlock, sptr<EventRecorder>::MakeSptr()), 1007);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, CALLBACK_LABEL, "parcel write faile!"));
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "remote device write failed"));

    auto oversized = MakeDevice();
    oversized->fourthText = OVERSIZED;
    EXPECT_EQ(Surface().InitSurfaceTransfer(1, oversized, sptr<EventRecorder>::MakeSptr()), 1007);
    EXPECT_EQ(service_->RequestCount(), 0u);
}

TEST_F(SurfaceTransferTest, InitSendFailureReturnsTheFrontsCode)
{
    service_->On(SURFACE_SERVICE_TYPE, 17,
                 [](const RequestEnvelope &, MessageParcel &, MessageParcel &) { return ERR_INVALID_DATA; });
    EXPECT_EQ(Surface().InitSurfaceTransfer(1, MakeDevice(), sptr<EventRecorder>::MakeSptr()), SEND_FAILED);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "send request to Tarnby failed"));
}

TEST_F(SurfaceTransferTest, SurfaceCallbackOnlyLogsItsEvents)
{
    auto callback = sptr<SurfaceTransferCallback>::MakeSptr();
    std::string data = "payload";
    EXPECT_EQ(callback->OnEvent(7, 40002, data), 0);
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL, "code = 7, eventId = 40002"));
    EXPECT_EQ(data, "payload");
}
} // namespace
} // namespace OHOS::Tarnby
