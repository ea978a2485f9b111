// Callback reception: the token checked first, dispatch by request code, the placeholder families, and the
// collaboration-to-device family (101: data channel, raw data with its bound, events), fed by hand in wire order.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <new>

#include "hook_recorder.h"
#include "host_ipc.h"
#include "host_ipc_proxy.h"
#include "log_capture.h"
#include "tarnby_proxy.h"

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
using TarnbyEmulator::WriteServiceCode;
constexpr uint32_t MAX_RAW_DATA = 0x8000000; // 128 MiB

std::string Pattern(size_t size)
{
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>((i * 7 + 1) % 253);
    }
    return bytes;
}

class CallbackTest : public testing::Test {
protected:
    // Straight into OnRemoteRequest with `token` and a receiver-ready body behind it.
    int32_t CallWithToken(uint32_t code, const std::u16string &token)
    {
        MessageParcel data;
        data.WriteInterfaceToken(token);
        WriteServiceCode(data, 103, 1);
        data.WriteInt32(5);
        MessageOption option;
        reply_.FlushBuffer();
        return hooks_->OnRemoteRequest(code, data, reply_, option);
    }
    // A raw-data call (101, 102/105): code, second, the length, then what `block` writes.
    int32_t RawData(uint32_t dataLen, const std::function<void(MessageParcel &)> &block)
    {
        reply_.FlushBuffer();
        return hooks_->Deliver(
            101,
            [&](MessageParcel &data) {
                WriteServiceCode(data, 102, 105);
                data.WriteUint32(5);
                data.WriteUint32(6);
                data.WriteUint32(dataLen);
                block(data);
            },
            reply_);
    }

    sptr<HookRecorder> hooks_ = sptr<HookRecorder>::MakeSptr(17);
    MessageParcel reply_;
    LogCapture logs_;
};

// Any token but the callback's own, whatever the code: 1010, an empty reply, no hook, nothing else read or logged.
TEST_F(CallbackTest, WrongTokenIsRefusedBeforeTheCodeIsLookedAt)
{
    const std::pair<std::u16string, std::string> wrongTokens[] = {
        {u"ohos.ITarnby.ITarnbyService", "ohos.ITarnby.ITarnbyService"},
        {u"", ""},
        {u"ohos.ITarnby.ITarnbyCallbac", "ohos.ITarnby.ITarnbyCallbac"},
        {std::u16string(u"ohos.ITarnby.ITarnbyCallback\0", 29), "ohos.ITarnby.ITarnbyCallback"},
    };
    for (uint32_t code : {1u, 101u, 501u, 601u, 9u}) {
        for (const auto &[token, shown] : wrongTokens) {
            logs_.Clear();
            EXPECT_EQ(CallWithToken(code, token), 1010);
            EXPECT_EQ(reply_.GetDataSize(), 0u);
            EXPECT_TRUE(
                logs_.Logged(LOG_ERROR, "TRBYCallback",
                             "receive wrong interface token = " + shown + ", expect ohos.ITarnby.ITarnbyCallback"));
            EXPECT_FALSE(logs_.Contains("serviceType =") || logs_.Contains("revice unknown code"));
        }
    }
    EXPECT_TRUE(hooks_->Calls().empty());
}

TEST_F(CallbackTest, UnknownCodesGoToThePlatformDefaultAndPlaceholdersReadOneSubCode)
{
    for (uint32_t code : {0u, 2u, 102u, 500u, 602u}) {
        EXPECT_EQ(CallWithToken(code, TarnbyEmulator::CALLBACK_TOKEN), IPC_STUB_UNKNOW_TRANS_ERR);
        EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCallback", "revice unknown code, code is " + std::to_string(code)));
    }
    const std::pair<uint32_t, const char *> placeholders[] = {{1, "GetCollaborationServiceCallback"},
                                                              {201, "DevicePickerCallback"},
                                                              {301, "CommonDataChannelCallback"},
                                                              {401, "LumetDownMessageCallback"}};
    for (const auto &[code, handler] : placeholders) {
        logs_.Clear();
        EXPECT_EQ(CallWithToken(code, TarnbyEmulator::CALLBACK_TOKEN), 0); // its sub code is the 103 read first
        EXPECT_EQ(reply_.GetDataSize(), 0u);
        EXPECT_EQ(logs_.FunctionOf("subCode is 103"), handler);
        EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "subCode is 103"));
    }
    EXPECT_TRUE(hooks_->Calls().empty());
}

// Across the simulated process boundary, on an IPC thread, with the caller's identity logged.
TEST_F(CallbackTest, DataChannelReachesItsHooks)
{
    const std::string bytes("hello\0world", 11);
    auto deliver = [this](uint32_t subServiceType, const std::function<void(MessageParcel &)> &body) {
        MessageParcel data;
        MessageParcel reply;
        TarnbyEmulator::WriteCallbackToken(data);
        WriteServiceCode(data, 103, subServiceType, 21, 0xFFFFFFFF, 23);
        body(data);
        EXPECT_EQ(TarnbyEmulator::SendCallback(HostIpc::GetProxy(hooks_), 101, data, &reply), 0);
        return ReplyValues(reply);
    };
    HostIpc::SetThreadIdentity(4321, 8765);
    EXPECT_EQ(deliver(1, [](MessageParcel &data) { data.WriteInt32(-7); }), std::vector<int32_t>{0});
    HostIpc::ClearThreadIdentity();
    EXPECT_EQ(deliver(3,
                      [&bytes](MessageParcel &data) {
                          data.WriteInt32(9);
                          data.WriteUint32(bytes.size());
                          data.WriteUnpadBuffer(bytes.data(), bytes.size());
                      }),
              std::vector<int32_t>{0});
    EXPECT_EQ(deliver(3, [](MessageParcel &data) { data.WriteInt32(9), data.WriteUint32(64); }),
              std::vector<int32_t>{0});
    EXPECT_EQ(deliver(2, [](MessageParcel &data) { data.WriteInt32(1); }), std::vector<int32_t>{0});
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
TEST_F(CallbackTest, EventsReachOnEventAndOtherServiceCodesAnswerNothing)
{
    for (uint32_t sub : {103u, 104u, 106u, 105u, 102u, 107u}) {
        EXPECT_EQ(hooks_->Deliver(
                      101,
                      [sub](MessageParcel &data) {
                          WriteServiceCode(data, 101, sub);
                          data.WriteUint32(7);
                          data.WriteUint32(sub);
                          data.WriteString("text");
                      },
                      reply_),
                  sub == 105 || sub == 102 || sub == 107 ? 0 : 17);
    }
    EXPECT_EQ(ReplyValues(reply_), std::vector<int32_t>({17, 17, 17}));
    EXPECT_EQ(hooks_->Calls(), Calls({"OnEvent(7, 103, text)", "OnEvent(7, 104, text)", "OnEvent(7, 106, text)"}));
    for (const auto &[serviceType, sub] : {std::pair{102u, 104u}, {100u, 1u}, {501u, 502u}}) {
        MessageParcel reply;
        EXPECT_EQ(hooks_->Deliver(
                      101, [type = serviceType, sub = sub](MessageParcel &data) { WriteServiceCode(data, type, sub); },
                      reply),
                  0);
        EXPECT_EQ(reply.GetDataSize(), 0u);
    }
    EXPECT_EQ(hooks_->Calls().size(), 3u);
}

// The raw-data block travels after its length; the hook gets its own copy. Up to 128 MiB, nothing beyond, and a
// length without its block costs no memory.
TEST_F(CallbackTest, RawDataIsCopiedForTheHookWithinItsBound)
{
    for (size_t size : {size_t{100}, size_t{64 * 1024 + 3}, size_t{MAX_RAW_DATA}}) {
        std::string bytes = Pattern(size);
        EXPECT_EQ(RawData(size, [&bytes](MessageParcel &data) { data.WriteRawData(bytes.data(), bytes.size()); }), 17);
        EXPECT_EQ(ReplyValues(reply_), std::vector<int32_t>{17});
        EXPECT_EQ(hooks_->Calls().back(),
                  "OnDataCallback(5, 6, " + std::to_string(size) + ", " + Fingerprint(bytes.data(), size) + ")");
    }
    EXPECT_TRUE(logs_.Logged(LOG_INFO, "TRBYCallback", "leave"));
    size_t calls = hooks_->Calls().size();
    for (uint32_t dataLen : {MAX_RAW_DATA + 1, 0xFFFFFFFFu}) {
        EXPECT_EQ(RawData(dataLen, [](MessageParcel &data) { data.WriteInt32(0x0BADF00D); }), 22);
        EXPECT_EQ(ReplyValues(reply_), std::vector<int32_t>{22});
        EXPECT_TRUE(
            logs_.Logged(LOG_ERROR, "TRBYCallback", "new buffer failed of length = " + std::to_string(dataLen)));
    }
    const char eight[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(RawData(16, [](MessageParcel &) {}), 22);
    EXPECT_EQ(RawData(16, [&eight](MessageParcel &data) { data.WriteRawData(eight, sizeof(eight)); }), 22);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCallback", "length = 16, treadData 0, rawByte 1"));
    EXPECT_EQ(RawData(0, [](MessageParcel &data) { data.WriteInt32(0); }), 22);
    // A 12-byte body claiming the largest length: refused before any buffer is made for it.
    g_largestNothrowArray = 0;
    EXPECT_EQ(RawData(MAX_RAW_DATA, [](MessageParcel &) {}), 22);
    EXPECT_LT(g_largestNothrowArray.load(), size_t{1} << 20);
    EXPECT_TRUE(logs_.Logged(LOG_ERROR, "TRBYCallback", "length = 134217728, treadData 0, rawByte 1"));
    EXPECT_EQ(hooks_->Calls().size(), calls);
}

TEST(CallbackLifetimeTest, CreationDestructionAndTheDefaultEventHookAreLogged)
{
    LogCapture logs;
    auto callback = sptr<Tarnby::CallbackSkeleton>::MakeSptr();
    EXPECT_TRUE(logs.Logged(LOG_INFO, "TRBYCallback", "create callback = ohos.ITarnby.ITarnbyCallback"));
    std::string extra = "x";
    callback->OnEvent(7, 10001, extra);
    EXPECT_TRUE(logs.Logged(LOG_INFO, "TRBYCallback", "code = 7, eventId = 10001"));
    callback = nullptr;
    EXPECT_TRUE(logs.Logged(LOG_INFO, "TRBYCallback", "destroy callback = ohos.ITarnby.ITarnbyCallback"));
}
} // namespace
} // namespace OHOS::TarnbyTest
