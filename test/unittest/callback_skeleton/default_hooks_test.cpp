// A callback that overrides nothing: its lifetime lines and what the default hooks log and answer.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "recording_callback.h"

namespace OHOS::TarnbyTest {
namespace {
using Tarnby::CallbackSkeleton;

class DefaultHooksTest : public testing::Test {
protected:
    // Delivers a 101 callback across the boundary and gives the int32 at the head of the reply.
    int32_t ReplyTo(const ParcelFill &fill)
    {
        MessageParcel reply;
        SendCallback(HostIpc::GetProxy(callback_), 101, fill, &reply);
        return ReplyHead(reply);
    }

    LogCapture logs_;
    sptr<CallbackSkeleton> callback_ = sptr<CallbackSkeleton>::MakeSptr();
};

TEST(CallbackLifetimeTest, CreateAndDestroyAreLogged)
{
    LogCapture logs;
    sptr<CallbackSkeleton> callback = sptr<CallbackSkeleton>::MakeSptr();
    EXPECT_TRUE(Logged(logs, LOG_INFO, CALLBACK_LABEL, "create callback = ohos.ITarnby.ITarnbyCallback"));
    EXPECT_FALSE(logs.Find("destroy callback = ohos.ITarnby.ITarnbyCallback"));
    callback = nullptr;
    EXPECT_TRUE(Logged(logs, LOG_INFO, CALLBACK_LABEL, "destroy callback = ohos.ITarnby.ITarnbyCallback"));
}

TEST_F(DefaultHooksTest, RawDataAndEventsAnswerZeroThroughDispatch)
{
    EXPECT_EQ(ReplyTo([](MessageParcel &data) {
                  WriteServiceCode(data, 102, 105);
                  data.WriteUint32(5);
                  data.WriteUint32(6);
                  data.WriteUint32(3);
                  data.WriteRawData("abc", 3);
              }),
              0);
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL, "code = 5"));
    EXPECT_EQ(LoggedFunction(logs_, "code = 5"), "OnDataCallback");

    EXPECT_EQ(ReplyTo([](MessageParcel &data) {
                  WriteServiceCode(data, 101, 106);
                  data.WriteUint32(7);
                  data.WriteUint32(8);
                  data.WriteString("x");
              }),
              0);
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL, "code = 7, eventId = 8"));
    EXPECT_EQ(LoggedFunction(logs_, "code = 7, eventId = 8"), "OnEvent");
}

TEST_F(DefaultHooksTest, DataChannelHooksDoNothing)
{
    EXPECT_EQ(ReplyTo([](MessageParcel &data) {
                  WriteServiceCode(data, 103, 3);
                  data.WriteInt32(1);
                  data.WriteUint32(2);
                  data.WriteUnpadBuffer("hi", 2);
              }),
              0);
}

TEST_F(DefaultHooksTest, DeviceConnectHooksAnswerZero)
{
    EXPECT_EQ(callback_->DisconnectDevice("key", 3), 0);
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL, "serviceType = 3"));
    EXPECT_EQ(callback_->StateNotify(1, {2}, {}), 0);
    EXPECT_EQ(callback_->OnServiceStateChanged("a", "b", "{}", 1, 2), 0);
    EXPECT_EQ(callback_->OnServiceStateChanged(Tarnby::ServiceStateChangeContext{}), 0);
    EXPECT_EQ(callback_->OnDisconnected("a", 1), 0);
    EXPECT_EQ(callback_->OnDisconnected(std::string("a"), std::string("b")), 0);
    EXPECT_EQ(callback_->ApplyResult("a", "b", "c", 1, 2), 0);
    EXPECT_EQ(callback_->Start("a", 1), 0);
    EXPECT_EQ(callback_->Stop("a", "b", "c", 1), 0);
    EXPECT_EQ(callback_->Pause("a", 1), 0);
    EXPECT_EQ(callback_->Resume("a", 1), 0);
    EXPECT_EQ(callback_->Degrade("a", 1), 0);
    EXPECT_EQ(callback_->Upgrade("a", 1), 0);
}
} // namespace
} // namespace OHOS::TarnbyTest
