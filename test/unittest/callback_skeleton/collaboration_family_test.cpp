// The collaboration-to-device family (request code 101): data channel, events and which service codes answer what.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "host_ipc.h"
#include "recording_callback.h"
#include "tarnby_proxy.h"

namespace OHOS::TarnbyTest {
namespace {
constexpr uint32_t CODE = 101;

using Hooks = std::vector<std::string>;

TEST_F(CallbackTest, ReceiverReadyOnAnIpcThreadWithTheCallerLogged)
{
    HostIpc::SetThreadIdentity(4321, 8765);
    MessageParcel reply;
    Deliver(CODE, reply, [](MessageParcel &data) {
        WriteServiceCode(data, 103, 1, 21, 0xFFFFFFFF, 23);
        data.WriteInt32(-7);
    });
    HostIpc::ClearThreadIdentity();

    EXPECT_EQ(ReplyHead(reply), 0);
    EXPECT_EQ(callback_->Hooks(), Hooks{"OnDataReceiverReady"});
    EXPECT_EQ(callback_->ReadyChannel(), -7);
    EXPECT_NE(callback_->HookThread(), std::this_thread::get_id());
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL, "pid = 4321 , pid = 8765"));
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL,
                       "serviceType = 103, subServiceType = 1, operateCode = 21, subOperateCode = -1, command = 23"));
}

TEST_F(CallbackTest, DataReceivedHandsOverTheBytes)
{
    const std::string bytes("hello\0world", 11);
    MessageParcel reply;
    Deliver(CODE, reply, [&bytes](MessageParcel &data) {
        WriteServiceCode(data, 103, 3);
        data.WriteInt32(9);
        data.WriteUint32(static_cast<uint32_t>(bytes.size()));
        data.WriteUnpadBuffer(bytes.data(), bytes.size());
    });

    EXPECT_EQ(ReplyHead(reply), 0);
    EXPECT_EQ(callback_->Hooks(), Hooks{"OnDataReceived"});
    RecordingCallback::Received received = callback_->LastReceived();
    EXPECT_EQ(received.channel, 9);
    EXPECT_FALSE(received.isNull);
    EXPECT_EQ(received.len, 11u);
    EXPECT_EQ(received.bytes, bytes);
}

TEST_F(CallbackTest, DataReceivedWithoutItsBytesGivesNullAndTheLength)
{
    MessageParcel reply;
    Deliver(CODE, reply, [](MessageParcel &data) {
        WriteServiceCode(data, 103, 3);
        data.WriteInt32(4);
        data.WriteUint32(16);
    });

    EXPECT_EQ(ReplyHead(reply), 0);
    RecordingCallback::Received received = callback_->LastReceived();
    EXPECT_EQ(callback_->Hooks(), Hooks{"OnDataReceived"});
    EXPECT_EQ(received.channel, 4);
    EXPECT_TRUE(received.isNull);
    EXPECT_EQ(received.len, 16u);
}

TEST_F(CallbackTest, OtherDataChannelSubTypesStillAnswerZero)
{
    for (uint32_t subServiceType : {0u, 2u, 4u, 105u}) {
        SCOPED_TRACE("subServiceType " + std::to_string(subServiceType));
        MessageParcel data;
        MessageParcel reply;
        StartParcel(data);
        WriteServiceCode(data, 103, subServiceType);
        data.WriteInt32(3);
        EXPECT_EQ(CallDirect(CODE, data, reply), 0);
        EXPECT_EQ(ReplyHead(reply), 0);
    }
    EXPECT_TRUE(callback_->Hooks().empty());
}

// Events are 103, 104 and 106: the hook's result is both the status and the head of the reply.
TEST_F(CallbackTest, EventsReachOnEventAndWriteItsResult)
{
    callback_->SetResults(0, -33);
    for (uint32_t subServiceType : {103u, 104u, 106u}) {
        SCOPED_TRACE("subServiceType " + std::to_string(subServiceType));
        MessageParcel data;
        MessageParcel reply;
        StartParcel(data);
        WriteServiceCode(data, 101, subServiceType);
        data.WriteUint32(0xA1);
        data.WriteUint32(subServiceType * 10);
        data.WriteString("{\"k\":1}");
        EXPECT_EQ(CallDirect(CODE, data, reply), -33);
        EXPECT_EQ(ReplyHead(reply), -33);
        RecordingCallback::Event event = callback_->LastEvent();
        EXPECT_EQ(event.code, 0xA1u);
        EXPECT_EQ(event.eventId, subServiceType * 10);
        EXPECT_EQ(event.extra, "{\"k\":1}");
    }
    EXPECT_EQ(callback_->Hooks(), (Hooks{"OnEvent", "OnEvent", "OnEvent"}));

    MessageParcel reply;
    Deliver(CODE, reply, [](MessageParcel &data) {
        WriteServiceCode(data, 101, 104);
        data.WriteUint32(1);
        data.WriteUint32(2);
        data.WriteString("");
    });
    EXPECT_EQ(ReplyHead(reply), -33);
    EXPECT_EQ(callback_->LastEvent().extra, "");
}

// Everything else of the family answers 0 and leaves the reply empty, even with a well-formed body behind it.
TEST_F(CallbackTest, ServiceCodesWithoutAHandlerAnswerZeroAndWriteNothing)
{
    const std::pair<uint32_t, uint32_t> silent[] = {
        {101, 105}, {101, 102}, {101, 107}, {101, 0}, {101, 0xFFFFFFFF}, {102, 104}, {102, 106},
        {102, 0},   {102, 103}, {0, 1},     {100, 1}, {104, 1},          {105, 3},   {501, 502},
    };
    for (const auto &[serviceType, subServiceType] : silent) {
        SCOPED_TRACE("service code " + std::to_string(serviceType) + "/" + std::to_string(subServiceType));
        MessageParcel data;
        MessageParcel reply;
        StartParcel(data);
        WriteServiceCode(data, serviceType, subServiceType);
        data.WriteUint32(1);
        data.WriteUint32(2);
        data.WriteUint32(4);
        const char raw[4] = {1, 2, 3, 4};
        data.WriteRawData(raw, sizeof(raw));
        EXPECT_EQ(CallDirect(CODE, data, reply), 0);
        EXPECT_EQ(reply.GetDataSize(), 0u);
    }
    EXPECT_TRUE(callback_->Hooks().empty());
}

// A request envelope read back by the callback side after its token gives the same five values in order.
TEST_F(CallbackTest, ServiceCodeReaderMatchesTheEnvelopeWriter)
{
    MessageParcel data;
    ASSERT_EQ(Tarnby::TarnbyProxy::BuildCollaborationServiceCode(data, 1, 2, 3, 4, 5), 0);
    data.ReadInterfaceToken();
    EXPECT_EQ(callback_->ReadCollaborationServiceCode(data), 2u);
    EXPECT_EQ(data.GetReadPosition(), data.GetDataSize());
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL,
                       "serviceType = 1, subServiceType = 2, operateCode = 3, subOperateCode = 4, command = 5"));
}

TEST_F(CallbackTest, DataChannelPathCallableByItself)
{
    MessageParcel data;
    data.WriteInt32(12);
    callback_->ProcessCollaborationAbility(1, data);
    EXPECT_EQ(callback_->ReadyChannel(), 12);
    EXPECT_EQ(callback_->Hooks(), Hooks{"OnDataReceiverReady"});
}
} // namespace
} // namespace OHOS::TarnbyTest
