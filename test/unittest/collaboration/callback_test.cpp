// The two callbacks the service calls: the inner callback that takes a start's answer, and the session callback that
// routes session data and events to the caller's hooks. Requests are built by hand in wire order.
#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "collaboration_fixture.h"

namespace OHOS::TarnbyTest {
namespace {
using CollabCallbackTest = CollaborationTest;
constexpr int32_t DATA_MESSAGE = 104;
constexpr int32_t EVENT_MESSAGE = 105;

struct HookCall {
    std::string hook;
    int32_t sessionId = 0;
    bool nullData = false;
    std::vector<uint8_t> bytes; // copied during the call: the pointer is valid only then
    uint32_t dataLen = 0;
};

class RecordingCallback : public Tarnby::CollabAbilityCallback {
public:
    void OnCollaborationData(int32_t sessionId, const uint8_t *data, uint32_t dataLen) override
    {
        Record("data", sessionId, data, dataLen);
    }
    void OnCollaborationEvent(int32_t sessionId, const uint8_t *data, uint32_t dataLen) override
    {
        Record("event", sessionId, data, dataLen);
    }
    std::vector<HookCall> Calls()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return calls_;
    }

private:
    void Record(const char *hook, int32_t sessionId, const uint8_t *data, uint32_t dataLen)
    {
        HookCall call{hook, sessionId, data == nullptr, {}, dataLen};
        if (data != nullptr) {
            call.bytes.assign(data, data + dataLen);
        }
        std::lock_guard<std::mutex> lock(mutex_);
        calls_.push_back(std::move(call));
    }

    std::mutex mutex_;
    std::vector<HookCall> calls_;
};

std::vector<uint8_t> BytesOf(const std::vector<char> &bytes)
{
    return std::vector<uint8_t>(bytes.begin(), bytes.end());
}

// A session message as the service sends it: type, session id, length, then `bytes` unpadded (none when empty).
int SendMessage(const sptr<IRemoteObject> &callback, int32_t type, int32_t sessionId, uint32_t dataLen,
                const std::vector<char> &bytes, uint32_t code = START_ANSWER_CODE)
{
    return SendCallback(callback, code, [&](MessageParcel &parcel) {
        parcel.SetMaxCapacity(2 * MAX_DATA_LEN);
        parcel.WriteInt32(type);
        parcel.WriteInt32(sessionId);
        parcel.WriteUint32(dataLen);
        if (!bytes.empty()) {
            parcel.WriteUnpadBuffer(bytes.data(), bytes.size());
        }
    });
}

TEST_F(CollabCallbackTest, InnerCallbackTakesTheAnswer)
{
    auto inner = sptr<Tarnby::CollabAbilityInnerCallback>::MakeSptr();

    EXPECT_EQ(SendAnswer(inner->AsObject(), {-4, 4096}), 0);
    EXPECT_TRUE(Logged("OnStartCollaboration result = -4, id = 4096", LOG_INFO));
}

TEST_F(CollabCallbackTest, InnerCallbackRefusesAWrongTokenOrCode)
{
    auto inner = sptr<Tarnby::CollabAbilityInnerCallback>::MakeSptr();

    EXPECT_EQ(SendAnswerWithToken(inner->AsObject(), SERVICE_TOKEN, {1, 2}), 1010);
    EXPECT_TRUE(Logged(WRONG_TOKEN_LINE, LOG_ERROR, "TRBYCallback"));
    EXPECT_EQ(SendAnswer(inner->AsObject(), {1, 2}, 104), 1001);
    EXPECT_EQ(SendAnswer(inner->AsObject(), {1, 2}, 101), 1001);
    EXPECT_TRUE(Logged("collaboration ability inner callback code is 104", LOG_ERROR));
    EXPECT_TRUE(Logged("collaboration ability inner callback code is 101", LOG_ERROR));
    EXPECT_FALSE(logs_.Find("OnStartCollaboration result = 1, id = 2"));
}

TEST_F(CollabCallbackTest, DataAndEventsReachTheirHooks)
{
    auto callback = sptr<RecordingCallback>::MakeSptr();
    const std::vector<char> data = {'p', 'a', 'y', 'l', 'o', 'a', 'd'};
    const std::vector<char> event = {'e', 'v', 't'};

    EXPECT_EQ(SendMessage(callback->AsObject(), DATA_MESSAGE, 77, data.size(), data), 0);
    EXPECT_EQ(SendMessage(callback->AsObject(), EVENT_MESSAGE, -78, event.size(), event), 0);
    auto calls = callback->Calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].hook, "data");
    EXPECT_EQ(calls[0].sessionId, 77);
    EXPECT_EQ(calls[0].dataLen, 7u);
    EXPECT_EQ(calls[0].bytes, BytesOf(data));
    EXPECT_EQ(calls[1].hook, "event");
    EXPECT_EQ(calls[1].sessionId, -78);
    EXPECT_EQ(calls[1].dataLen, 3u);
    EXPECT_EQ(calls[1].bytes, BytesOf(event));
    EXPECT_TRUE(Logged("data len 7", LOG_INFO));
    EXPECT_TRUE(Logged("collaboration ability callback type is 105", LOG_INFO));
    EXPECT_TRUE(Logged("enter", LOG_ERROR));
}

TEST_F(CollabCallbackTest, EmptyMessageReachesItsHookWithLengthZero)
{
    auto callback = sptr<RecordingCallback>::MakeSptr();

    EXPECT_EQ(SendMessage(callback->AsObject(), DATA_MESSAGE, 5, 0, {}), 0);
    auto calls = callback->Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].hook, "data");
    EXPECT_EQ(calls[0].sessionId, 5);
    EXPECT_EQ(calls[0].dataLen, 0u);
    EXPECT_TRUE(calls[0].bytes.empty());
}

TEST_F(CollabCallbackTest, LargestMessageIsAcceptedAndOneByteMoreIsRefused)
{
    auto callback = sptr<RecordingCallback>::MakeSptr();
    const std::vector<char> largest = Pattern(MAX_DATA_LEN, 11);

    EXPECT_EQ(SendMessage(callback->AsObject(), EVENT_MESSAGE, 9, MAX_DATA_LEN, largest), 0);
    EXPECT_EQ(SendMessage(callback->AsObject(), EVENT_MESSAGE, 9, MAX_DATA_LEN + 1, {}), 1001);
    EXPECT_TRUE(Logged("data len 4190209 invalid", LOG_ERROR));
    auto calls = callback->Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].dataLen, MAX_DATA_LEN);
    EXPECT_TRUE(calls[0].bytes == BytesOf(largest));
}

TEST_F(CollabCallbackTest, MessagesThatAreNotForAHookCallNone)
{
    auto callback = sptr<RecordingCallback>::MakeSptr();
    const std::vector<char> bytes = {'x', 'y'};

    EXPECT_EQ(SendMessage(callback->AsObject(), 106, 1, bytes.size(), bytes), 0); // an unknown type is ignored
    EXPECT_EQ(SendMessage(callback->AsObject(), DATA_MESSAGE, 1, bytes.size(), bytes, 104), 1001);
    EXPECT_TRUE(Logged("collaboration ability callback code is 104", LOG_ERROR));
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    data.WriteInterfaceToken(SERVICE_TOKEN);
    data.WriteInt32(DATA_MESSAGE);
    data.WriteInt32(1);
    data.WriteUint32(bytes.size());
    data.WriteUnpadBuffer(bytes.data(), bytes.size());
    EXPECT_EQ(callback->AsObject()->SendRequest(START_ANSWER_CODE, data, reply, option), 1010);
    EXPECT_TRUE(Logged(WRONG_TOKEN_LINE, LOG_ERROR, "TRBYCallback"));
    EXPECT_TRUE(callback->Calls().empty());
}

TEST_F(CollabCallbackTest, ShortBodyPassesANullBufferWithItsLength)
{
    auto callback = sptr<RecordingCallback>::MakeSptr();
    const std::vector<char> fewer = {'a', 'b', 'c', 'd'};

    EXPECT_EQ(SendMessage(callback->AsObject(), DATA_MESSAGE, 2, 100, fewer), 0);
    auto calls = callback->Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_TRUE(calls[0].nullData);
    EXPECT_EQ(calls[0].dataLen, 100u);
}

TEST_F(CollabCallbackTest, RegisteredCallbackReceivesTheServiceMessages)
{
    ScriptSessions(0);
    auto callback = sptr<RecordingCallback>::MakeSptr();
    ASSERT_EQ(Ability().RegisterCollaborationCallback(PeerAbility(), callback), 0);
    sptr<IRemoteObject> held = Only(SessionRequests()).callback; // what the service keeps under the target
    ASSERT_NE(held, nullptr);
    const std::vector<char> data = Pattern(64, 2);
    const std::vector<char> event = {'u', 'p'};

    EXPECT_EQ(SendMessage(held, DATA_MESSAGE, 31, data.size(), data), 0);
    EXPECT_EQ(SendMessage(held, EVENT_MESSAGE, 31, event.size(), event), 0);
    auto calls = callback->Calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].hook, "data");
    EXPECT_EQ(calls[0].bytes, BytesOf(data));
    EXPECT_EQ(calls[1].hook, "event");
    EXPECT_EQ(calls[1].bytes, BytesOf(event));
    EXPECT_EQ(calls[1].sessionId, 31);
}
} // namespace
} // namespace OHOS::TarnbyTest
