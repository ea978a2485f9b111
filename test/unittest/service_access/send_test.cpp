// The three send operations against the fake service: request codes, the envelope as the service reads it, the
// options passed through, and the mapping of every failure to the proxy's own codes.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "log_expect.h"
#include "service_test_base.h"
#include "tarnby_proxy.h"

namespace OHOS::Tarnby {
namespace {
using TarnbyTest::Logged;
using TarnbyTest::LoggedFunction;
using TarnbyTest::PROXY_LABEL;
using TarnbyTest::RequestEnvelope;
using TarnbyTest::SERVICE_TOKEN;

using SendOperation = int32_t (ITarnbyService::*)(MessageParcel &, MessageParcel &, MessageOption &);

struct SendCase {
    const char *name;
    SendOperation operation;
    uint32_t requestCode;
};

// Test names and failure messages show the operation, not the bytes of the case.
void PrintTo(const SendCase &testCase, std::ostream *out)
{
    *out << testCase.name;
}

const SendCase SEND_CASES[] = {
    {"CollaborationToDeviceEvent", &ITarnbyService::CollaborationToDeviceEvent, 101},
    {"VeskorEvent", &ITarnbyService::VeskorEvent, 501},
    {"SurfaceTransferEvent", &ITarnbyService::SurfaceTransferEvent, 601},
};

constexpr int32_t BODY_MARKER = 0x5EED;

class SendOperationTest : public TarnbyTest::ServiceTestBase, public testing::WithParamInterface<SendCase> {
protected:
    // Sends an envelope with distinct values in all five fields and a marker as the body.
    int32_t Send(const sptr<ITarnbyService> &proxy, MessageParcel &reply, int waitTime = 8)
    {
        MessageParcel data;
        EXPECT_EQ(TarnbyProxy::BuildCollaborationServiceCode(data, 103, 25, 3, 4, 5), 0);
        EXPECT_TRUE(data.WriteInt32(BODY_MARKER));
        MessageOption option(MessageOption::TF_SYNC, waitTime);
        return ((*proxy).*GetParam().operation)(data, reply, option);
    }
};

TEST_P(SendOperationTest, EnvelopeArrivesWithTheRequestCodeAndOption)
{
    std::vector<int32_t> bodies;
    service_->OnAny([&bodies](const RequestEnvelope &, MessageParcel &data, MessageParcel &reply) {
        bodies.push_back(data.ReadInt32());
        reply.WriteInt32(-4242);
        return 0;
    });
    sptr<ITarnbyService> proxy = TarnbyProxy::GetInstance();
    ASSERT_NE(proxy, nullptr);

    for (int waitTime : {8, 3}) {
        MessageParcel reply;
        ASSERT_EQ(Send(proxy, reply, waitTime), 0);
        EXPECT_EQ(reply.ReadInt32(), -4242);
    }

    std::vector<RequestEnvelope> requests = service_->Requests();
    ASSERT_EQ(requests.size(), 2u);
    for (const RequestEnvelope &request : requests) {
        EXPECT_EQ(request.code, GetParam().requestCode);
        EXPECT_EQ(request.token, SERVICE_TOKEN);
        EXPECT_EQ(request.serviceType, 103u);
        EXPECT_EQ(request.subServiceType, 25u);
        EXPECT_EQ(request.operateCode, 3u);
        EXPECT_EQ(request.subOperateCode, 4u);
        EXPECT_EQ(request.command, 5u);
        EXPECT_EQ(request.flags, 0);
    }
    EXPECT_EQ(requests[0].waitTime, 8);
    EXPECT_EQ(requests[1].waitTime, 3);
    EXPECT_EQ(bodies, (std::vector<int32_t>{BODY_MARKER, BODY_MARKER}));
    EXPECT_TRUE(Logged(logs_, LOG_INFO, PROXY_LABEL, "enter"));
    EXPECT_EQ(LoggedFunction(logs_, "enter"), GetParam().name);
}

// The service's status reaches the proxy only with an empty reply; whatever it is, the caller sees 1008.
TEST_P(SendOperationTest, AnyPlatformErrorBecomes1008)
{
    sptr<ITarnbyService> proxy = TarnbyProxy::GetInstance();
    ASSERT_NE(proxy, nullptr);
    for (int error : {-1, 1, 5, 32, 305, 29189, INT_MIN, INT_MAX}) {
        SCOPED_TRACE("platform error " + std::to_string(error));
        logs_.Clear();
        service_->OnAny([error](const RequestEnvelope &, MessageParcel &, MessageParcel &) { return error; });
        MessageParcel reply;
        EXPECT_EQ(Send(proxy, reply), 1008);
        std::string line = "failed to SendRequest, error: " + std::to_string(error);
        EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, line));
        EXPECT_EQ(LoggedFunction(logs_, line), GetParam().name);
    }
}

TEST_P(SendOperationTest, DeadServiceGives1008)
{
    sptr<ITarnbyService> proxy = TarnbyProxy::GetInstance();
    ASSERT_NE(proxy, nullptr);
    service_->Kill();
    MessageParcel reply;
    EXPECT_EQ(Send(proxy, reply), 1008);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "failed to SendRequest, error: 32"));
    EXPECT_EQ(service_->RequestCount(), 0u);
}

TEST_P(SendOperationTest, ProxyWithoutRemoteGives1009)
{
    sptr<ITarnbyService> proxy = sptr<TarnbyProxy>::MakeSptr(nullptr);
    MessageParcel reply;
    EXPECT_EQ(Send(proxy, reply), 1009);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "Remote is nullptr"));
    EXPECT_EQ(LoggedFunction(logs_, "Remote is nullptr"), GetParam().name);
    EXPECT_FALSE(logs_.Contains("failed to SendRequest"));
    EXPECT_EQ(reply.GetDataSize(), 0u);
}

INSTANTIATE_TEST_SUITE_P(EachOperation, SendOperationTest, testing::ValuesIn(SEND_CASES),
                         [](const testing::TestParamInfo<SendCase> &info) { return std::string(info.param.name); });
} // namespace
} // namespace OHOS::Tarnby
