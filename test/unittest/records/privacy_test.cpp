// Identifiers never reach the log in full, and a failed allocation yields null with the record's line.
#include <atomic>
#include <new>

#include <gtest/gtest.h>

#include "ability_filter.h"
#include "record_checks.h"
#include "target_info.h"
#include "veskor_info.h"

namespace {
// While set, every non-throwing allocation in the process fails, as it would when memory runs out.
std::atomic<bool> g_failNothrowNew{false};
} // namespace

void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    if (g_failNothrowNew.load()) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (...) {
        return nullptr;
    }
}

namespace OHOS::TarnbyTest {
namespace {
using namespace OHOS::Tarnby;

const std::string UDID = "UDID9876543210ABCDEF";
const std::string NETWORK_ID = "NETW1234567890ZYXWVU";
const std::string DEVICE_ID = "DEVI5555666677778888";

class FailingAllocation {
public:
    FailingAllocation()
    {
        g_failNothrowNew = true;
    }
    ~FailingAllocation()
    {
        g_failNothrowNew = false;
    }
};

// Builds, writes, reads back and drops every record that carries an identifier.
void ExerciseRecords()
{
    auto roundTrip = [](const Parcelable &record, auto reader) {
        Parcel parcel;
        EXPECT_TRUE(record.Marshalling(parcel));
        EXPECT_NE(reader(parcel), nullptr);
    };
    sptr<DeviceInfo> device = new DeviceInfo(UDID, NETWORK_ID, "name", 14);
    roundTrip(*device, DeviceInfo::Unmarshalling);
    sptr<LocalInfo> local = new LocalInfo("Ability", "bundle", DEVICE_ID, "entry", 14);
    roundTrip(*local, LocalInfo::Unmarshalling);
    sptr<PickerResult> result = new PickerResult();
    result->SetAbilityFilter(new AbilityFilter("bundle", "page", "", 14, 0));
    result->SetDeviceInfo(device);
    result->SetLocalDeviceInfo(local);
    roundTrip(*result, PickerResult::Unmarshalling);
    sptr<DeviceServiceInfo> service = new DeviceServiceInfo("tv", 156, "hash", DEVICE_ID, {}, NETWORK_ID, "", "");
    roundTrip(*service, DeviceServiceInfo::Unmarshalling);
    sptr<TargetInfo> target = new TargetInfo(NETWORK_ID, ABILITY_TARGET, "bundle", "Ability", 0);
    roundTrip(*target, [](Parcel &parcel) { return sptr<TargetInfo>(TargetInfo::Unmarshalling(parcel)); });
    sptr<StartInfo> start = new StartInfo(1, target, "");
    roundTrip(*start, [](Parcel &parcel) { return sptr<StartInfo>(StartInfo::Unmarshalling(parcel)); });
    sptr<ServiceStateInfo> state = new ServiceStateInfo(DEVICE_ID, 1, 1);
    roundTrip(*state, ServiceStateInfo::Unmarshalling);
    sptr<DistributeTaskInfo> task = new DistributeTaskInfo(DEVICE_ID, 1, 1);
    roundTrip(*task, DistributeTaskInfo::Unmarshalling);
}

TEST(RecordLogPrivacyTest, IdentifiersAppearOnlyMasked)
{
    LogCapture capture;
    ExerciseRecords();
    ASSERT_FALSE(capture.Records().empty());
    for (const std::string &id : {UDID, NETWORK_ID, DEVICE_ID}) {
        EXPECT_FALSE(capture.Contains(id)) << id;
        EXPECT_FALSE(capture.Contains(id.substr(0, 6))) << id; // no longer head than the masked form
        EXPECT_TRUE(capture.Contains(PickerResult::StringToAnonymous(id))) << id;
    }
}

TEST(RecordAllocationTest, DescriptorsReportTheFailedAllocation)
{
    Parcel device;
    Wire().Str(UDID).Str(NETWORK_ID).Str("name").U32(14).LoadInto(device);
    Parcel local;
    Wire().Str("Ability").Str("bundle").Str(DEVICE_ID).Str("entry").U32(14).LoadInto(local);
    Parcel filter;
    Wire().Str("bundle").Str("page").Str("d").U32(14).U32(2).Str("act").LoadInto(filter);
    Parcel service;
    Wire().Str("tv").U32(156).Str("hash").Str(DEVICE_ID).U32(0).Str(NETWORK_ID).LoadInto(service);
    Parcel picker;
    Parcel serviceFilter;
    LogCapture capture;
    {
        FailingAllocation failing;
        EXPECT_EQ(DeviceInfo::Unmarshalling(device), nullptr);
        EXPECT_EQ(LocalInfo::Unmarshalling(local), nullptr);
        EXPECT_EQ(AbilityFilter::Unmarshalling(filter), nullptr);
        EXPECT_EQ(DeviceServiceInfo::Unmarshalling(service), nullptr);
        EXPECT_EQ(PickerResult::Unmarshalling(picker), nullptr);
        EXPECT_EQ(ServiceFilter::Unmarshalling(serviceFilter), nullptr);
    }
    ExpectErrorLine(capture, "new DeviceInfo failed, udid:UDI****DEF, networkId:NET****WVU,deviceType:14", CLIENT_TAG);
    ExpectErrorLine(capture,
                    "new LocalInfo failed, localAbilityName:Ability, localBundleName:bundle, localDeviceId:DEV****888, "
                    "localModuleNam:entry, localDeviceType:14",
                    CLIENT_TAG);
    ExpectErrorLine(
        capture,
        "new AbilityFilter failed, bundleName = bundle, abilityType:page, abilityDescription:d,deviceType:14, "
        "accountType:2",
        CLIENT_TAG);
    ExpectErrorLine(capture, "new DeviceServiceInfo failed, udid:DEV****888, networkId:NET****WVU,deviceType:156",
                    CLIENT_TAG);
    ExpectErrorLine(capture, "new PickerResult failed", CLIENT_TAG);
    ExpectErrorLine(capture, "new ServiceFilter failed", CLIENT_TAG);
}

TEST(RecordAllocationTest, TargetsAndConnectRecordsReportTheFailedAllocation)
{
    Parcel target;
    Wire().Str(NETWORK_ID).U32(1).Str("bundle").Str("Ability").I32(4700).LoadInto(target);
    Parcel start;
    Wire().I32(77).I32(0).Str("").LoadInto(start);
    Parcel task;
    Wire().Str(DEVICE_ID).U32(1).U32(12).LoadInto(task);
    Parcel state;
    Wire().Str(DEVICE_ID).U32(13).U32(1).LoadInto(state);
    Parcel hardware;
    Parcel communication;
    Parcel resource;
    LogCapture capture;
    {
        FailingAllocation failing;
        EXPECT_EQ(TargetInfo::Unmarshalling(target), nullptr);
        EXPECT_EQ(StartInfo::Unmarshalling(start), nullptr);
        EXPECT_EQ(DistributeTaskInfo::Unmarshalling(task), nullptr);
        EXPECT_EQ(ServiceStateInfo::Unmarshalling(state), nullptr);
        EXPECT_EQ(HardwareRequest::Unmarshalling(hardware), nullptr);
        EXPECT_EQ(CommunicationRequest::Unmarshalling(communication), nullptr);
        EXPECT_EQ(ResourceRequest::Unmarshalling(resource), nullptr);
        EXPECT_EQ(DeviceFilter::Unmarshalling(hardware), nullptr);
    }
    ExpectErrorLine(
        capture,
        "failed networkId=NET****WVU, targetType=1, bundleName=bundle, abilityName=Ability, systemAbilityId=4700",
        COLLABORATION_TAG);
    ExpectErrorLine(capture, "failed marshall collaborationSessionId=77", COLLABORATION_TAG);
    ExpectErrorLine(capture, "new distributeTaskInfo failed, linkType= 12", VESKOR_TAG);
    ExpectErrorLine(capture, "new ServiceStateInfo failed, linkType= 13", VESKOR_TAG);
    ExpectErrorLine(capture, "New communicationRequest failed", VESKOR_TAG);
    // The resource request reuses the hardware request's line: the two failures log the same text.
    EXPECT_EQ(capture.Count("New hardwareRequest failed"), 2u);
}
} // namespace
} // namespace OHOS::TarnbyTest
