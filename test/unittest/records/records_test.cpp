// SPDX-License-Identifier: Apache-2.0
// The records: bytes written out by hand, read back, written again, and failing at every cut with their one line.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <new>

#include "ability_filter.h"
#include "log_capture.h"
#include "target_info.h"
#include "veskor_info.h"
#include "wire.h"

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
using namespace Tarnby;

const auto Target = [] {
    return sptr<TargetInfo>(new TargetInfo("net-0123456789", ABILITY_TARGET, "com.example.demo", "MainAbility", 4700));
};
sptr<AbilityFilter> Filter()
{
    auto filter = sptr<AbilityFilter>::MakeSptr("com.example.demo", "page", "a demo", 14, 7);
    filter->SetAction("action.view");
    return filter;
}
const auto Device = [] {
    return sptr<DeviceInfo>(new DeviceInfo("udid-0123456789", "net-0123456789", "Living room", 156));
};
const auto Local = [] {
    return sptr<LocalInfo>(new LocalInfo("MainAbility", "com.example.demo", "local-0123456789", "entry", 14));
};
sptr<PickerResult> Picker()
{
    sptr<PickerResult> result = new PickerResult();
    result->SetAccessType(PickerResult::ACCESS_TYPE_2);
    result->SetAbilityFilter(Filter());
    result->SetDeviceInfo(Device());
    result->SetLocalDeviceInfo(Local());
    return result;
}
sptr<CommunicationRequest> Communication()
{
    sptr<CommunicationRequest> request = new CommunicationRequest(1, 2, 3, 4, 5);
    request->SetMaxIdleTime(6);
    request->SetFirstPackge(7);
    request->SetTransReliability(8);
    request->SetDataType("video");
    return request;
}
sptr<ResourceRequest> Resource()
{
    sptr<ResourceRequest> request = new ResourceRequest();
    request->SetRemoteHardwareList({new HardwareRequest(HardwareType(4), true), nullptr});
    request->SetLocalHardwareList({new HardwareRequest(HardwareType(9), false)});
    request->SetCommunicationRequest(Communication());
    request->SetServiceConnectType(5);
    return request;
}
const Wire TARGET = Wire().Str("net-0123456789").Words(1).Str("com.example.demo", "MainAbility").Words(4700);
const Wire FILTER = Wire().Str("com.example.demo", "page", "a demo").Words(14, 7).Str("action.view");
const Wire DEVICE = Wire().Str("udid-0123456789", "net-0123456789", "Living room").Words(156);
const Wire LOCAL = Wire().Str("MainAbility", "com.example.demo", "local-0123456789", "entry").Words(14);
const Wire COMMUNICATION = Wire().Words(1, 2, 3, 4, 5, 6, 7, 8).Str("video");
// Two remote entries (type 4 wanted, then an absent one), one local entry (type 9 not wanted), the channel, type 5.
const Wire RESOURCE = Wire().Words(2, 1, 4, true, 0, 1, 1, 9, false, 1).Then(COMMUNICATION).Words(5);
Wire PickerWire(uint32_t accessType)
{
    return Wire().Words(accessType, 1).Then(FILTER).Words(1).Then(DEVICE).Words(1).Then(LOCAL);
}

struct RecordCase {
    const char *name;
    std::function<sptr<Parcelable>()> make;
    Wire bytes;
    std::function<sptr<Parcelable>(Parcel &)> read;
    // The one error line (and its tag) of a write that fails with the room ending at `from` or later.
    std::vector<std::tuple<size_t, std::string, std::string>> failures;
};
std::vector<std::tuple<size_t, std::string, std::string>> Fails(const std::string &line, const std::string &tag)
{
    return {{0, line, tag}};
}

template <typename Record>
std::function<sptr<Parcelable>(Parcel &)> Reader()
{
    return [](Parcel &parcel) { return sptr<Parcelable>(Record::Unmarshalling(parcel)); };
}

// The case's name only, so that test listings do not print the bytes of the struct.
void PrintTo(const RecordCase &record, std::ostream *out)
{
    *out << record.name;
}

class RecordTest : public testing::TestWithParam<RecordCase> {};

TEST_P(RecordTest, WritesItsBytesReadsThemBackAndFailsAtEveryCut)
{
    const RecordCase &record = GetParam();
    sptr<Parcelable> made = record.make();
    EXPECT_EQ(MarshalledBytes(*made), record.bytes.Bytes());
    Parcel parcel;
    record.bytes.LoadInto(parcel);
    sptr<Parcelable> read = record.read(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(parcel.GetReadableBytes(), 0u);
    EXPECT_EQ(MarshalledBytes(*read), record.bytes.Bytes());
    for (size_t room = 0; room < record.bytes.Bytes().size(); room += sizeof(int32_t)) {
        SCOPED_TRACE("room " + std::to_string(room));
        Parcel cut;
        LeaveRoom(cut, room);
        LogCapture logs;
        EXPECT_FALSE(made->Marshalling(cut));
        auto failure = std::find_if(record.failures.rbegin(), record.failures.rend(),
                                    [room](const auto &step) { return std::get<0>(step) <= room; });
        const auto &[from, line, tag] = *failure;
        EXPECT_TRUE(logs.Logged(LOG_ERROR, tag, line));
        EXPECT_EQ(logs.Count(line), 1u);
    }
}

const RecordCase RECORDS[] = {
    {"TargetInfo", Target, TARGET, Reader<TargetInfo>(),
     Fails("failed networkId=net****789, targetType=1, bundleName=com.example.demo, abilityName=MainAbility, "
           "systemAbilityId=4700",
           "TRBYCollaboration")},
    {"StartInfo", [] { return sptr<StartInfo>::MakeSptr(42, Target(), "extra"); },
     Wire().Words(42, 1).Then(TARGET).Str("extra"), Reader<StartInfo>(),
     Fails("failed marshall collaborationSessionId=42", "TRBYCollaboration")},
    {"AbilityFilter", Filter, FILTER, Reader<AbilityFilter>(),
     Fails("failed: bundleName: com.example.demo, abilityType: page, abilityDescription: a demo,deviceType:14, , "
           "accountType:7",
           "TRBYClient")},
    {"DeviceFilter",
     []() -> sptr<Parcelable> {
         return new DeviceFilter({14, 17, 156}, {1, 2});
     },
     Wire().Vec<uint32_t>({14, 17, 156}).Vec<uint32_t>({1, 2}), Reader<DeviceFilter>(),
     Fails("write failed, dt:3 at:2", "TRBYClient")},
    {"ServiceFilter",
     []() -> sptr<Parcelable> {
         return new ServiceFilter("cast", {"PHONE", "PAD"});
     },
     Wire().Str("cast").Vec<std::string>({"PHONE", "PAD"}), Reader<ServiceFilter>(),
     Fails("write ServiceFilter failed: serviceName_ = cast", "TRBYClient")},
    {"DeviceInfo", Device, DEVICE, Reader<DeviceInfo>(),
     Fails("failed:udid_:udi****789, networkId_:net****789, deviceType:156", "TRBYClient")},
    {"LocalInfo", Local, LOCAL, Reader<LocalInfo>(),
     Fails("failed:localAbilityName_:MainAbility, localBundleName_:com.example.demo, localDeviceId_:loc****789, "
           "localModuleName_:entry, localDeviceType_:14",
           "TRBYClient")},
    {"PickerResult", Picker, PickerWire(2), Reader<PickerResult>(),
     Fails("write PickerResult failed: abilityFilter_ = 0, deviceInfo_= 0 localInfo_= 0", "TRBYClient")},
    {"DeviceServiceInfo",
     [] {
         return sptr<DeviceServiceInfo>::MakeSptr("Living room", 156, "hash-01", "devid-0123456789",
                                                  std::vector<std::string>{"r1", "rule two"}, "net-0123456789",
                                                  "AA:BB:CC:DD:EE:FF", "{\"k\":1}");
     },
     Wire()
         .Str("Living room")
         .Words(156)
         .Str("hash-01", "devid-0123456789")
         .Vec<std::string>({"r1", "rule two"})
         .Str("net-0123456789", "AA:BB:CC:DD:EE:FF", "{\"k\":1}"),
     Reader<DeviceServiceInfo>(),
     Fails("failed:udid_:dev****789, networkId_:net****789, deviceType:156", "TRBYClient")},
    {"DistributeTaskInfo",
     [] {
         auto task = sptr<DistributeTaskInfo>::MakeSptr("dev-0123456789", 11, 22);
         task->SetConnectState(33);
         task->SetCanDisconnectFlag(44);
         return task;
     },
     Wire().Str("dev-0123456789").Words(11, 22, 33, 44), Reader<DistributeTaskInfo>(),
     Fails("failed:DistributeTaskInfo linkType= 22", "VeskorManager")},
    {"ServiceStateInfo", [] { return sptr<ServiceStateInfo>::MakeSptr("dev-0123456789", 7, 2); },
     Wire().Str("dev-0123456789").Words(7, 2), Reader<ServiceStateInfo>(),
     Fails("failed:ServiceSateInfo linkType= 7", "VeskorManager")},
    {"HardwareRequest", [] { return sptr<HardwareRequest>::MakeSptr(HardwareType(0xABCD), true); },
     Wire().Words(0xABCD, true), Reader<HardwareRequest>(),
     Fails("Hardware request write parcelable failed.", "VeskorManager")},
    {"CommunicationRequest", Communication, COMMUNICATION, Reader<CommunicationRequest>(),
     Fails("Communication Request write parcelable failed.", "VeskorManager")},
    {"ResourceRequest",
     Resource,
     RESOURCE,
     Reader<ResourceRequest>(),
     {{0, "RemoteHardware request list size write parcelable failed.", "VeskorManager"},
      {4, "RemoteHardware request list write parcelable failed.", "VeskorManager"},
      {20, "LocalHardware request list size write parcelable failed.", "VeskorManager"},
      {24, "LocalHardware request list write parcelable failed.", "VeskorManager"},
      {36, "write ResourceRequest failed: communicationRequest = 0", "TRBYClient"},
      {84, "write ResourceRequest failed 5.", "TRBYClient"}}},
};
INSTANTIATE_TEST_SUITE_P(Records, RecordTest, testing::ValuesIn(RECORDS),
                         [](const auto &info) { return std::string(info.param.name); });

// Lists of absent entries, then no channel and connect type 2: at most 1,000 entries each.
TEST(ResourceRequestTest, ListBoundsAndShortParcels)
{
    auto lists = [](uint32_t remote, uint32_t local) {
        Parcel parcel;
        Wire().Vec(std::vector<uint32_t>(remote)).Vec(std::vector<uint32_t>(local)).Words(0, 2).LoadInto(parcel);
        return sptr<ResourceRequest>(ResourceRequest::Unmarshalling(parcel));
    };
    ASSERT_NE(lists(1000, 1000), nullptr);
    EXPECT_EQ(lists(1000, 1000)->GetLocalHardwareList().size(), 1000u);
    LogCapture logs;
    EXPECT_EQ(lists(1001, 0), nullptr);
    EXPECT_EQ(lists(1, 1001), nullptr);
    EXPECT_EQ(logs.Count("Hardware request vector too large."), 2u);
    Parcel shortParcel;
    Wire().Words(3, 1, 8).LoadInto(shortParcel); // one hardware entry cut short, two more missing
    sptr<ResourceRequest> read = ResourceRequest::Unmarshalling(shortParcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetRemoteHardwareList().size(), 3u);
    EXPECT_EQ(read->GetRemoteHardwareList()[0]->GetHardwareType(), HardwareType(8));
    EXPECT_EQ(read->GetCommunicationRequest(), nullptr);
}

TEST(TargetInfoTest, KeysAccountsShortParcelsAndPickerResultsMissingARecord)
{
    TargetInfo target("net", SYSTEM_ABILITY_TARGET, "bundle", "ability", -4700);
    const std::pair<int32_t, std::string> accounts[] = {{99, "0"}, {-5, "0"}, {100, "100"}, {INT32_MIN, "0"}};
    for (const auto &[account, shown] : accounts) {
        target.SetAccountId(account);
        EXPECT_EQ(target.GenTargetKey(), shown + " 0 -4700") << account;
    }
    target.SetTargetType(SECONDARY_ABILITY_TARGET);
    EXPECT_EQ(target.GenTargetKey(), "0 2 bundle ability");
    target.SetTargetType(3);
    EXPECT_EQ(target.GenTargetKey(), "");
    EXPECT_EQ(MarshalledBytes(TargetInfo(4700)), Wire().Str("").Words(0).Str("", "").Words(4700).Bytes());
    Parcel parcel;
    Wire().Str("net").Words(2).LoadInto(parcel);
    sptr<TargetInfo> read = TargetInfo::Unmarshalling(parcel);
    EXPECT_EQ(read->GetTargetType(), 2u);
    EXPECT_EQ(read->GetSystemAbilityId(), 0);
    Parcel absent;
    Wire().Words(9, 0).Str("after").LoadInto(absent);
    sptr<StartInfo> start = StartInfo::Unmarshalling(absent);
    EXPECT_EQ(start->GetSrcTarget(), nullptr);
    EXPECT_EQ(start->GetExtraData(), "after");
    LogCapture logs;
    EXPECT_FALSE(StartInfo(5, nullptr, "extra").Marshalling(parcel));
    EXPECT_TRUE(logs.Logged(LOG_ERROR, "TRBYCollaboration", "failed marshall collaborationSessionId=5"));
    Parcel three;
    PickerWire(3).LoadInto(three);
    EXPECT_EQ(PickerResult::Unmarshalling(three), nullptr);
    EXPECT_EQ(three.GetReadableBytes(), 0u);
    EXPECT_TRUE(logs.Logged(LOG_ERROR, "TRBYClient", "read accesstype failed"));
    // Each of the three records absent (flag 0) in turn: no result.
    const std::pair<Wire, std::string> gaps[] = {
        {Wire().Words(1, 0, 1).Then(DEVICE).Words(1).Then(LOCAL), "read abilityFilter_ 1, deviceInfo 0, localInfo 0"},
        {Wire().Words(1, 1).Then(FILTER).Words(0, 1).Then(LOCAL), "read abilityFilter_ 0, deviceInfo 1, localInfo 0"},
        {Wire().Words(1, 1).Then(FILTER).Words(1).Then(DEVICE).Words(0),
         "read abilityFilter_ 0, deviceInfo 0, localInfo 1"},
    };
    for (const auto &[wire, line] : gaps) {
        Parcel gap;
        wire.LoadInto(gap);
        EXPECT_EQ(PickerResult::Unmarshalling(gap), nullptr) << line;
        EXPECT_EQ(gap.GetReadableBytes(), 0u);
        EXPECT_TRUE(logs.Logged(LOG_ERROR, "TRBYClient", line));
    }
    Parcel gap;
    sptr<PickerResult> result = Picker();
    result->SetDeviceInfo(nullptr);
    EXPECT_FALSE(result->Marshalling(gap));
    EXPECT_TRUE(logs.Logged(LOG_ERROR, "TRBYClient",
                            "write PickerResult failed: abilityFilter_ = 0, deviceInfo_= 1 localInfo_= 0"));
}

TEST(FilterAndLogTest, FilterTablesMaskedIdentifiersAndFailedAllocations)
{
    LogCapture logs;
    for (Wire wire : {Wire().Words(3, 1, 2), Wire().Vec<uint32_t>({14}).Words(3, 1, 2)}) {
        Parcel parcel;
        wire.LoadInto(parcel);
        EXPECT_EQ(DeviceFilter::Unmarshalling(parcel), nullptr); // three elements claimed, two present
    }
    EXPECT_EQ(logs.Count("read vector failed"), 2u);
    Parcel refused;
    Wire().Str("cast").Words(1000).LoadInto(refused);
    EXPECT_TRUE(ServiceFilter::Unmarshalling(refused)->GetDeviceType().empty()); // refused, not rejected
    DeviceFilter filter({14, 17}, {100});
    EXPECT_TRUE(filter.isDeviceTypeMatch(17) && filter.isAccountTypeMatch(100));
    EXPECT_FALSE(filter.isDeviceTypeMatch(100) || filter.isAccountTypeMatch(14));
    auto names = std::make_shared<std::vector<std::string>>(std::vector<std::string>{"audio", "cast"});
    EXPECT_TRUE(ServiceFilter("cast", {"PHONE"}).IsMatch(names, 14));
    EXPECT_FALSE(ServiceFilter("cast", {"PHONE"}).IsMatch(names, 17));
    EXPECT_FALSE(ServiceFilter("Cast", {}).IsMatch(names, 14));
    EXPECT_FALSE(ServiceFilter("cast", {}).IsMatch(nullptr, 14));
    EXPECT_TRUE(ServiceFilter("", {"PAD", ""}).IsMatchDeviceType(3));
    const std::pair<uint32_t, std::string> types[] = {{0x0E, "PHONE"},          {0x11, "PAD"},   {0x9C, "TV"},
                                                      {0xA02, "SMART_DISPLAY"}, {0xA2F, "2IN1"}, {3, ""}};
    for (const auto &[number, name] : types) {
        EXPECT_EQ(ServiceFilter::ConvertDeviceType(number), name) << number;
    }
    const std::pair<std::string, std::string> masks[] = {
        {"", "****"}, {"ab", "****"}, {"abc", "abc****abc"}, {"abcdef", "abc****def"}};
    for (const auto &[input, masked] : masks) {
        EXPECT_EQ(PickerResult::StringToAnonymous(input), masked);
    }
    for (const RecordCase &record : RECORDS) {
        Parcel parcel;
        record.bytes.LoadInto(parcel);
        g_failNothrowNew = true;
        sptr<Parcelable> read = record.read(parcel);
        g_failNothrowNew = false;
        EXPECT_EQ(read, nullptr) << record.name;
    }
    for (const char *id : {"udid-0123456789", "net-0123456789", "local-0123456789", "devid-0123456789"}) {
        EXPECT_FALSE(logs.Contains(id)) << id;
    }
    EXPECT_TRUE(logs.Logged(LOG_ERROR, "TRBYClient",
                            "new DeviceInfo failed, udid:udi****789, networkId:net****789,deviceType:156"));
    EXPECT_TRUE(logs.Logged(LOG_ERROR, "VeskorManager", "new distributeTaskInfo failed, linkType= 22"));
}
} // namespace
} // namespace OHOS::TarnbyTest
