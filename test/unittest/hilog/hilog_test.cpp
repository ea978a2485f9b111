// Host HiLog: privacy tags, printf conversions, and the record sink that tests read logs through.
#include <climits>
#include <cstddef>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "hilog/log.h"
#include "log_capture.h"

namespace OHOS::TarnbyTest {
namespace {
constexpr unsigned int DOMAIN = 0xD004612;
constexpr const char *TAG = "HiLogTest";

class HiLogTest : public testing::Test {
protected:
    // The text of the only record that `print` leaves.
    template <typename Print>
    std::string Capture(Print print)
    {
        capture_.Clear();
        print();
        auto records = capture_.Records();
        EXPECT_EQ(records.size(), 1u);
        return records.empty() ? std::string() : records.front().text;
    }

    LogCapture capture_;
};

#define LOG_TEXT(...) Capture([&] { HiLogPrint(LOG_CORE, LOG_INFO, DOMAIN, TAG, __VA_ARGS__); })
} // namespace

TEST_F(HiLogTest, PublicValuesAreShownAndOthersArePrivate)
{
    EXPECT_EQ(LOG_TEXT("name = %{public}s", "tarnby"), "name = tarnby");
    EXPECT_EQ(LOG_TEXT("id = %{private}d", 42), "id = <private>");
    EXPECT_EQ(LOG_TEXT("id = %d, name = %s", 42, "x"), "id = <private>, name = <private>");
}

TEST_F(HiLogTest, PrivateArgumentsAreStillConsumedInOrder)
{
    EXPECT_EQ(LOG_TEXT("%{private}s %{public}d %lld %{public}s", "secret", 7, 1LL << 40, "end"),
              "<private> 7 <private> end");
    EXPECT_EQ(LOG_TEXT("%f|%{public}.2f|%{public}d", 1.5, 2.25, 3), "<private>|2.25|3");
}

TEST_F(HiLogTest, UnsignedAndSizeConversionsKeepTheirWidth)
{
    EXPECT_EQ(LOG_TEXT("%{public}zu", SIZE_MAX), std::to_string(SIZE_MAX));
    EXPECT_EQ(LOG_TEXT("%{public}lu", ULONG_MAX), std::to_string(ULONG_MAX));
    EXPECT_EQ(LOG_TEXT("%{public}u", UINT_MAX), "4294967295");
    EXPECT_EQ(LOG_TEXT("%{public}u/%{public}d", 3000000000u, -1), "3000000000/-1");
    EXPECT_EQ(LOG_TEXT("%{public}lld", LLONG_MIN), std::to_string(LLONG_MIN));
    EXPECT_EQ(LOG_TEXT("%{public}x %{public}#06x", 255u, 10u), "ff 0x000a");
}

TEST_F(HiLogTest, FlagsWidthsAndLiteralPercent)
{
    EXPECT_EQ(LOG_TEXT("[%{public}-5d][%{public}5s]", 12, "ab"), "[12   ][   ab]");
    EXPECT_EQ(LOG_TEXT("[%{public}*d]", 4, 7), "[   7]");
    EXPECT_EQ(LOG_TEXT("100%% of %{public}c", 'x'), "100% of x");
    EXPECT_EQ(LOG_TEXT("%{public}s", static_cast<const char *>(nullptr)), "(null)");
    EXPECT_EQ(LOG_TEXT("plain text"), "plain text");
}

TEST_F(HiLogTest, RecordCarriesTypeLevelDomainAndTag)
{
    int written = HiLogPrint(LOG_CORE, LOG_ERROR, DOMAIN, TAG, "code %{public}d", 1012);
    EXPECT_EQ(written, 9);
    HiLogRecord record;
    ASSERT_TRUE(capture_.Find("code 1012", &record));
    EXPECT_EQ(record.type, LOG_CORE);
    EXPECT_EQ(record.level, LOG_ERROR);
    EXPECT_EQ(record.domain, DOMAIN);
    EXPECT_EQ(record.tag, TAG);
    EXPECT_EQ(HiLogPrint(LOG_CORE, LOG_ERROR, DOMAIN, TAG, nullptr), -1);
}

TEST(HiLogSinkTest, DefaultWriterIsRestoredWhenTheCaptureEnds)
{
    {
        LogCapture capture;
        testing::internal::CaptureStderr();
        HiLogPrint(LOG_CORE, LOG_WARN, DOMAIN, TAG, "captured %{public}d", 1);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        EXPECT_TRUE(capture.Find("captured 1"));
    }
    testing::internal::CaptureStderr();
    HiLogPrint(LOG_CORE, LOG_WARN, DOMAIN, TAG, "to stderr %{public}s", "now");
    std::string line = testing::internal::GetCapturedStderr();
    EXPECT_NE(line.find(" W 04612/HiLogTest: to stderr now\n"), std::string::npos) << line;
}
} // namespace OHOS::TarnbyTest
