// Device and local descriptors, the picker's result, identifier masking and the device service info.
#include <gtest/gtest.h>

#include "ability_filter.h"
#include "record_checks.h"

namespace OHOS::TarnbyTest {
namespace {
using namespace OHOS::Tarnby;

Wire FilterWire()
{
    return Wire().Str("com.example.demo").Str("page").Str("").U32(14).U32(0).Str("view");
}

Wire DeviceWire()
{
    return Wire().Str("udid-0123456789").Str("net-0123456789").Str("Living room").U32(156);
}

Wire LocalWire()
{
    return Wire().Str("MainAbility").Str("com.example.demo").Str("local-0123456789").Str("entry").U32(14);
}

sptr<PickerResult> SampleResult()
{
    sptr<PickerResult> result = new PickerResult();
    sptr<AbilityFilter> filter = new AbilityFilter("com.example.demo", "page", "", 14, 0);
    filter->SetAction("view");
    result->SetAccessType(PickerResult::ACCESS_TYPE_2);
    result->SetAbilityFilter(filter);
    result->SetDeviceInfo(new DeviceInfo("udid-0123456789", "net-0123456789", "Living room", 156));
    result->SetLocalDeviceInfo(new LocalInfo("MainAbility", "com.example.demo", "local-0123456789", "entry", 14));
    return result;
}

Wire ResultWire(uint32_t accessType)
{
    return Wire().U32(accessType).I32(1).Then(FilterWire()).I32(1).Then(DeviceWire()).I32(1).Then(LocalWire());
}

TEST(StringToAnonymousTest, KeepsThreeBytesAtEachEnd)
{
    const std::vector<std::pair<std::string, std::string>> table = {
        {"", "****"},
        {"a", "****"},
        {"ab", "****"},
        {"abc", "abc****abc"},
        {"abcd", "abc****bcd"},
        {"abcde", "abc****cde"},
        {"abcdef", "abc****def"},
        {"0123456789abcdefghijklmnopqrstuvwxyzABCD", "012****BCD"}};
    for (const auto &[input, masked] : table) {
        EXPECT_EQ(PickerResult::StringToAnonymous(input), masked) << input;
    }
}

TEST(DeviceInfoTest, LayoutAndRoundTrip)
{
    DeviceInfo info("udid-0123456789", "net-0123456789", "Living room", 156);
    EXPECT_EQ(MarshalledBytes(info), DeviceWire().Bytes());
    Parcel parcel;
    DeviceWire().LoadInto(parcel);
    sptr<DeviceInfo> read = DeviceInfo::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetDeviceUdid(), "udid-0123456789");
    EXPECT_EQ(read->GetDeviceNetworkId(), "net-0123456789");
    EXPECT_EQ(read->GetDeviceName(), "Living room");
    EXPECT_EQ(read->GetDeviceType(), 156u);
}

TEST(DeviceInfoTest, TruncatedParcelGivesDefaults)
{
    Parcel parcel;
    Wire().Str("udid-0123456789").LoadInto(parcel);
    sptr<DeviceInfo> read = DeviceInfo::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetDeviceUdid(), "udid-0123456789");
    EXPECT_EQ(read->GetDeviceNetworkId(), "");
    EXPECT_EQ(read->GetDeviceType(), 0u);
}

TEST(DeviceInfoTest, FailsAtEveryCut)
{
    ExpectEveryCutFails(DeviceInfo("udid-0123456789", "net-0123456789", "Living room", 156),
                        "failed:udid_:udi****789, networkId_:net****789, deviceType:156", CLIENT_TAG);
}

TEST(LocalInfoTest, LayoutAndRoundTrip)
{
    LocalInfo info("MainAbility", "com.example.demo", "local-0123456789", "entry", 14);
    EXPECT_EQ(MarshalledBytes(info), LocalWire().Bytes());
    Parcel parcel;
    LocalWire().LoadInto(parcel);
    sptr<LocalInfo> read = LocalInfo::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetLocalAbilityName(), "MainAbility");
    EXPECT_EQ(read->GetLocalBundleName(), "com.example.demo");
    EXPECT_EQ(read->GetLocalDeviceId(), "local-0123456789");
    EXPECT_EQ(read->GetLocalModuleName(), "entry");
    EXPECT_EQ(read->GetLocalDeviceType(), 14u);
}

TEST(LocalInfoTest, TruncatedParcelGivesDefaults)
{
    Parcel parcel;
    sptr<LocalInfo> read = LocalInfo::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetLocalAbilityName(), "");
    EXPECT_EQ(read->GetLocalDeviceType(), 0u);
}

TEST(LocalInfoTest, FailsAtEveryCut)
{
    ExpectEveryCutFails(
        LocalInfo("MainAbility", "com.example.demo", "local-0123456789", "entry", 14),
        "failed:localAbilityName_:MainAbility, localBundleName_:com.example.demo, localDeviceId_:loc****789, "
        "localModuleName_:entry, localDeviceType_:14",
        CLIENT_TAG);
}

TEST(PickerResultTest, WritesAccessTypeThenThreeFlaggedRecords)
{
    EXPECT_EQ(MarshalledBytes(*SampleResult()), ResultWire(2).Bytes());
}

TEST(PickerResultTest, RoundTripKeepsEveryNestedField)
{
    Parcel parcel;
    ASSERT_TRUE(SampleResult()->Marshalling(parcel));
    sptr<PickerResult> read = PickerResult::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetAccessType(), PickerResult::ACCESS_TYPE_2);
    EXPECT_EQ(read->GetAbilityFilter()->GetAction(), "view");
    EXPECT_EQ(read->GetDeviceInfo()->GetDeviceName(), "Living room");
    EXPECT_EQ(read->GetLocalDeviceInfo()->GetLocalModuleName(), "entry");
    EXPECT_EQ(parcel.GetReadableBytes(), 0u);
}

TEST(PickerResultTest, AccessTypeThreeIsRejectedAfterTheRecords)
{
    Parcel parcel;
    ResultWire(3).LoadInto(parcel);
    LogCapture capture;
    EXPECT_EQ(PickerResult::Unmarshalling(parcel), nullptr);
    ExpectErrorLine(capture, "read accesstype failed", CLIENT_TAG);
    EXPECT_EQ(parcel.GetReadableBytes(), 0u);
}

TEST(PickerResultTest, MissingNestedRecordIsRejected)
{
    Parcel parcel;
    Wire().U32(1).I32(1).Then(FilterWire()).I32(0).I32(1).Then(LocalWire()).LoadInto(parcel);
    LogCapture capture;
    EXPECT_EQ(PickerResult::Unmarshalling(parcel), nullptr);
    ExpectErrorLine(capture, "read abilityFilter_ 0, deviceInfo 1, localInfo 0", CLIENT_TAG);
    EXPECT_EQ(parcel.GetReadableBytes(), 0u); // the local record after the gap was still read
}

TEST(PickerResultTest, NullNestedRecordFailsTheWrite)
{
    sptr<PickerResult> result = SampleResult();
    result->SetDeviceInfo(nullptr);
    Parcel parcel;
    LogCapture capture;
    EXPECT_FALSE(result->Marshalling(parcel));
    ExpectErrorLine(capture, "write PickerResult failed: abilityFilter_ = 0, deviceInfo_= 1 localInfo_= 0", CLIENT_TAG);

    sptr<PickerResult> empty = new PickerResult();
    Parcel other;
    EXPECT_FALSE(empty->Marshalling(other));
}

TEST(PickerResultTest, FailsAtEveryCut)
{
    ExpectEveryCutFails(*SampleResult(), "write PickerResult failed: abilityFilter_ = 0, deviceInfo_= 0 localInfo_= 0",
                        CLIENT_TAG);
}

DeviceServiceInfo SampleServiceInfo(std::vector<std::string> rules)
{
    return DeviceServiceInfo("Living room", 156, "hash-01", "devid-0123456789", std::move(rules), "net-0123456789",
                             "AA:BB:CC:DD:EE:FF", "{\"k\":1}");
}

TEST(DeviceServiceInfoTest, WritesEightFieldsInOrder)
{
    Wire expected;
    expected.Str("Living room").U32(156).Str("hash-01").Str("devid-0123456789").StrVec({"r1", "rule two"});
    expected.Str("net-0123456789").Str("AA:BB:CC:DD:EE:FF").Str("{\"k\":1}");
    EXPECT_EQ(MarshalledBytes(SampleServiceInfo({"r1", "rule two"})), expected.Bytes());
}

TEST(DeviceServiceInfoTest, RoundTripKeepsRuleOrder)
{
    for (const auto &rules : {std::vector<std::string>{}, std::vector<std::string>{"b", "a", "c"}}) {
        Parcel parcel;
        ASSERT_TRUE(SampleServiceInfo(rules).Marshalling(parcel));
        sptr<DeviceServiceInfo> read = DeviceServiceInfo::Unmarshalling(parcel);
        ASSERT_NE(read, nullptr);
        EXPECT_EQ(read->GetDeviceName(), "Living room");
        EXPECT_EQ(read->GetDeviceType(), 156u);
        EXPECT_EQ(read->GetDeviceHashId(), "hash-01");
        EXPECT_EQ(read->GetDeviceId(), "devid-0123456789");
        EXPECT_EQ(read->GetServiceRuleList(), rules);
        EXPECT_EQ(read->GetNetworkId(), "net-0123456789");
        EXPECT_EQ(read->GetBrMac(), "AA:BB:CC:DD:EE:FF");
        EXPECT_EQ(read->GetExtraInfo(), "{\"k\":1}");
    }
}

TEST(DeviceServiceInfoTest, RefusedRuleCountIsNotRejected)
{
    Parcel parcel;
    Wire().Str("tv").U32(156).Str("h").Str("d").U32(500).LoadInto(parcel);
    sptr<DeviceServiceInfo> read = DeviceServiceInfo::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_TRUE(read->GetServiceRuleList().empty());
    EXPECT_EQ(read->GetNetworkId(), "");
}

TEST(DeviceServiceInfoTest, FailsAtEveryCutAndMasksShortIds)
{
    ExpectEveryCutFails(SampleServiceInfo({"r1"}), "failed:udid_:dev****789, networkId_:net****789, deviceType:156",
                        CLIENT_TAG);
    DeviceServiceInfo shortIds("tv", 156, "h", "d1", {}, "n1", "", "");
    Parcel parcel;
    LogCapture capture;
    EXPECT_TRUE(shortIds.Marshalling(parcel));
    EXPECT_TRUE(capture.Find("success:udid_:****, networkId_:****, deviceType:156"));
}
} // namespace
} // namespace OHOS::TarnbyTest
