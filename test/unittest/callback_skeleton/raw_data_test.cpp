// The raw-data path (101 family, service code 102/105): one copy into a buffer the hook owns, the 128 MiB bound
// checked before anything is read, and the missing block.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "recording_callback.h"

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
constexpr uint32_t CODE = 101;
constexpr uint32_t MAX_RAW_DATA = 134217728; // 128 MiB

std::vector<char> Pattern(size_t size)
{
    std::vector<char> bytes(size);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>((i * 31 + 7) % 251);
    }
    return bytes;
}

// Service code 102/105, then code, second and dataLen.
void RawHeader(MessageParcel &data, uint32_t dataLen)
{
    WriteServiceCode(data, 102, 105);
    data.WriteUint32(5);
    data.WriteUint32(6);
    data.WriteUint32(dataLen);
}

void ExpectRawData(RecordingCallback::RawData &raw, const std::vector<char> &bytes)
{
    EXPECT_EQ(raw.code, 5u);
    EXPECT_EQ(raw.second, 6u);
    ASSERT_EQ(raw.dataLen, bytes.size());
    ASSERT_NE(raw.data, nullptr);
    EXPECT_EQ(std::memcmp(raw.data.get(), bytes.data(), bytes.size()), 0);
}

class RawDataTest : public CallbackTest {
protected:
    // Sends a block of `size` bytes across the boundary and checks what the hook got and the reply.
    void DeliverBlock(size_t size)
    {
        callback_->SetResults(17, 0);
        std::vector<char> bytes = Pattern(size);
        MessageParcel reply;
        Deliver(CODE, reply, [&bytes](MessageParcel &data) {
            RawHeader(data, static_cast<uint32_t>(bytes.size()));
            ASSERT_TRUE(data.WriteRawData(bytes.data(), bytes.size()));
        });
        EXPECT_EQ(ReplyHead(reply), 17);
        EXPECT_EQ(callback_->Hooks(), std::vector<std::string>{"OnDataCallback"});
        RecordingCallback::RawData raw = callback_->TakeRawData();
        ExpectRawData(raw, bytes);
    }
    // Calls with the raw-data header for `dataLen` and whatever `block` writes after it; expects 22 and no hook.
    void ExpectRefused(uint32_t dataLen, const ParcelFill &block)
    {
        MessageParcel data;
        MessageParcel reply;
        StartParcel(data);
        RawHeader(data, dataLen);
        block(data);
        EXPECT_EQ(CallDirect(CODE, data, reply), 22);
        EXPECT_EQ(ReplyHead(reply), 22);
        EXPECT_TRUE(callback_->Hooks().empty());
        EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL, "enter."));
        EXPECT_FALSE(logs_.Find("leave"));
    }
};

TEST_F(RawDataTest, InlineBlockReachesTheHook)
{
    DeliverBlock(100);
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL, "enter."));
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CALLBACK_LABEL, "leave"));
}

TEST_F(RawDataTest, SharedMemoryBlockReachesTheHook)
{
    DeliverBlock(64 * 1024 + 3);
}

// The hook keeps the buffer after the call: it is its own, not a view into the parcel.
TEST_F(RawDataTest, HookOwnsItsBuffer)
{
    std::vector<char> bytes = Pattern(64);
    MessageParcel data;
    MessageParcel reply;
    StartParcel(data);
    RawHeader(data, static_cast<uint32_t>(bytes.size()));
    ASSERT_TRUE(data.WriteRawData(bytes.data(), bytes.size()));
    EXPECT_EQ(CallDirect(CODE, data, reply), 0);
    RecordingCallback::RawData raw = callback_->TakeRawData();
    ExpectRawData(raw, bytes);
    const char *begin = reinterpret_cast<const char *>(data.GetData());
    const char *end = begin + data.GetDataSize();
    EXPECT_TRUE(raw.data.get() + raw.dataLen <= begin || raw.data.get() >= end) << "the buffer points into the parcel";
}

TEST_F(RawDataTest, ExactlyTheBoundIsAccepted)
{
    std::vector<char> bytes = Pattern(MAX_RAW_DATA);
    MessageParcel data;
    MessageParcel reply;
    StartParcel(data);
    RawHeader(data, MAX_RAW_DATA);
    ASSERT_TRUE(data.WriteRawData(bytes.data(), bytes.size()));
    EXPECT_EQ(CallDirect(CODE, data, reply), 0);
    EXPECT_EQ(ReplyHead(reply), 0);
    RecordingCallback::RawData raw = callback_->TakeRawData();
    ExpectRawData(raw, bytes);
}

// Over the bound nothing after dataLen is read: the next field is still where the service put it.
TEST_F(RawDataTest, OverTheBoundIsRefusedBeforeReading)
{
    for (uint32_t dataLen : {MAX_RAW_DATA + 1, 0xFFFFFFFFu}) {
        SCOPED_TRACE("dataLen " + std::to_string(dataLen));
        logs_.Clear();
        MessageParcel data;
        MessageParcel reply;
        StartParcel(data);
        RawHeader(data, dataLen);
        data.WriteInt32(0x0BADF00D);
        EXPECT_EQ(CallDirect(CODE, data, reply), 22);
        EXPECT_EQ(ReplyHead(reply), 22);
        EXPECT_EQ(data.ReadInt32(), 0x0BADF00D);
        EXPECT_TRUE(
            Logged(logs_, LOG_ERROR, CALLBACK_LABEL, "new buffer failed of length = " + std::to_string(dataLen)));
        EXPECT_FALSE(logs_.Find("leave"));
    }
    EXPECT_TRUE(callback_->Hooks().empty());
}

TEST_F(RawDataTest, MissingBlockGives22)
{
    ExpectRefused(16, [](MessageParcel &) {});
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, CALLBACK_LABEL, "length = 16, treadData 0, rawByte 1"));
}

// A 12-byte body claiming the largest length: refused before any buffer is made for it.
TEST_F(RawDataTest, ClaimedLengthWithoutItsBlockCostsNoMemory)
{
    g_largestNothrowArray = 0;
    ExpectRefused(MAX_RAW_DATA, [](MessageParcel &) {});
    EXPECT_LT(g_largestNothrowArray.load(), size_t{1} << 20);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, CALLBACK_LABEL, "length = 134217728, treadData 0, rawByte 1"));
}

TEST_F(RawDataTest, BlockOfAnotherSizeGives22)
{
    ExpectRefused(16, [](MessageParcel &data) {
        const char raw[8] = {1, 2, 3, 4, 5, 6, 7, 8};
        data.WriteRawData(raw, sizeof(raw));
    });
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, CALLBACK_LABEL, "length = 16, treadData 0, rawByte 1"));
}

TEST_F(RawDataTest, EmptyBlockGives22)
{
    ExpectRefused(0, [](MessageParcel &data) { data.WriteInt32(0); });
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, CALLBACK_LABEL, "length = 0, treadData 0, rawByte 1"));
}

TEST_F(RawDataTest, PretreatmentCallableByItself)
{
    callback_->SetResults(-8, 0);
    std::vector<char> bytes = Pattern(9);
    MessageParcel data;
    data.WriteUint32(5);
    data.WriteUint32(6);
    data.WriteUint32(static_cast<uint32_t>(bytes.size()));
    ASSERT_TRUE(data.WriteRawData(bytes.data(), bytes.size()));
    EXPECT_EQ(callback_->DataPretreatment(data), -8);
    RecordingCallback::RawData raw = callback_->TakeRawData();
    ExpectRawData(raw, bytes);
}
} // namespace
} // namespace OHOS::TarnbyTest
