// SPDX-License-Identifier: Apache-2.0
// Callback reception of every family, fed by hand in wire order, and the extra-info JSON helpers.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <new>
#include <numeric>
#include <set>
#include <string>

#include "hook_recorder.h"
#include "host_ipc.h"
#include "host_ipc_proxy.h"
#include "log_capture.h"
#include "tarnby_wire.h"
#include "veskor_json_utils.h"
#include "wire.h"

// The largest request made of the nothrow array new (the form the raw-data path makes its buffer with), so that a
// test can tell that a forged length cost no memory.
static std::atomic<size_t> g_largestNothrowArray{0};

void *operator new[](std::size_t size, const std::nothrow_t &) noexcept
{
    g_largestNothrowArray = std::max(g_largestNothrowArray.load(), size); // the tests allocate on one thread
    try {
        return ::operator new[](size);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

namespace OHOS::TarnbyTest {
namespace {
using Calls = std::vector<std::string>;
using Tarnby::JsonUtils;
using Tarnby::VeskorJsonUtils;
using TarnbyEmulator::WriteExtraInfo;
using TarnbyEmulator::WriteServiceCode;
constexpr uint32_t MAX_RAW_DATA = 0x8000000; // 128 MiB
const Body THREE_NAMES = Fields("first", "second", "third");

// A raw block (WriteRawData) of `size` bytes at `bytes`, which must outlive the write.
Body Raw(const char *bytes, size_t size)
{
    return [=](MessageParcel &data) { data.WriteRawData(bytes, size); };
}
// A service-state change (504): two strings, two int32, the extra-info block, hasFd, then a descriptor.
Body StateChange(const std::string &extraInfo, bool hasFd, int fd = 0)
{
    return Fields(
        "alpha", "beta", 11, -22, [extraInfo](MessageParcel &data) { WriteExtraInfo(data, extraInfo); }, hasFd,
        [fd](MessageParcel &data) { data.WriteFileDescriptor(fd); });
}

class CallbackTest : public testing::Test {
protected:
    // A call of the family `code` as the IPC framework makes it: `token`, the service code (with values in the fields
    // a reader must skip, one with the top bit set), then `body`. The reply is left in reply_.
    int32_t Deliver(uint32_t code, uint32_t serviceType, uint32_t subServiceType, const Body &body,
                    const std::u16string &token = TarnbyEmulator::CALLBACK_TOKEN)
    {
        MessageParcel data;
        data.SetMaxCapacity(0x10000000);
        data.WriteInterfaceToken(token);
        WriteServiceCode(data, serviceType, subServiceType, 21, 0xFFFFFFFF, 23);
        body(data);
        reply_.FlushBuffer();
        if (viaProxy_) {
            return TarnbyEmulator::SendCallback(HostIpc::GetProxy(hooks_), code, data, &reply_);
        }
        MessageOption option;
        return hooks_->OnRemoteRequest(code, data, reply_, option);
    }
    // A raw-data call (101, 102/105): code, second, the length, then what `block` writes.
    int32_t RawData(uint32_t dataLen, const Body &block)
    {
        return Deliver(101, 102, 105, Fields(5u, 6u, dataLen, block));
    }

    sptr<HookRecorder> hooks_ = sptr<HookRecorder>::MakeSptr(17);
    MessageParcel reply_;
    LogCapture logs_;
    bool viaProxy_ = false; // across the simulated process boundary (or a socket), answered on an IPC thread
};

// Any token but the callback's own, whatever the code: 1010, an empty reply, no hook, nothing else read or logged.
TEST_F(CallbackTest, TokenIsCheckedFirstThenTheCodeChoosesTheFamily)
{
    const std::u16string wrongTokens[] = {u"ohos.ITarnby.ITarnbyService", u"", u"ohos.ITarnby.ITarnbyCallbac",
                                          std::u16string(u"ohos.ITarnby.ITarnbyCallback\0", 29)};
    for (uint32_t code : {1u, 101u, 501u, 601u, 9u}) {
        for (const std::u16string &token : wrongTokens) {
            std::string shown(token.begin(), std::find(token.begin(), token.end(), u'\0')); // as logged
            logs_.Clear();
            EXPECT_EQ(Deliver(code, 103, 1, Fields(5), token), 1010);
            EXPECT_EQ(reply_.GetDataSize(), 0u);
            EXPECT_TRUE(
                logs_.Logged(LOG_ERROR, "TRBYCallback",
                             "receive wrong interface token = " + shown + ", expect ohos.ITarnby.ITarnbyCallback"));
            EXPECT_FALSE(logs_.Contains("serviceType =") || logs_.Contains("revice unknown code"));
        }
    }
    // Unknown codes go to the platform's default; the placeholder families read one sub code.
    for (uint32_t code : {0u, 2u, 102u, 500u, 602u}) {
        EXPECT_EQ(Deliver(code, 103, 1, Fields(5)), IPC_STUB_UNKNOW_TRANS_ERR);
        EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCallback", "revice unknown code, code is " + std::to_string(code)));
    }
    const std::pair<uint32_t, const char *> placeholders[] = {{1, "GetCollaborationServiceCallback"},
                                                              {201, "DevicePickerCallback"},
                                                              {301, "CommonDataChannelCallback"},
                                                              {401, "LumetDownMessageCallback"}};
    for (const auto &[code, handler] : placeholders) {
        logs_.Clear();
        EXPECT_EQ(Deliver(code, 103, 1, Fields(5)), 0); // its sub code is the 103 read first
        EXPECT_EQ(reply_.GetDataSize(), 0u);
        EXPECT_EQ(logs_.FunctionOf("subCode is 103"), handler);
        EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "subCode is 103"));
    }
    EXPECT_TRUE(hooks_->Calls().empty());
    // A callback logs its creation and destruction; its own event hook logs what it got.
    auto plain = sptr<Tarnby::CallbackSkeleton>::MakeSptr();
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "create callback = ohos.ITarnby.ITarnbyCallback"));
    std::string extra = "x";
    plain->OnEvent(7, 10001, extra);
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "code = 7, eventId = 10001"));
    plain = nullptr;
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "destroy callback = ohos.ITarnby.ITarnbyCallback"));
}

// Across the process boundary, on an IPC thread, with the caller's identity logged.
TEST_F(CallbackTest, DataChannelReachesItsHooks)
{
    const std::string bytes("hello\0world", 11);
    viaProxy_ = true;
    HostIpc::SetThreadIdentity(4321, 8765);
    EXPECT_EQ(Deliver(101, 103, 1, Fields(-7)), 0);
    HostIpc::ClearThreadIdentity();
    EXPECT_EQ(ReplyValues(reply_), std::vector<int32_t>{0});
    EXPECT_EQ(
        Deliver(101, 103, 3, Fields(9, 11u, [&bytes](MessageParcel &d) { d.WriteUnpadBuffer(bytes.data(), 11); })), 0);
    EXPECT_EQ(ReplyValues(reply_), std::vector<int32_t>{0});
    EXPECT_EQ(Deliver(101, 103, 3, Fields(9, 64u)), 0);
    EXPECT_EQ(Deliver(101, 103, 2, Fields(1)), 0);
    EXPECT_EQ(ReplyValues(reply_), std::vector<int32_t>{0});
    EXPECT_EQ(hooks_->Calls(), Calls({"OnDataReceiverReady(-7)", "OnDataReceived(9, " + bytes + ", 11)",
                                      "OnDataReceived(9, null, 64)"}));
    // Across a real socket the kernel tells the caller's identity; the simulated boundary carries the one played.
    const bool acrossSocket = getenv("OHOS_HOST_IPC_DIR") != nullptr;
    const std::string identity =
        acrossSocket ? std::to_string(getpid()) + " , pid = " + std::to_string(getuid()) : "4321 , pid = 8765";
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "pid = " + identity));
    EXPECT_TRUE(
        logs_.Logged(LOG_INFO, "TRBYCallback",
                     "serviceType = 103, subServiceType = 1, operateCode = 21, subOperateCode = -1, command = 23"));
}

// Events are 101 with sub types 103, 104 and 106: code, id and text; anything else of the family answers nothing.
TEST_F(CallbackTest, EventsAndRawDataReachTheirHooks)
{
    for (uint32_t sub : {103u, 104u, 106u, 105u, 102u, 107u}) {
        bool event = sub == 103 || sub == 104 || sub == 106;
        EXPECT_EQ(Deliver(101, 101, sub, Fields(7u, sub, "text")), event ? 17 : 0);
        EXPECT_EQ(ReplyValues(reply_), event ? std::vector<int32_t>{17} : std::vector<int32_t>{});
    }
    // Surface events (601) carry their code only when the sub type says so.
    for (uint32_t eventType : {40001u, 40002u, 10001u, 10002u, 40003u}) {
        bool known = eventType == 40001 || eventType == 40002 || eventType == 10001;
        EXPECT_EQ(Deliver(601, 105, eventType, eventType == 10001 ? Fields(77u, "extra") : Fields("extra")),
                  known ? 17 : 1005);
        EXPECT_EQ(ReplyValues(reply_), known ? std::vector<int32_t>{17} : std::vector<int32_t>{});
    }
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "---code = 77, eventId = 10001"));
    for (const auto &[serviceType, sub] : {std::pair{102u, 104u}, {100u, 1u}, {501u, 502u}}) {
        EXPECT_EQ(Deliver(101, serviceType, sub, Fields()), 0);
        EXPECT_EQ(reply_.GetDataSize(), 0u);
    }
    EXPECT_EQ(hooks_->Calls(),
              Calls({"OnEvent(7, 103, text)", "OnEvent(7, 104, text)", "OnEvent(7, 106, text)",
                     "OnEvent(0, 40001, extra)", "OnEvent(0, 40002, extra)", "OnEvent(77, 10001, extra)"}));
    // The raw-data block travels after its length; the hook gets its own copy. Up to 128 MiB, nothing beyond, and a
    // length without its block costs no memory.
    for (size_t size : {size_t{100}, size_t{64 * 1024 + 3}, size_t{MAX_RAW_DATA}}) {
        std::string bytes(size, '\0');
        std::iota(bytes.begin(), bytes.end(), '\1'); // a misplaced copy shows in the fingerprint
        EXPECT_EQ(RawData(size, Raw(bytes.data(), size)), 17);
        EXPECT_EQ(ReplyValues(reply_), std::vector<int32_t>{17});
        EXPECT_EQ(hooks_->Calls().back(),
                  "OnDataCallback(5, 6, " + std::to_string(size) + ", " + Fingerprint(bytes.data(), size) + ")");
    }
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "leave"));
    size_t calls = hooks_->Calls().size();
    for (uint32_t dataLen : {MAX_RAW_DATA + 1, 0xFFFFFFFFu}) {
        EXPECT_EQ(RawData(dataLen, Fields(0x0BADF00D)), 22);
        EXPECT_EQ(ReplyValues(reply_), std::vector<int32_t>{22});
        EXPECT_TRUE(
            logs_.Logged(LOG_ERROR, "TRBYCallback", "new buffer failed of length = " + std::to_string(dataLen)));
    }
    EXPECT_EQ(RawData(16, Fields()), 22);
    EXPECT_EQ(RawData(16, Raw("\1\2\3\4\5\6\7\10", 8)), 22);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCallback", "length = 16, treadData 0, rawByte 1"));
    EXPECT_EQ(RawData(0, Fields(0)), 22);
    // A 12-byte body claiming the largest length: refused before any buffer is made for it.
    g_largestNothrowArray = 0;
    EXPECT_EQ(RawData(MAX_RAW_DATA, Fields()), 22);
    EXPECT_LT(g_largestNothrowArray.load(), size_t{1} << 20);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCallback", "length = 134217728, treadData 0, rawByte 1"));
    EXPECT_EQ(hooks_->Calls().size(), calls);
}

TEST_F(CallbackTest, DeviceConnectSubTypesReadTheirFieldsAndTheStateListIsBounded)
{
    EXPECT_EQ(Deliver(501, 9, 502, Fields("key", 3u)), 17);
    EXPECT_EQ(ReplyValues(reply_), std::vector<int32_t>{17});
    EXPECT_EQ(Deliver(501, 9, 505, Fields(THREE_NAMES, 4)), 0);
    EXPECT_EQ(ReplyValues(reply_), std::vector<int32_t>{0}); // the hooks' answers are not the reply here
    EXPECT_EQ(Deliver(501, 9, 507, Fields(THREE_NAMES, 4)), 0);
    // 506: the service's result is mapped before the hook; unlisted ones (also 320002 between listed ones) give 0.
    const std::pair<int32_t, int32_t> results[] = {{320001, 1004720001}, {320003, 1004720002}, {320016, 1004720003},
                                                   {320017, 1004720004}, {320018, 1004720005}, {320002, 0},
                                                   {-320001, 0}};
    for (const auto &[serviceResult, resultCode] : results) {
        Deliver(501, 9, 506, Fields(THREE_NAMES, 8, serviceResult));
        EXPECT_EQ(hooks_->Calls().back(), "ApplyResult(first, second, third, 8, " + std::to_string(resultCode) + ")");
    }
    Calls first = hooks_->Calls();
    EXPECT_EQ(Calls(first.begin(), first.begin() + 4),
              Calls({"DisconnectDevice(key, 3)", "OnDisconnected(first, 4)", "OnDisconnected(second, third)",
                     "Stop(second, first, third, 4)"}));
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "resultCode = 1004720004, result = 320017"));
    EXPECT_TRUE(
        logs_.Logged(LOG_INFO, "TRBYCallback",
                     "serviceType = 9, subServiceType = 506, operateCode = 21, subOperateCode = -1, command = 23"));
    EXPECT_EQ(Deliver(501, 9, 501, Fields(THREE_NAMES, 1)), 1005);
    EXPECT_EQ(reply_.GetDataSize(), 0u);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCallback", "Unsupport type"));
    // The state list of 503: a uint32 vector, a count, then per element a presence flag and a ServiceStateInfo.
    EXPECT_EQ(Deliver(501, 9, 503,
                      Fields(-2, std::vector<uint32_t>{1, 2, 3}, 3u, 1, "device-a", 1u, 2u, 0, 1, "device-c", 5u, 6u)),
              17);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYDeviceDetect", "ReadStrongParcelable nullptr"));
    // Four int32 zeros after the count: 16 readable bytes allow a count of 2 and refuse 3.
    EXPECT_EQ(Deliver(501, 9, 503, Fields(0, std::vector<uint32_t>{}, 2u, 0, 0, 0, 0)), 17);
    EXPECT_EQ(Deliver(501, 9, 503, Fields(0, std::vector<uint32_t>{}, 3u, 0, 0, 0, 0)), 1001);
    EXPECT_EQ(reply_.GetDataSize(), 0u);
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "Failed to read vector, size = 3, readAbleSize = 2"));
    // A refused uint32 vector (a count of -1, then an acceptable empty list) refuses the call.
    for (const Body &refused : {Fields(0, 100), Fields(0, -1, 0u)}) {
        logs_.Clear();
        EXPECT_EQ(Deliver(501, 9, 503, refused), 1001);
        EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "ReadUInt32Vector failed"));
    }
    Calls calls = hooks_->Calls();
    EXPECT_EQ(Calls(calls.end() - 2, calls.end()),
              Calls({"StateNotify(-2, [1 2 3], [device-a/1/2 device-c/5/6])", "StateNotify(0, [], [])"}));
}

// The hooks get the extra info as sent. Raw blocks above 32 KiB travel out of line; "fd" without hasFd, or hasFd
// without "fd", adds nothing. Extra info the parsers cannot use adds nothing either and leaves no descriptor open:
// nesting past jsoncpp's limit (the parser throws), and a trailing comma (the check accepts it, the reader that sets
// "fd" does not).
TEST_F(CallbackTest, StateChangeHandsTheExtraInfoOverAsSentWithTheReceiversDescriptor)
{
    // What a delivery leaves open that was not open before it (a descriptor some other thread closes meanwhile is
    // no leak of the delivery's).
    auto openDescriptors = [] {
        std::set<std::string> open;
        for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code ignored;
            std::string target = std::filesystem::read_symlink(entry.path(), ignored).string();
            if (target != "/proc/" + std::to_string(getpid()) + "/fd") { // the listing's own
                open.insert(entry.path().filename().string() + " " + target);
            }
        }
        return open;
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
        EXPECT_EQ(Deliver(501, 9, 504, StateChange(extra, hasFd)), 0);
        Calls calls = hooks_->Calls();
        EXPECT_EQ(Calls(calls.end() - 2, calls.end()),
                  Calls({"OnServiceStateChanged(alpha, beta, " + extra + ", 11, -22)",
                         "Context(-22, alpha, beta, " + extra + ", 11)"}));
        std::set<std::string> after = openDescriptors();
        EXPECT_TRUE(std::includes(before.begin(), before.end(), after.begin(), after.end()))
            << testing::PrintToString(after) << " after, before " << testing::PrintToString(before);
        EXPECT_TRUE(extra == R"({"fd":0,})" || !logs_.Contains("fd: ")); // only the comma's descriptor is read
    }
    size_t calls = hooks_->Calls().size();
    EXPECT_EQ(Deliver(501, 9, 504, Fields("alpha", "beta", 11, -22, 4u, Raw("abcde", 5), false)),
              1001); // byte 4 is not 0
    EXPECT_EQ(ReplyValues(reply_), std::vector<int32_t>{1001});
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCallback", "string format invalid,length is 4"));
    EXPECT_EQ(Deliver(501, 9, 504, Fields("alpha", "beta", 11, -22, MAX_RAW_DATA + 1, Raw("{}", 3), false)), 1001);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCallback", "Read raw data failed or length is 134217729"));
    EXPECT_EQ(hooks_->Calls().size(), calls);
    // Through a proxy, as from the service's process: the descriptor arrives as the receiver's own, and its number is
    // put into the extra info in jsoncpp's styled form, the other members kept.
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    const std::string sent = R"({"fd":0,"name":"cam","list":[1,2]})";
    viaProxy_ = true;
    ASSERT_EQ(Deliver(501, 9, 504, StateChange(sent, true, fds[1])), 0);
    std::string extra = hooks_->Calls().end()[-2];
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
    for (std::string no :
         std::vector<std::string>{"", "[1,2]", R"([{"fd":1}])", R"("fd")", "42", R"({"fd": )", "{'fd':1}",
                                  "not json at all", "null", deep, std::string(100000, '[')}) {
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
