// The device-connect family (request code 501), driven with parcels written by hand in the service's order: which
// hook each sub type reaches, with which arguments in which positions, what goes into the reply, and what is refused.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "callback_wire.h"
#include "host_ipc_proxy.h"
#include "log_capture.h"
#include "log_expect.h"
#include "json/json.h"

namespace OHOS::Tarnby {
namespace {
using namespace TarnbyTest;

constexpr ExpectedLabel DEVICE_DETECT_LABEL = {0xD004617, "TRBYDeviceDetect"};

// The head shared by 505, 506 and 507: three strings and an int32.
void WriteThreeNamesAnd(MessageParcel &data, int32_t value)
{
    data.WriteString("first");
    data.WriteString("second");
    data.WriteString("third");
    data.WriteInt32(value);
}

class VeskorCallbackTest : public testing::Test {
protected:
    int32_t Deliver(uint32_t subServiceType, const std::function<void(MessageParcel &)> &body)
    {
        return hooks_->Deliver(VESKOR_CODE, subServiceType, body, reply_);
    }

    sptr<HookRecorder> hooks_ = sptr<HookRecorder>::MakeSptr();
    MessageParcel reply_;
    LogCapture logs_;
};

TEST_F(VeskorCallbackTest, DisconnectDeviceGetsTheKeyAndTheServiceType)
{
    EXPECT_EQ(Deliver(502,
                      [](MessageParcel &data) {
                          data.WriteString("device-key");
                          data.WriteUint32(7);
                      }),
              42);
    EXPECT_EQ(hooks_->Calls(), std::vector<std::string>{"DisconnectDevice(device-key, 7)"});
    EXPECT_TRUE(ReplyIs(reply_, 42));
}

TEST_F(VeskorCallbackTest, OnDisconnectedIsCalledTwiceAndTheReplyIsAlwaysZero)
{
    EXPECT_EQ(Deliver(505, [](MessageParcel &data) { WriteThreeNamesAnd(data, -5); }), 0);
    EXPECT_EQ(hooks_->Calls(),
              (std::vector<std::string>{"OnDisconnected(first, -5)", "OnDisconnected(second, third)"}));
    EXPECT_TRUE(ReplyIs(reply_, 0));
}

TEST_F(VeskorCallbackTest, StopGetsTheSecondStringFirst)
{
    EXPECT_EQ(Deliver(507, [](MessageParcel &data) { WriteThreeNamesAnd(data, 4); }), 0);
    EXPECT_EQ(hooks_->Calls(), std::vector<std::string>{"Stop(second, first, third, 4)"});
    EXPECT_TRUE(ReplyIs(reply_, 0));
}

TEST_F(VeskorCallbackTest, UnknownSubTypesAreRefusedWithNothingWritten)
{
    for (uint32_t subServiceType : {0u, 501u, 508u, 40001u}) {
        EXPECT_EQ(Deliver(subServiceType, [](MessageParcel &data) { data.WriteString("unused"); }), 1005)
            << subServiceType;
    }
    EXPECT_TRUE(hooks_->Calls().empty());
    EXPECT_EQ(reply_.GetDataSize(), 0u);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, CALLBACK_LABEL, "Unsupport type"));
}

struct ApplyCase {
    int32_t serviceResult;
    int32_t resultCode;
};

class ApplyResultTest : public VeskorCallbackTest, public testing::WithParamInterface<ApplyCase> {};

TEST_P(ApplyResultTest, ServiceResultIsMappedBeforeTheHook)
{
    const ApplyCase &param = GetParam();
    EXPECT_EQ(Deliver(506,
                      [&param](MessageParcel &data) {
                          WriteThreeNamesAnd(data, 8);
                          data.WriteInt32(param.serviceResult);
                      }),
              42);
    std::string expected = "ApplyResult(first, second, third, 8, " + std::to_string(param.resultCode) + ")";
    EXPECT_EQ(hooks_->Calls(), std::vector<std::string>{expected});
    EXPECT_TRUE(ReplyIs(reply_, 42));
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL,
                       "resultCode = " + std::to_string(param.resultCode) +
                           ", result = " + std::to_string(param.serviceResult)));
}

// 320002 sits in the middle of the listed results and still maps to 0.
INSTANTIATE_TEST_SUITE_P(Results, ApplyResultTest,
                         testing::Values(ApplyCase{320001, 1004720001}, ApplyCase{320003, 1004720002},
                                         ApplyCase{320016, 1004720003}, ApplyCase{320017, 1004720004},
                                         ApplyCase{320018, 1004720005}, ApplyCase{320002, 0}, ApplyCase{320019, 0},
                                         ApplyCase{0, 0}, ApplyCase{-320001, 0}));

// The state list of 503: a uint32 vector, a count, then per element a presence flag and a ServiceStateInfo
// (device id, link type, connect state).
void WriteStateInfo(MessageParcel &data, const std::string &deviceId, uint32_t linkType, uint32_t connectState)
{
    data.WriteInt32(1);
    data.WriteString(deviceId);
    data.WriteUint32(linkType);
    data.WriteUint32(connectState);
}

TEST_F(VeskorCallbackTest, StateListWithANullElementIsShorterAndStillNotified)
{
    EXPECT_EQ(Deliver(503,
                      [](MessageParcel &data) {
                          data.WriteInt32(-2);
                          data.WriteUInt32Vector({1, 2, 3});
                          data.WriteUint32(3);
                          WriteStateInfo(data, "device-a", 1, 2);
                          data.WriteInt32(0);
                          WriteStateInfo(data, "device-c", 5, 6);
                      }),
              42);
    EXPECT_EQ(hooks_->Calls(), std::vector<std::string>{"StateNotify(-2, [1 2 3], [device-a/1/2 device-c/5/6])"});
    EXPECT_TRUE(ReplyIs(reply_, 42));
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, DEVICE_DETECT_LABEL, "ReadStrongParcelable nullptr"));
}

// Four int32 zeros after the count: 16 readable bytes allow a count of 2 and refuse 3.
void WriteStateListOfCount(MessageParcel &data, uint32_t count)
{
    data.WriteInt32(0);
    data.WriteUInt32Vector({});
    data.WriteUint32(count);
    for (int i = 0; i < 4; ++i) {
        data.WriteInt32(0);
    }
}

TEST_F(VeskorCallbackTest, StateCountUpToReadableBytesOverEightIsRead)
{
    EXPECT_EQ(Deliver(503, [](MessageParcel &data) { WriteStateListOfCount(data, 2); }), 42);
    EXPECT_EQ(hooks_->Calls(), std::vector<std::string>{"StateNotify(0, [], [])"});
}

TEST_F(VeskorCallbackTest, StateCountOverReadableBytesOverEightIsRefusedBeforeAnyElement)
{
    EXPECT_EQ(Deliver(503, [](MessageParcel &data) { WriteStateListOfCount(data, 3); }), 1001);
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL, "Failed to read vector, size = 3, readAbleSize = 2"));
    EXPECT_FALSE(logs_.Find("ReadStrongParcelable nullptr"));
    EXPECT_TRUE(hooks_->Calls().empty());
    EXPECT_EQ(reply_.GetDataSize(), 0u);
}

TEST_F(VeskorCallbackTest, UnreadableStateVectorIsRefused)
{
    EXPECT_EQ(Deliver(503,
                      [](MessageParcel &data) {
                          data.WriteInt32(0);
                          data.WriteInt32(100); // a vector count with no elements behind it
                      }),
              1001);
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL, "ReadUInt32Vector failed"));
    EXPECT_TRUE(hooks_->Calls().empty());
}

TEST_F(VeskorCallbackTest, StandAloneReadersReturnTheHookResultAndLeaveTheReplyAlone)
{
    MessageParcel disconnect;
    disconnect.WriteString("key");
    disconnect.WriteUint32(3);
    MessageOption option;
    EXPECT_EQ(hooks_->ProcessDisconnectCallback(disconnect, reply_, option), 42);

    MessageParcel state;
    WriteStateListOfCount(state, 9);
    EXPECT_EQ(hooks_->ProcessNotifyStateCallback(state, reply_, option), 1001);
    MessageParcel goodState;
    WriteStateListOfCount(goodState, 0);
    EXPECT_EQ(hooks_->ProcessNotifyStateCallback(goodState, reply_, option), 42);

    EXPECT_EQ(hooks_->Calls(), (std::vector<std::string>{"DisconnectDevice(key, 3)", "StateNotify(0, [], [])"}));
    EXPECT_EQ(reply_.GetDataSize(), 0u);
}

// A service-state change (504): two strings, two int32, the extra info, hasFd, and maybe a descriptor.
void WriteStateChangeHead(MessageParcel &data)
{
    data.WriteString("alpha");
    data.WriteString("beta");
    data.WriteInt32(11);
    data.WriteInt32(-22);
}

void WriteStateChange(MessageParcel &data, const std::string &extraInfo, bool hasFd)
{
    WriteStateChangeHead(data);
    WriteExtraInfo(data, extraInfo);
    data.WriteBool(hasFd);
}

std::vector<std::string> StateChangeCalls(const std::string &extraInfo)
{
    return {"OnServiceStateChanged(alpha, beta, " + extraInfo + ", 11, -22)",
            "Context{-22, alpha, beta, " + extraInfo + ", 11}"};
}

TEST_F(VeskorCallbackTest, StateChangeWithoutExtraInfoReachesBothHooks)
{
    EXPECT_EQ(Deliver(504, [](MessageParcel &data) { WriteStateChange(data, "", false); }), 0);
    EXPECT_EQ(hooks_->Calls(), StateChangeCalls(""));
    EXPECT_TRUE(ReplyIs(reply_, 0));
}

TEST_F(VeskorCallbackTest, StateChangeWithoutExtraInfoStillReadsHasFdAndReadsNoDescriptor)
{
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    EXPECT_EQ(Deliver(504,
                      [&fds](MessageParcel &data) {
                          WriteStateChange(data, "", true);
                          data.WriteFileDescriptor(fds[0]);
                      }),
              0);
    EXPECT_EQ(hooks_->Calls(), StateChangeCalls(""));
    EXPECT_FALSE(logs_.Contains("fd: "));
    close(fds[0]);
    close(fds[1]);
}

TEST_F(VeskorCallbackTest, ExtraInfoIsPassedAsSentWhenNoDescriptorComes)
{
    // With "fd" in the text but hasFd false, and with hasFd true but no "fd" in the text, nothing is read or added.
    const std::string withFd = R"({"fd":0,"k":"v"})";
    EXPECT_EQ(Deliver(504, [&withFd](MessageParcel &data) { WriteStateChange(data, withFd, false); }), 0);
    const std::string withoutFd = R"({"k":"v"})";
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    EXPECT_EQ(Deliver(504,
                      [&](MessageParcel &data) {
                          WriteStateChange(data, withoutFd, true);
                          data.WriteFileDescriptor(fds[0]);
                      }),
              0);
    close(fds[0]);
    close(fds[1]);

    std::vector<std::string> expected = StateChangeCalls(withFd);
    for (const std::string &call : StateChangeCalls(withoutFd)) {
        expected.push_back(call);
    }
    EXPECT_EQ(hooks_->Calls(), expected);
    EXPECT_FALSE(logs_.Contains("fd: "));
}

TEST_F(VeskorCallbackTest, ExtraInfoAboveTheInlineLimitArrivesWhole)
{
    // Raw blocks above 32 KiB travel out of line; the text must still come through intact.
    const std::string large = R"({"k":")" + std::string(40000, 'z') + R"("})";
    EXPECT_EQ(Deliver(504, [&large](MessageParcel &data) { WriteStateChange(data, large, false); }), 0);
    EXPECT_EQ(hooks_->Calls(), StateChangeCalls(large));
}

TEST_F(VeskorCallbackTest, ExtraInfoWithoutItsTerminatingZeroIsRefused)
{
    EXPECT_EQ(Deliver(504,
                      [](MessageParcel &data) {
                          WriteStateChangeHead(data);
                          data.WriteUint32(4);
                          data.WriteRawData("abcde", 5); // the byte at position len is 'e', not zero
                          data.WriteBool(false);
                      }),
              1001);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, CALLBACK_LABEL, "string format invalid,length is 4"));
    EXPECT_TRUE(hooks_->Calls().empty());
    EXPECT_TRUE(ReplyIs(reply_, 1001));
}

TEST_F(VeskorCallbackTest, ExtraInfoLengthOver128MiBIsRefused)
{
    EXPECT_EQ(Deliver(504,
                      [](MessageParcel &data) {
                          WriteStateChangeHead(data);
                          data.WriteUint32(134217729);
                          data.WriteRawData("{}", 3);
                          data.WriteBool(false);
                      }),
              1001);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, CALLBACK_LABEL, "Read raw data failed or length is 134217729"));
    EXPECT_TRUE(hooks_->Calls().empty());
}

// Extra info the parsers cannot use: nesting past jsoncpp's limit (the parser throws), and a trailing comma (the check
// accepts it, the reader that sets "fd" does not). The hooks get the text as sent; no descriptor is left open.
TEST_F(VeskorCallbackTest, UnusableExtraInfoLeavesNoDescriptorOpen)
{
    auto openDescriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    };
    const std::string deep = R"({"fd":0,"k":)" + std::string(1000, '[') + std::string(1000, ']') + "}";
    for (const std::string &text : {deep, std::string(R"({"fd":0,})")}) {
        hooks_ = sptr<HookRecorder>::MakeSptr();
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        auto before = openDescriptors();
        EXPECT_EQ(Deliver(504,
                          [&](MessageParcel &data) {
                              WriteStateChange(data, text, true);
                              data.WriteFileDescriptor(fds[0]);
                          }),
                  0);
        EXPECT_EQ(hooks_->Calls(), StateChangeCalls(text));
        EXPECT_EQ(openDescriptors(), before) << text;
        close(fds[0]);
        close(fds[1]);
    }
}

// The hook's copy of the extra info after a descriptor came with it.
class ExtraInfoRecorder : public HookRecorder {
public:
    int32_t OnServiceStateChanged(std::string, std::string, std::string extraInfo, int32_t, int32_t) override
    {
        extraInfo_ = extraInfo;
        return 0;
    }
    std::string extraInfo_;
};

TEST_F(VeskorCallbackTest, DescriptorIsPutIntoTheExtraInfoAsTheReceiversOwn)
{
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    const std::string sent = R"({"fd":0,"name":"cam","list":[1,2]})";
    auto receiver = sptr<ExtraInfoRecorder>::MakeSptr();
    // Through a proxy, as from the service's process: the descriptor arrives as a new one of the receiving side.
    sptr<IRemoteObject> remote = HostIpc::GetProxy(receiver);
    MessageParcel reply;
    ASSERT_EQ(SendCallback(
                  remote, VESKOR_CODE,
                  [&](MessageParcel &data) {
                      for (uint32_t field : {9u, 504u, 1u, 2u, 3u}) {
                          data.WriteUint32(field);
                      }
                      WriteStateChange(data, sent, true);
                      data.WriteFileDescriptor(fds[1]);
                  },
                  &reply),
              0);
    EXPECT_EQ(reply.ReadInt32(), 0);

    Json::Value root;
    Json::CharReaderBuilder builder;
    std::string errors;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    const std::string &extra = receiver->extraInfo_;
    ASSERT_TRUE(reader->parse(extra.data(), extra.data() + extra.size(), &root, &errors)) << extra;
    ASSERT_TRUE(root["fd"].isInt());
    int received = root["fd"].asInt();
    EXPECT_NE(received, fds[1]);
    EXPECT_NE(fcntl(received, F_GETFD), -1);
    struct stat sentStat {};
    struct stat receivedStat {};
    ASSERT_EQ(fstat(fds[1], &sentStat), 0);
    ASSERT_EQ(fstat(received, &receivedStat), 0);
    EXPECT_EQ(receivedStat.st_ino, sentStat.st_ino);
    // Live: what is written through it comes out of the sender's pipe.
    ASSERT_EQ(write(received, "!", 1), 1);
    char byte = 0;
    ASSERT_EQ(read(fds[0], &byte, 1), 1);
    EXPECT_EQ(byte, '!');
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL, "fd: " + std::to_string(received)));

    // Other members are kept; the text is jsoncpp's styled form.
    Json::Value expected;
    ASSERT_TRUE(reader->parse(sent.data(), sent.data() + sent.size(), &expected, &errors));
    expected["fd"] = received;
    EXPECT_EQ(extra, expected.toStyledString());
    EXPECT_EQ(root["name"].asString(), "cam");
    close(received);
    close(fds[0]);
    close(fds[1]);
}
} // namespace
} // namespace OHOS::Tarnby
