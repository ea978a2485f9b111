// Target and start descriptors: layouts, keys, account clamping and failing writes.
#include <gtest/gtest.h>

#include "record_checks.h"
#include "target_info.h"

namespace OHOS::TarnbyTest {
namespace {
using namespace OHOS::Tarnby;

sptr<TargetInfo> SampleTarget()
{
    return new TargetInfo("net-0123456789", ABILITY_TARGET, "com.example.demo", "MainAbility", 4700);
}

Wire TargetWire()
{
    return Wire().Str("net-0123456789").U32(1).Str("com.example.demo").Str("MainAbility").I32(4700);
}

TEST(TargetInfoTest, WritesFiveFieldsInOrder)
{
    EXPECT_EQ(MarshalledBytes(*SampleTarget()), TargetWire().Bytes());
    TargetInfo other("", 3, "", "", -2);
    EXPECT_EQ(MarshalledBytes(other), Wire().Str("").U32(3).Str("").Str("").I32(-2).Bytes());
}

TEST(TargetInfoTest, RoundTripDropsTheAccount)
{
    sptr<TargetInfo> target = SampleTarget();
    target->SetAccountId(100);
    EXPECT_EQ(target->GenTargetKey(), "100 1 com.example.demo MainAbility");
    Parcel parcel;
    ASSERT_TRUE(target->Marshalling(parcel));
    sptr<TargetInfo> read = TargetInfo::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetNetworkId(), "net-0123456789");
    EXPECT_EQ(read->GetTargetType(), 1u);
    EXPECT_EQ(read->GetBundleName(), "com.example.demo");
    EXPECT_EQ(read->GetAbilityName(), "MainAbility");
    EXPECT_EQ(read->GetSystemAbilityId(), 4700);
    EXPECT_EQ(read->GenTargetKey(), "0 1 com.example.demo MainAbility");
}

TEST(TargetInfoTest, TruncatedParcelGivesDefaults)
{
    Parcel parcel;
    Wire().Str("net-0123456789").U32(2).LoadInto(parcel);
    sptr<TargetInfo> read = TargetInfo::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetTargetType(), 2u);
    EXPECT_EQ(read->GetBundleName(), "");
    EXPECT_EQ(read->GetSystemAbilityId(), 0);
}

TEST(TargetInfoTest, KeysByType)
{
    TargetInfo target("net", SYSTEM_ABILITY_TARGET, "bundle", "ability", -4700);
    target.SetAccountId(101);
    EXPECT_EQ(target.GenTargetKey(), "101 0 -4700");
    target.SetTargetType(ABILITY_TARGET);
    EXPECT_EQ(target.GenTargetKey(), "101 1 bundle ability");
    target.SetTargetType(SECONDARY_ABILITY_TARGET);
    EXPECT_EQ(target.GenTargetKey(), "101 2 bundle ability");
    target.SetTargetType(3);
    EXPECT_EQ(target.GenTargetKey(), "");
    EXPECT_EQ(TargetInfo(4700).GenTargetKey(), "0 0 4700");
    EXPECT_EQ(TargetInfo("b", "a", SECONDARY_ABILITY_TARGET).GenTargetKey(), "0 2 b a");
}

TEST(TargetInfoTest, AccountsBelowHundredBecomeZero)
{
    TargetInfo target(1);
    const std::vector<std::pair<int32_t, std::string>> table = {
        {99, "0"}, {-5, "0"}, {100, "100"}, {INT32_MIN, "0"}, {INT32_MAX, std::to_string(INT32_MAX)}};
    for (const auto &[account, shown] : table) {
        target.SetAccountId(account);
        EXPECT_EQ(target.GenTargetKey(), shown + " 0 1") << account;
    }
}

TEST(TargetInfoTest, ShortConstructorsLeaveTheRestEmpty)
{
    TargetInfo ability("com.example.demo", "MainAbility", ABILITY_TARGET);
    EXPECT_EQ(MarshalledBytes(ability),
              Wire().Str("").U32(1).Str("com.example.demo").Str("MainAbility").I32(0).Bytes());
    TargetInfo system(4700);
    EXPECT_EQ(MarshalledBytes(system), Wire().Str("").U32(0).Str("").Str("").I32(4700).Bytes());
}

TEST(TargetInfoTest, FailsAtEveryCut)
{
    ExpectEveryCutFails(
        *SampleTarget(),
        "failed networkId=net****789, targetType=1, bundleName=com.example.demo, abilityName=MainAbility, "
        "systemAbilityId=4700",
        COLLABORATION_TAG);
}

TEST(StartInfoTest, WritesIdFlaggedTargetAndExtraData)
{
    sptr<StartInfo> info = new StartInfo(42, SampleTarget(), "extra");
    EXPECT_EQ(MarshalledBytes(*info), Wire().I32(42).I32(1).Then(TargetWire()).Str("extra").Bytes());
}

TEST(StartInfoTest, RoundTrip)
{
    sptr<StartInfo> info = new StartInfo(-7, SampleTarget(), "");
    std::string extra = "payload";
    info->SetExtraData(extra);
    Parcel parcel;
    ASSERT_TRUE(info->Marshalling(parcel));
    sptr<StartInfo> read = StartInfo::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetCollaborationSessionId(), -7);
    ASSERT_NE(read->GetSrcTarget(), nullptr);
    EXPECT_EQ(read->GetSrcTarget()->GenTargetKey(), "0 1 com.example.demo MainAbility");
    EXPECT_EQ(read->GetExtraData(), "payload");
}

TEST(StartInfoTest, AbsentTargetReadsAsNull)
{
    Parcel parcel;
    Wire().I32(9).I32(0).Str("after").LoadInto(parcel);
    sptr<StartInfo> read = StartInfo::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetCollaborationSessionId(), 9);
    EXPECT_EQ(read->GetSrcTarget(), nullptr);
    EXPECT_EQ(read->GetExtraData(), "after");
}

TEST(StartInfoTest, NullTargetFailsTheWrite)
{
    sptr<StartInfo> info = new StartInfo(5, nullptr, "extra");
    Parcel parcel;
    LogCapture capture;
    EXPECT_FALSE(info->Marshalling(parcel));
    ExpectErrorLine(capture, "failed marshall collaborationSessionId=5", COLLABORATION_TAG);
    EXPECT_FALSE(capture.Find("success marshall collaborationSessionId=5"));
}

TEST(StartInfoTest, FailsAtEveryCut)
{
    sptr<StartInfo> info = new StartInfo(5, SampleTarget(), "extra");
    info->SetExtraData(std::string("moved"));
    ExpectEveryCutFails(*info, "failed marshall collaborationSessionId=5", COLLABORATION_TAG);
}
} // namespace
} // namespace OHOS::TarnbyTest
