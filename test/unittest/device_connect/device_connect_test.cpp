// The device-connect (501) and surface (601) callback families, fed with parcels built by hand in the service's
// order, and the extra-info JSON helpers.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "hook_recorder.h"
#include "host_ipc_proxy.h"
#include "log_capture.h"
#include "veskor_info.h"
#include "veskor_json_utils.h"

namespace OHOS::TarnbyTest {
namespace {
using Tarnby::JsonUtils;
using Tarnby::VeskorJsonUtils;
using Calls = std::vector<std::string>;
using TarnbyEmulator::WriteExtraInfo;
using TarnbyEmulator::WriteServiceCode;

class DeviceConnectTest : public testing::Test {
protected:
    // A 501 call: the service code (with values in the fields the reader must skip), then `body`.
    int32_t Deliver(uint32_t subServiceType, const std::function<void(MessageParcel &)> &body, uint32_t code = 501)
    {
        reply_.FlushBuffer();
        return hooks_->Deliver(
            code,
            [&](MessageParcel &data) {
                WriteServiceCode(data, 9, subServiceType, 1, 2, 3);
                body(data);
            },
            reply_);
    }

    sptr<HookRecorder> hooks_ = sptr<HookRecorder>::MakeSptr();
    MessageParcel reply_;
    LogCapture logs_;
};

void WriteThreeNamesAnd(MessageParcel &data, int32_t value)
{
    data.WriteString("first");
    data.WriteString("second");
    data.WriteString("third");
    data.WriteInt32(value);
}

TEST_F(DeviceConnectTest, EachSubTypeReadsItsFieldsAndAnswersInTheReply)
{
    EXPECT_EQ(Deliver(502, [](MessageParcel &data) { data.WriteString("key"), data.WriteUint32(3); }), 42);
    EXPECT_EQ(ReplyValues(reply_), std::vector<int32_t>{42});
    EXPECT_EQ(Deliver(505, [](MessageParcel &data) { WriteThreeNamesAnd(data, 4); }), 0);
    EXPECT_EQ(ReplyValues(reply_), std::vector<int32_t>{0}); // the hooks' answers are not the reply here
    EXPECT_EQ(Deliver(507, [](MessageParcel &data) { WriteThreeNamesAnd(data, 4); }), 0);
    // 506: the service's result is mapped before the hook; unlisted ones (also 320002 between listed ones) give 0.
    const std::pair<int32_t, int32_t> results[] = {{320001, 1004720001}, {320003, 1004720002}, {320016, 1004720003},
                                                   {320017, 1004720004}, {320018, 1004720005}, {320002, 0},
                                                   {-320001, 0}};
    for (const auto &[serviceResult, resultCode] : results) {
        Deliver(506, [serviceResult = serviceResult](MessageParcel &data) {
            WriteThreeNamesAnd(data, 8);
            data.WriteInt32(serviceResult);
        });
        EXPECT_EQ(hooks_->Calls().back(), "ApplyResult(first, second, third, 8, " + std::to_string(resultCode) + ")");
    }
    Calls calls = hooks_->Calls();
    EXPECT_EQ(Calls(calls.begin(), calls.begin() + 4),
              Calls({"DisconnectDevice(key, 3)", "OnDisconnected(first, 4)", "OnDisconnected(second, third)",
                     "Stop(second, first, third, 4)"}));
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "resultCode = 1004720004, result = 320017"));
    EXPECT_TRUE(
        logs_.Logged(LOG_INFO, "TRBYCallback",
                     "serviceType = 9, subServiceType = 506, operateCode = 1, subOperateCode = 2, command = 3"));
    EXPECT_EQ(Deliver(501, [](MessageParcel &data) { WriteThreeNamesAnd(data, 1); }), 1005);
    EXPECT_EQ(reply_.GetDataSize(), 0u);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCallback", "Unsupport type"));
}

// The state list of 503: a uint32 vector, a count, then per element a presence flag and a ServiceStateInfo.
TEST_F(DeviceConnectTest, StateListIsBoundedByWhatTheParcelHolds)
{
    auto stateInfo = [](MessageParcel &data, const std::string &deviceId, uint32_t linkType, uint32_t state) {
        data.WriteInt32(1);
        data.WriteString(deviceId);
        data.WriteUint32(linkType);
        data.WriteUint32(state);
    };
    EXPECT_EQ(Deliver(503,
                      [&](MessageParcel &data) {
                          data.WriteInt32(-2);
                          data.WriteUInt32Vector({1, 2, 3});
                          data.WriteUint32(3);
                          stateInfo(data, "device-a", 1, 2);
                          data.WriteInt32(0);
                          stateInfo(data, "device-c", 5, 6);
                      }),
              42);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYDeviceDetect", "ReadStrongParcelable nullptr"));
    // Four int32 zeros after the count: 16 readable bytes allow a count of 2 and refuse 3.
    auto countOf = [](uint32_t count) {
        return [count](MessageParcel &data) {
            data.WriteInt32(0);
            data.WriteUInt32Vector({});
            data.WriteUint32(count);
            for (int i = 0; i < 4; ++i) {
                data.WriteInt32(0);
            }
        };
    };
    EXPECT_EQ(Deliver(503, countOf(2)), 42);
    EXPECT_EQ(Deliver(503, countOf(3)), 1001);
    EXPECT_EQ(reply_.GetDataSize(), 0u);
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "Failed to read vector, size = 3, readAbleSize = 2"));
    EXPECT_EQ(Deliver(503, [](MessageParcel &data) { data.WriteInt32(0), data.WriteInt32(100); }), 1001);
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "ReadUInt32Vector failed"));
    EXPECT_EQ(hooks_->Calls(),
              Calls({"StateNotify(-2, [1 2 3], [device-a/1/2 device-c/5/6])", "StateNotify(0, [], [])"}));
}

// A service-state change (504): two strings, two int32, the extra-info block, hasFd, and maybe a descriptor.
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

// The hooks get the extra info as sent. Raw blocks above 32 KiB travel out of line; "fd" without hasFd, or hasFd
// without "fd", adds nothing. Extra info the parsers cannot use adds nothing either and leaves no descriptor open:
// nesting past jsoncpp's limit (the parser throws), and a trailing comma (the check accepts it, the reader that sets
// "fd" does not).
TEST_F(DeviceConnectTest, StateChangeHandsTheExtraInfoOverAsSent)
{
    auto openDescriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    };
    const std::string large = R"({"k":")" + std::string(40000, 'z') + R"("})";
    const std::string deep = R"({"fd":0,"k":)" + std::string(1000, '[') + std::string(1000, ']') + "}";
    for (const auto &[extra, hasFd] : {std::pair<std::string, bool>{"", true},
                                       {R"({"fd":0,"k":"v"})", false},
                                       {R"({"k":"v"})", true},
                                       {large, false},
                                       {deep, true},
                                       {R"({"fd":0,})", true}}) {
        SCOPED_TRACE(extra.substr(0, 20));
        auto before = openDescriptors();
        EXPECT_EQ(Deliver(504,
                          [&extra = extra, hasFd = hasFd](MessageParcel &data) {
                              WriteStateChange(data, extra, hasFd);
                              data.WriteFileDescriptor(0);
                          }),
                  0);
        Calls calls = hooks_->Calls();
        EXPECT_EQ(Calls(calls.end() - 2, calls.end()),
                  Calls({"OnServiceStateChanged(alpha, beta, " + extra + ", 11, -22)",
                         "Context{-22, alpha, beta, " + extra + ", 11}"}));
        EXPECT_EQ(openDescriptors(), before);
        EXPECT_TRUE(extra == R"({"fd":0,})" || !logs_.Contains("fd: ")); // only the comma's descriptor is read
    }
    auto brokenBlock = [](uint32_t len, const char *raw, size_t rawSize) {
        return [=](MessageParcel &data) {
            WriteStateChangeHead(data);
            data.WriteUint32(len);
            data.WriteRawData(raw, rawSize);
            data.WriteBool(false);
        };
    };
    size_t calls = hooks_->Calls().size();
    EXPECT_EQ(Deliver(504, brokenBlock(4, "abcde", 5)), 1001); // the byte at position len is not zero
    EXPECT_EQ(ReplyValues(reply_), std::vector<int32_t>{1001});
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCallback", "string format invalid,length is 4"));
    EXPECT_EQ(Deliver(504, brokenBlock(134217729, "{}", 3)), 1001);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCallback", "Read raw data failed or length is 134217729"));
    EXPECT_EQ(hooks_->Calls().size(), calls);
}

// Through a proxy, as from the service's process: the descriptor arrives as the receiver's own, and its number is put
// into the extra info in jsoncpp's styled form, the other members kept.
TEST_F(DeviceConnectTest, DescriptorIsPutIntoTheExtraInfoAsTheReceiversOwn)
{
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    const std::string sent = R"({"fd":0,"name":"cam","list":[1,2]})";
    MessageParcel data;
    MessageParcel reply;
    TarnbyEmulator::WriteCallbackToken(data);
    WriteServiceCode(data, 9, 504);
    WriteStateChange(data, sent, true);
    data.WriteFileDescriptor(fds[1]);
    ASSERT_EQ(TarnbyEmulator::SendCallback(HostIpc::GetProxy(hooks_), 501, data, &reply), 0);
    std::string extra = hooks_->Calls().at(0);
    extra = extra.substr(extra.find("beta, ") + 6);
    extra = extra.substr(0, extra.rfind(", 11, -22)"));
    Json::Value root;
    ASSERT_TRUE(JsonUtils::StringToJsonInternal(extra, &root)) << extra;
    int received = root["fd"].asInt();
    EXPECT_NE(received, fds[1]);
    struct stat sentStat {};
    struct stat receivedStat {};
    ASSERT_EQ(fstat(fds[1], &sentStat), 0);
    ASSERT_EQ(fstat(received, &receivedStat), 0);
    EXPECT_EQ(receivedStat.st_ino, sentStat.st_ino);
    Json::Value expected;
    ASSERT_TRUE(JsonUtils::StringToJsonInternal(sent, &expected));
    expected["fd"] = received;
    EXPECT_EQ(extra, expected.toStyledString());
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "fd: " + std::to_string(received)));
    close(received);
    close(fds[0]);
    close(fds[1]);
}

TEST_F(DeviceConnectTest, SurfaceEventsCarryTheirCodeOnlyWhenTheSubTypeSaysSo)
{
    auto hooks = sptr<HookRecorder>::MakeSptr(17);
    for (uint32_t eventType : {40001u, 40002u, 10001u, 10002u, 40003u}) {
        MessageParcel data;
        MessageParcel reply;
        TarnbyEmulator::WriteSurfaceEvent(data, eventType, 77, "extra");
        MessageOption option;
        bool known = eventType == 40001 || eventType == 40002 || eventType == 10001;
        EXPECT_EQ(hooks->OnRemoteRequest(601, data, reply, option), known ? 17 : 1005);
        EXPECT_EQ(ReplyValues(reply), known ? std::vector<int32_t>{17} : std::vector<int32_t>{});
    }
    EXPECT_EQ(hooks->Calls(),
              Calls({"OnEvent(0, 40001, extra)", "OnEvent(0, 40002, extra)", "OnEvent(77, 10001, extra)"}));
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "---code = 77, eventId = 10001"));
}

// Text the parsers cannot parse (also nesting past their limit, where both throw) is no use to the helpers.
TEST(ExtraInfoJsonTest, FdIsFoundAndSetOnlyInAnObject)
{
    for (std::string yes : {R"({"fd":1})", R"({"a":2, "fd":null})", R"( {"fd":"x"} )"}) {
        EXPECT_TRUE(VeskorJsonUtils::IsFdExist(yes)) << yes;
    }
    std::string withoutFd = "{}";
    EXPECT_EQ(VeskorJsonUtils::AddFdToExtraInfo(withoutFd, -1), "{\n\t\"fd\" : -1\n}\n");
    const std::string deep = R"({"fd":)" + std::string(1000, '[') + std::string(1000, ']') + "}";
    std::string otherKey = R"({"fdx":1})";
    EXPECT_FALSE(VeskorJsonUtils::IsFdExist(otherKey));
    for (std::string no : {std::string(), std::string("[1,2]"), std::string(R"([{"fd":1}])"), std::string(R"("fd")"),
                           std::string("42"), std::string(R"({"fd": )"), std::string("{'fd':1}"),
                           std::string("not json at all"), std::string("null"), deep, std::string(100000, '[')}) {
        SCOPED_TRACE(no.substr(0, 20));
        EXPECT_FALSE(VeskorJsonUtils::IsFdExist(no));
        EXPECT_EQ(VeskorJsonUtils::AddFdToExtraInfo(no, 37), no);
    }
    Json::Value root = 5;
    EXPECT_FALSE(JsonUtils::StringToJsonInternal("", &root));
    EXPECT_EQ(root, Json::Value(5));
    EXPECT_FALSE(JsonUtils::StringToJsonInternal(deep, &root));
    EXPECT_FALSE(JsonUtils::StringToJsonInternal(std::string(100000, '['), &root));
}
} // namespace
} // namespace OHOS::TarnbyTest
