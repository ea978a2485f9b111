// Filters: byte layouts, round trips, the one rejecting read, failing writes and the matching tables.
#include <memory>

#include <gtest/gtest.h>

#include "ability_filter.h"
#include "record_checks.h"

namespace OHOS::TarnbyTest {
namespace {
using namespace OHOS::Tarnby;

sptr<AbilityFilter> SampleAbilityFilter()
{
    sptr<AbilityFilter> filter = new AbilityFilter("com.example.demo", "page", "a demo", 14, 7);
    filter->SetAction("action.view");
    return filter;
}

using Names = std::shared_ptr<std::vector<std::string>>;

Names RemoteNames(std::vector<std::string> names)
{
    return std::make_shared<std::vector<std::string>>(std::move(names));
}

TEST(AbilityFilterTest, WritesSixFieldsInOrder)
{
    Wire expected;
    expected.Str("com.example.demo").Str("page").Str("a demo").U32(14).U32(7).Str("action.view");
    EXPECT_EQ(MarshalledBytes(*SampleAbilityFilter()), expected.Bytes());
}

TEST(AbilityFilterTest, RoundTripKeepsTheAction)
{
    Parcel parcel;
    ASSERT_TRUE(SampleAbilityFilter()->Marshalling(parcel));
    sptr<AbilityFilter> read = AbilityFilter::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetBundleName(), "com.example.demo");
    EXPECT_EQ(read->GetAbilityType(), "page");
    EXPECT_EQ(read->GetAbilityDescription(), "a demo");
    EXPECT_EQ(read->GetDeviceType(), 14u);
    EXPECT_EQ(read->GetAccountType(), 7u);
    EXPECT_EQ(read->GetAction(), "action.view");
}

TEST(AbilityFilterTest, TruncatedParcelGivesDefaults)
{
    Parcel parcel;
    Wire().Str("com.example.demo").Str("page").LoadInto(parcel);
    sptr<AbilityFilter> read = AbilityFilter::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetAbilityType(), "page");
    EXPECT_EQ(read->GetAbilityDescription(), "");
    EXPECT_EQ(read->GetDeviceType(), 0u);
    EXPECT_EQ(read->GetAction(), "");
}

TEST(AbilityFilterTest, FailsAtEveryCut)
{
    ExpectEveryCutFails(
        *SampleAbilityFilter(),
        "failed: bundleName: com.example.demo, abilityType: page, abilityDescription: a demo,deviceType:14, , "
        "accountType:7",
        CLIENT_TAG);
}

TEST(DeviceFilterTest, WritesBothVectors)
{
    DeviceFilter filter({14, 17}, {3});
    EXPECT_EQ(MarshalledBytes(filter), Wire().U32Vec({14, 17}).U32Vec({3}).Bytes());
}

TEST(DeviceFilterTest, RoundTripKeepsTheLists)
{
    Parcel parcel;
    ASSERT_TRUE(DeviceFilter({14, 17}, {3, 5}).Marshalling(parcel));
    sptr<DeviceFilter> read = DeviceFilter::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(MarshalledBytes(*read), Wire().U32Vec({14, 17}).U32Vec({3, 5}).Bytes());
}

TEST(DeviceFilterTest, CountBeyondTheParcelIsRejected)
{
    for (bool inSecond : {false, true}) {
        SCOPED_TRACE(inSecond ? "account types" : "device types");
        Wire wire;
        if (inSecond) {
            wire.U32Vec({14});
        }
        wire.U32(3).U32(1).U32(2); // three elements claimed, two present
        Parcel parcel;
        wire.LoadInto(parcel);
        LogCapture capture;
        EXPECT_EQ(DeviceFilter::Unmarshalling(parcel), nullptr);
        ExpectErrorLine(capture, "read vector failed", CLIENT_TAG);
    }
}

TEST(DeviceFilterTest, EmptyParcelGivesEmptyFilter)
{
    Parcel parcel;
    sptr<DeviceFilter> read = DeviceFilter::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_FALSE(read->isDeviceTypeMatch(0));
}

TEST(DeviceFilterTest, MatchesOnlyListedNumbers)
{
    DeviceFilter empty({}, {});
    EXPECT_FALSE(empty.isDeviceTypeMatch(0));
    EXPECT_FALSE(empty.isAccountTypeMatch(0));
    DeviceFilter filter({14, 17}, {100});
    EXPECT_TRUE(filter.isDeviceTypeMatch(17));
    EXPECT_TRUE(filter.isDeviceTypeMatch(14));
    EXPECT_FALSE(filter.isDeviceTypeMatch(100));
    EXPECT_TRUE(filter.isAccountTypeMatch(100));
    EXPECT_FALSE(filter.isAccountTypeMatch(14));
}

TEST(DeviceFilterTest, FailsAtEveryCut)
{
    ExpectEveryCutFails(DeviceFilter({14, 17, 156}, {1, 2}), "write failed, dt:3 at:2", CLIENT_TAG);
}

TEST(ServiceFilterTest, WritesNameThenNames)
{
    ServiceFilter filter("cast", {"PHONE", "PAD"});
    EXPECT_EQ(MarshalledBytes(filter), Wire().Str("cast").StrVec({"PHONE", "PAD"}).Bytes());
}

TEST(ServiceFilterTest, RoundTripAndRefusedVectorIsNotRejected)
{
    Parcel parcel;
    ASSERT_TRUE(ServiceFilter("cast", {"TV", ""}).Marshalling(parcel));
    sptr<ServiceFilter> read = ServiceFilter::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetServiceName(), "cast");
    EXPECT_EQ(read->GetDeviceType(), (std::vector<std::string>{"TV", ""}));

    Parcel bad;
    Wire().Str("cast").U32(1000).LoadInto(bad);
    read = ServiceFilter::Unmarshalling(bad);
    ASSERT_NE(read, nullptr);
    EXPECT_TRUE(read->GetDeviceType().empty());
}

TEST(ServiceFilterTest, FailsAtEveryCut)
{
    ExpectEveryCutFails(ServiceFilter("cast", {"PHONE"}), "write ServiceFilter failed: serviceName_ = cast",
                        CLIENT_TAG);
}

TEST(ServiceFilterTest, ServiceNameTable)
{
    EXPECT_TRUE(ServiceFilter("", {}).IsMatch(nullptr, 3));
    EXPECT_TRUE(ServiceFilter("", {}).IsMatchServiceName(RemoteNames({})));
    ServiceFilter cast("cast", {});
    EXPECT_TRUE(cast.IsMatchServiceName(RemoteNames({"audio", "cast"})));
    EXPECT_FALSE(cast.IsMatchServiceName(RemoteNames({})));
    EXPECT_FALSE(cast.IsMatchServiceName(RemoteNames({"Cast", "casting", "cas"})));

    LogCapture capture;
    EXPECT_FALSE(cast.IsMatch(nullptr, 14));
    auto records = capture.Records();
    std::vector<std::string> messages;
    for (const auto &record : records) {
        messages.push_back(LogCapture::Message(record));
    }
    EXPECT_EQ(messages, (std::vector<std::string>{"filter serviceName: cast", "GetRemoteServiceNames nullptr",
                                                  "filtered by service name"}));
}

TEST(ServiceFilterTest, DeviceTypeTable)
{
    EXPECT_TRUE(ServiceFilter("", {}).IsMatchDeviceType(12345));
    ServiceFilter phone("", {"PHONE"});
    EXPECT_TRUE(phone.IsMatchDeviceType(14));
    EXPECT_FALSE(phone.IsMatchDeviceType(17));
    EXPECT_FALSE(ServiceFilter("", {"phone"}).IsMatchDeviceType(14));
    EXPECT_TRUE(ServiceFilter("", {"PAD", ""}).IsMatchDeviceType(3));
    EXPECT_FALSE(phone.IsMatchDeviceType(3));

    LogCapture capture;
    EXPECT_FALSE(ServiceFilter("cast", {"PHONE"}).IsMatch(RemoteNames({"cast"}), 17));
    EXPECT_TRUE(capture.Find("filter deviceTypes size: 1, get remote device type:17"));
    EXPECT_TRUE(capture.Find("filtered by device type"));
    EXPECT_TRUE(ServiceFilter("cast", {"PHONE"}).IsMatch(RemoteNames({"cast"}), 14));
}

TEST(ServiceFilterTest, ConvertDeviceTypeNames)
{
    const std::vector<std::pair<uint32_t, std::string>> table = {
        {0x00, "UNKNOWN"},    {0x0E, "PHONE"}, {0x11, "PAD"},
        {0x9C, "TV"},         {0x83, "CAR"},   {0x6D, "WATCH"},
        {0x08, "WiFiCamera"}, {0x0C, "PC"},    {0xA02, "SMART_DISPLAY"},
        {0xA2F, "2IN1"},      {3, ""},         {0xFFFFFFFF, ""}};
    for (const auto &[number, name] : table) {
        EXPECT_EQ(ServiceFilter::ConvertDeviceType(number), name) << number;
    }
}
} // namespace
} // namespace OHOS::TarnbyTest
