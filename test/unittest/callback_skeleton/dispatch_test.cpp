// The entry of every callback: the token check, the request codes nobody handles, and the placeholder families.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ipc_types.h"
#include "recording_callback.h"

namespace OHOS::TarnbyTest {
namespace {
// A body that would reach a hook if the token were accepted: the receiver-ready path of the 101 family.
void ReceiverReadyBody(MessageParcel &data)
{
    WriteServiceCode(data, 103, 1);
    data.WriteInt32(5);
}

struct WrongToken {
    std::u16string token;
    std::string shownAs;
};

const WrongToken WRONG_TOKENS[] = {
    {u"ohos.ITarnby.ITarnbyService", "ohos.ITarnby.ITarnbyService"},
    {u"", ""},
    {u"ohos.ITarnby.ITarnbyCallbac", "ohos.ITarnby.ITarnbyCallbac"},
    {u"ohos.ITarnby.ITarnbyCallbackX", "ohos.ITarnby.ITarnbyCallbackX"},
    {u"OHOS.ITARNBY.ITARNBYCALLBACK", "OHOS.ITARNBY.ITARNBYCALLBACK"},
    {std::u16string(u"ohos.ITarnby.ITarnbyCallback\0", 29), "ohos.ITarnby.ITarnbyCallback"},
};

TEST_F(CallbackTest, WrongTokenGives1010AndAnEmptyReply)
{
    for (const WrongToken &wrong : WRONG_TOKENS) {
        SCOPED_TRACE("token " + wrong.shownAs);
        logs_.Clear();
        MessageParcel data;
        MessageParcel reply;
        StartParcel(data, wrong.token);
        ReceiverReadyBody(data);
        EXPECT_EQ(CallDirect(101, data, reply), 1010);
        EXPECT_EQ(reply.GetDataSize(), 0u);
        EXPECT_TRUE(
            Logged(logs_, LOG_ERROR, CALLBACK_LABEL,
                   "receive wrong interface token = " + wrong.shownAs + ", expect ohos.ITarnby.ITarnbyCallback"));
    }
    EXPECT_TRUE(callback_->Hooks().empty());
}

TEST_F(CallbackTest, WrongTokenIsRefusedBeforeTheCodeIsLookedAt)
{
    for (uint32_t code : {1u, 2u, 101u, 501u, 601u}) {
        SCOPED_TRACE("code " + std::to_string(code));
        MessageParcel data;
        MessageParcel reply;
        StartParcel(data, u"ohos.ITarnby.ITarnbyService");
        ReceiverReadyBody(data);
        EXPECT_EQ(CallDirect(code, data, reply), 1010);
        EXPECT_EQ(reply.GetDataSize(), 0u);
    }
    EXPECT_FALSE(logs_.Contains("revice unknown code"));
    EXPECT_FALSE(logs_.Contains("serviceType ="));
    EXPECT_TRUE(callback_->Hooks().empty());
}

TEST_F(CallbackTest, WrongTokenAcrossTheBoundary)
{
    MessageParcel data;
    MessageParcel reply;
    StartParcel(data, u"ohos.ITarnby.ITarnbyService");
    ReceiverReadyBody(data);
    MessageOption option(MessageOption::TF_SYNC);
    EXPECT_EQ(HostIpc::GetProxy(callback_)->SendRequest(101, data, reply, option), 1010);
    EXPECT_EQ(reply.GetDataSize(), 0u);
    EXPECT_TRUE(callback_->Hooks().empty());
}

TEST_F(CallbackTest, UnknownCodesGoToThePlatformDefault)
{
    for (uint32_t code : {0u, 2u, 100u, 102u, 500u, 602u, 0x00FFFFFFu}) {
        SCOPED_TRACE("code " + std::to_string(code));
        logs_.Clear();
        MessageParcel data;
        MessageParcel reply;
        StartParcel(data);
        ReceiverReadyBody(data);
        EXPECT_EQ(CallDirect(code, data, reply), IPC_STUB_UNKNOW_TRANS_ERR);
        EXPECT_EQ(reply.GetDataSize(), 0u);
        EXPECT_TRUE(Logged(logs_, LOG_ERROR, CALLBACK_LABEL, "revice unknown code, code is " + std::to_string(code)));
    }
    EXPECT_TRUE(callback_->Hooks().empty());

    MessageParcel reply;
    EXPECT_EQ(Deliver(2, reply, ReceiverReadyBody), IPC_STUB_UNKNOW_TRANS_ERR);
    EXPECT_TRUE(callback_->Hooks().empty());
}

struct Placeholder {
    uint32_t code;
    const char *handler;
};

// Each reads its one sub code, logs it and answers 0 without writing a reply; the rest of the body stays unread.
TEST_F(CallbackTest, PlaceholderFamiliesReadOneSubCode)
{
    const Placeholder placeholders[] = {
        {1, "GetCollaborationServiceCallback"},
        {201, "DevicePickerCallback"},
        {301, "CommonDataChannelCallback"},
        {401, "LumetDownMessageCallback"},
    };
    for (const Placeholder &placeholder : placeholders) {
        SCOPED_TRACE(placeholder.handler);
        logs_.Clear();
        MessageParcel data;
        MessageParcel reply;
        StartParcel(data);
        data.WriteUint32(77);
        data.WriteInt32(-9);
        size_t afterSubCode = data.GetDataSize() - sizeof(int32_t);
        EXPECT_EQ(CallDirect(placeholder.code, data, reply), 0);
        EXPECT_EQ(reply.GetDataSize(), 0u);
        EXPECT_EQ(data.GetReadPosition(), afterSubCode);
        EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL, "subCode is 77"));
        EXPECT_EQ(LoggedFunction(logs_, "subCode is 77"), placeholder.handler);
        EXPECT_FALSE(logs_.Contains("serviceType ="));
    }
    EXPECT_TRUE(callback_->Hooks().empty());
}
} // namespace
} // namespace OHOS::TarnbyTest
