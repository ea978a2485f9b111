// The request envelope as bytes: token in the platform's format, then the five service-code fields, and what is left
// in a parcel that runs out of room part way.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "log_capture.h"
#include "log_expect.h"
#include "message_parcel.h"
#include "tarnby_proxy.h"

namespace OHOS::Tarnby {
namespace {
using TarnbyTest::LogCapture;
using TarnbyTest::Logged;
using TarnbyTest::PROXY_LABEL;

constexpr size_t TOKEN_BYTES = 68;              // the service token as the platform writes it
constexpr size_t FIELD_BYTES = 4;               // each service-code field
constexpr size_t DEFAULT_MAX_CAPACITY = 204800; // a MessageParcel's limit unless raised

void AppendWord(std::vector<uint8_t> &bytes, uint32_t value)
{
    for (int shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<uint8_t>(value >> shift));
    }
}

// Strict-mode word 0x100, work source 0, the UTF-16 length, the units, a zero unit, padding to 4.
std::vector<uint8_t> ServiceTokenBytes()
{
    const std::u16string token = u"ohos.ITarnby.ITarnbyService";
    std::vector<uint8_t> bytes;
    AppendWord(bytes, 0x100);
    AppendWord(bytes, 0);
    AppendWord(bytes, static_cast<uint32_t>(token.size()));
    for (char16_t unit : token) {
        bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<uint8_t>(unit >> 8));
    }
    bytes.push_back(0);
    bytes.push_back(0);
    while (bytes.size() % 4 != 0) {
        bytes.push_back(0);
    }
    return bytes;
}

std::vector<uint8_t> BytesOf(const MessageParcel &parcel)
{
    const auto *begin = reinterpret_cast<const uint8_t *>(parcel.GetData());
    return std::vector<uint8_t>(begin, begin + parcel.GetDataSize());
}

// Leaves exactly `room` bytes below the parcel's default maximum.
void FillLeaving(MessageParcel &parcel, size_t room)
{
    std::vector<uint8_t> filler(DEFAULT_MAX_CAPACITY - room, 0xEE);
    ASSERT_TRUE(parcel.WriteBuffer(filler.data(), filler.size()));
    ASSERT_EQ(parcel.GetDataSize(), DEFAULT_MAX_CAPACITY - room);
}

TEST(EnvelopeTest, TokenThenFiveFieldsInOrder)
{
    ASSERT_EQ(ServiceTokenBytes().size(), TOKEN_BYTES);
    LogCapture logs;
    MessageParcel data;
    ASSERT_EQ(TarnbyProxy::BuildCollaborationServiceCode(data, 103, 7, 0x01020304, 0xFFFFFFFF, 9), 0);

    std::vector<uint8_t> expected = ServiceTokenBytes();
    for (uint32_t field : {103u, 7u, 0x01020304u, 0xFFFFFFFFu, 9u}) {
        AppendWord(expected, field);
    }
    EXPECT_EQ(BytesOf(data), expected);
    EXPECT_TRUE(Logged(logs, LOG_INFO, PROXY_LABEL, "sender interface is ohos.ITarnby.ITarnbyService"));
    EXPECT_FALSE(logs.Contains("failed"));
}

TEST(EnvelopeTest, AppendsAfterWhatIsAlreadyWritten)
{
    MessageParcel data;
    ASSERT_TRUE(data.WriteInt32(-1));
    ASSERT_EQ(TarnbyProxy::BuildCollaborationServiceCode(data, 105, 29, 0, 0, 0), 0);
    std::vector<uint8_t> expected;
    AppendWord(expected, 0xFFFFFFFF);
    std::vector<uint8_t> token = ServiceTokenBytes();
    expected.insert(expected.end(), token.begin(), token.end());
    for (uint32_t field : {105u, 29u, 0u, 0u, 0u}) {
        AppendWord(expected, field);
    }
    EXPECT_EQ(BytesOf(data), expected);
}

// Room for the token and then for `fields` of the five: 1007 after the token, with those fields left in place.
TEST(EnvelopeTest, ParcelFullAfterTheTokenGives1007)
{
    for (size_t fields = 0; fields < 5; ++fields) {
        SCOPED_TRACE("fields that fit: " + std::to_string(fields));
        LogCapture logs;
        MessageParcel data;
        FillLeaving(data, TOKEN_BYTES + fields * FIELD_BYTES);
        EXPECT_EQ(TarnbyProxy::BuildCollaborationServiceCode(data, 11, 12, 13, 14, 15), 1007);
        EXPECT_EQ(data.GetDataSize(), DEFAULT_MAX_CAPACITY);
        std::vector<uint8_t> bytes = BytesOf(data);
        std::vector<uint8_t> tail(bytes.end() - TOKEN_BYTES - fields * FIELD_BYTES, bytes.end());
        std::vector<uint8_t> expected = ServiceTokenBytes();
        for (uint32_t field = 11; field < 11 + fields; ++field) {
            AppendWord(expected, field);
        }
        EXPECT_EQ(tail, expected);
        EXPECT_TRUE(Logged(logs, LOG_ERROR, PROXY_LABEL, "write to parcel failed"));
        EXPECT_FALSE(logs.Find("write interface token failed"));
        EXPECT_FALSE(logs.Contains("sender interface is"));
    }
}

TEST(EnvelopeTest, NoRoomForTheTokenGives1006)
{
    LogCapture logs;
    MessageParcel data;
    FillLeaving(data, TOKEN_BYTES - FIELD_BYTES);
    EXPECT_EQ(TarnbyProxy::BuildCollaborationServiceCode(data, 103, 7, 0, 0, 0), 1006);
    EXPECT_TRUE(Logged(logs, LOG_ERROR, PROXY_LABEL, "write interface token failed"));
    EXPECT_FALSE(logs.Find("write to parcel failed"));
}
} // namespace
} // namespace OHOS::Tarnby
