// Device-connect records: tasks, states, hardware, communication and resource requests.
#include <gtest/gtest.h>

#include "record_checks.h"
#include "veskor_info.h"

namespace OHOS::TarnbyTest {
namespace {
using namespace OHOS::Tarnby;

constexpr uint32_t LIST_BOUND = 1000;

HardwareType Hardware(uint32_t value)
{
    return static_cast<HardwareType>(value);
}

sptr<CommunicationRequest> SampleCommunication()
{
    sptr<CommunicationRequest> request = new CommunicationRequest(1, 2, 3, 4, 5);
    request->SetMaxIdleTime(6);
    request->SetFirstPackge(7);
    request->SetTransReliability(8);
    request->SetDataType("video");
    return request;
}

Wire CommunicationWire()
{
    return Wire().I32(1).I32(2).I32(3).I32(4).I32(5).I32(6).I32(7).I32(8).Str("video");
}

sptr<ResourceRequest> SampleResource()
{
    sptr<ResourceRequest> request = new ResourceRequest();
    request->SetRemoteHardwareList({new HardwareRequest(Hardware(4), true), nullptr});
    request->SetLocalHardwareList({new HardwareRequest(Hardware(9), false)});
    request->SetCommunicationRequest(SampleCommunication());
    request->SetServiceConnectType(5);
    return request;
}

Wire ResourceWire()
{
    Wire wire;
    wire.U32(2).I32(1).U32(4).Bool(true).I32(0);
    wire.U32(1).I32(1).U32(9).Bool(false);
    return wire.I32(1).Then(CommunicationWire()).U32(5);
}

// Lists of absent entries, then no channel and connect type 2.
Wire ListsOf(uint32_t remote, uint32_t local)
{
    Wire wire;
    wire.U32(remote);
    for (uint32_t i = 0; i < remote; ++i) {
        wire.I32(0);
    }
    wire.U32(local);
    for (uint32_t i = 0; i < local; ++i) {
        wire.I32(0);
    }
    return wire.I32(0).U32(2);
}

TEST(DistributeTaskInfoTest, LayoutAndRoundTripKeepStateAndFlag)
{
    EXPECT_EQ(MarshalledBytes(DistributeTaskInfo()), Wire().Str("").U32(0).U32(0).U32(0).U32(0).Bytes());
    DistributeTaskInfo task("dev-0123456789", 11, 22);
    task.SetConnectState(33);
    task.SetCanDisconnectFlag(44);
    Wire expected = Wire().Str("dev-0123456789").U32(11).U32(22).U32(33).U32(44);
    EXPECT_EQ(MarshalledBytes(task), expected.Bytes());

    Parcel parcel;
    expected.LoadInto(parcel);
    sptr<DistributeTaskInfo> read = DistributeTaskInfo::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetDeviceId(), "dev-0123456789");
    EXPECT_EQ(read->GetServiceType(), 11u);
    EXPECT_EQ(read->GetLinkType(), 22u);
    EXPECT_EQ(MarshalledBytes(*read), expected.Bytes()); // no getters for the last two: their bytes show them
}

TEST(DistributeTaskInfoTest, EmptyParcelGivesZeros)
{
    Parcel parcel;
    sptr<DistributeTaskInfo> read = DistributeTaskInfo::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(MarshalledBytes(*read), MarshalledBytes(DistributeTaskInfo()));
}

TEST(DistributeTaskInfoTest, FailsAtEveryCut)
{
    ExpectEveryCutFails(DistributeTaskInfo("dev", 1, 22), "failed:DistributeTaskInfo linkType= 22", VESKOR_TAG);
}

TEST(ServiceStateInfoTest, DefaultsAreThreeAndThree)
{
    LogCapture capture;
    EXPECT_EQ(MarshalledBytes(ServiceStateInfo()), Wire().Str("").U32(3).U32(3).Bytes());
    EXPECT_TRUE(capture.Find("Create ServiceSateInfo"));
    EXPECT_TRUE(capture.Find("success:ServiceSateInfo linkType= 3"));
    EXPECT_TRUE(capture.Find("destory:ServiceSateInfo linkType= 3"));
}

TEST(ServiceStateInfoTest, LayoutAndRoundTrip)
{
    Wire expected = Wire().Str("dev-0123456789").U32(1).U32(2);
    EXPECT_EQ(MarshalledBytes(ServiceStateInfo("dev-0123456789", 1, 2)), expected.Bytes());
    Parcel parcel;
    expected.LoadInto(parcel);
    sptr<ServiceStateInfo> read = ServiceStateInfo::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetDeviceId(), "dev-0123456789");
    EXPECT_EQ(read->GetLinkType(), 1u);
    EXPECT_EQ(read->GetConnectState(), 2u);
}

TEST(ServiceStateInfoTest, EmptyParcelGivesZerosNotDefaults)
{
    Parcel parcel;
    sptr<ServiceStateInfo> read = ServiceStateInfo::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetDeviceId(), "");
    EXPECT_EQ(read->GetLinkType(), 0u);
    EXPECT_EQ(read->GetConnectState(), 0u);
}

TEST(ServiceStateInfoTest, FailsAtEveryCut)
{
    ExpectEveryCutFails(ServiceStateInfo("dev", 7, 1), "failed:ServiceSateInfo linkType= 7", VESKOR_TAG);
}

TEST(HardwareRequestTest, LayoutRoundTripAndCuts)
{
    HardwareRequest request(Hardware(0xABCD), true);
    EXPECT_EQ(MarshalledBytes(request), Wire().U32(0xABCD).Bool(true).Bytes());
    Parcel parcel;
    Wire().U32(3).I32(2).LoadInto(parcel); // any non-zero word reads as true
    sptr<HardwareRequest> read = HardwareRequest::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetHardwareType(), Hardware(3));
    EXPECT_TRUE(read->CanShare());
    ExpectEveryCutFails(request, "Hardware request write parcelable failed.", VESKOR_TAG);
}

TEST(CommunicationRequestTest, LaterFieldsFollowTheFirstFiveAndTheStringComesLast)
{
    EXPECT_EQ(MarshalledBytes(*SampleCommunication()), CommunicationWire().Bytes());
    Parcel parcel;
    CommunicationWire().LoadInto(parcel);
    sptr<CommunicationRequest> read = CommunicationRequest::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetMinBandwidth(), 1);
    EXPECT_EQ(read->GetMaxLatency(), 2);
    EXPECT_EQ(read->GetMinLatency(), 3);
    EXPECT_EQ(read->GetMaxWaitTime(), 4);
    EXPECT_EQ(read->GetMaxBuffer(), 5);
    EXPECT_EQ(read->GetMaxIdleTime(), 6);
    EXPECT_EQ(read->GetFirstPackge(), 7);
    EXPECT_EQ(read->GetTransReliability(), 8);
    EXPECT_EQ(read->GetDataType(), "video");
}

TEST(CommunicationRequestTest, FailsAtEveryCut)
{
    ExpectEveryCutFails(*SampleCommunication(), "Communication Request write parcelable failed.", VESKOR_TAG);
}

TEST(ResourceRequestTest, Layouts)
{
    LogCapture capture;
    EXPECT_EQ(MarshalledBytes(*SampleResource()), ResourceWire().Bytes());
    sptr<ResourceRequest> empty = new ResourceRequest();
    EXPECT_EQ(MarshalledBytes(*empty), Wire().U32(0).U32(0).I32(0).U32(2).Bytes());
    HiLogRecord enter;
    ASSERT_TRUE(capture.Find("enter.", &enter));
    EXPECT_EQ(enter.level, LOG_ERROR);
}

TEST(ResourceRequestTest, RoundTripKeepsNullEntries)
{
    Parcel parcel;
    ASSERT_TRUE(SampleResource()->Marshalling(parcel));
    sptr<ResourceRequest> read = ResourceRequest::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    auto remote = read->GetRemoteHardwareList();
    ASSERT_EQ(remote.size(), 2u);
    ASSERT_NE(remote[0], nullptr);
    EXPECT_EQ(remote[0]->GetHardwareType(), Hardware(4));
    EXPECT_TRUE(remote[0]->CanShare());
    EXPECT_EQ(remote[1], nullptr);
    auto local = read->GetLocalHardwareList();
    ASSERT_EQ(local.size(), 1u);
    ASSERT_NE(local[0], nullptr);
    EXPECT_FALSE(local[0]->CanShare());
    ASSERT_NE(read->GetCommunicationRequest(), nullptr);
    EXPECT_EQ(read->GetCommunicationRequest()->GetDataType(), "video");
    EXPECT_EQ(read->GetServiceConnectType(), 5u);
    EXPECT_EQ(MarshalledBytes(*read), ResourceWire().Bytes());
}

TEST(ResourceRequestTest, ListBounds)
{
    for (const auto &[remote, local, accepted] : std::vector<std::tuple<uint32_t, uint32_t, bool>>{
             {LIST_BOUND, LIST_BOUND, true}, {LIST_BOUND + 1, 0, false}, {1, LIST_BOUND + 1, false}}) {
        SCOPED_TRACE(std::to_string(remote) + " remote, " + std::to_string(local) + " local");
        Parcel parcel;
        ListsOf(remote, local).LoadInto(parcel);
        LogCapture capture;
        sptr<ResourceRequest> read = ResourceRequest::Unmarshalling(parcel);
        if (accepted) {
            ASSERT_NE(read, nullptr);
            EXPECT_EQ(read->GetRemoteHardwareList().size(), remote);
            EXPECT_EQ(read->GetLocalHardwareList().size(), local);
            EXPECT_EQ(read->GetServiceConnectType(), 2u);
        } else {
            EXPECT_EQ(read, nullptr);
            ExpectErrorLine(capture, "Hardware request vector too large.", VESKOR_TAG);
        }
    }
}

TEST(ResourceRequestTest, ShortParcelKeepsCountedLength)
{
    Parcel parcel;
    Wire().U32(3).I32(1).U32(8).LoadInto(parcel); // one hardware entry cut short, two more missing
    sptr<ResourceRequest> read = ResourceRequest::Unmarshalling(parcel);
    ASSERT_NE(read, nullptr);
    auto remote = read->GetRemoteHardwareList();
    ASSERT_EQ(remote.size(), 3u);
    ASSERT_NE(remote[0], nullptr);
    EXPECT_EQ(remote[0]->GetHardwareType(), Hardware(8));
    EXPECT_FALSE(remote[0]->CanShare());
    EXPECT_EQ(remote[1], nullptr);
    EXPECT_TRUE(read->GetLocalHardwareList().empty());
    EXPECT_EQ(read->GetCommunicationRequest(), nullptr);
    EXPECT_EQ(read->GetServiceConnectType(), 0u);
}

// The room that ends just before the given byte offset of the sample's layout, and the line that cut must log.
struct Cut {
    size_t offset;
    std::string line;
    std::string tag;
};

TEST(ResourceRequestTest, EachStepLogsItsOwnFailure)
{
    const std::vector<Cut> cuts = {
        {0, "RemoteHardware request list size write parcelable failed.", VESKOR_TAG},
        {4, "RemoteHardware request list write parcelable failed.", VESKOR_TAG},
        {16, "RemoteHardware request list write parcelable failed.", VESKOR_TAG}, // the null entry's flag
        {20, "LocalHardware request list size write parcelable failed.", VESKOR_TAG},
        {28, "LocalHardware request list write parcelable failed.", VESKOR_TAG},
        {36, "write ResourceRequest failed: communicationRequest = 0", CLIENT_TAG},
        {84, "write ResourceRequest failed 5.", CLIENT_TAG},
    };
    ASSERT_EQ(ResourceWire().Bytes().size(), 88u);
    for (const auto &cut : cuts) {
        SCOPED_TRACE("offset " + std::to_string(cut.offset));
        Parcel parcel;
        LeaveRoom(parcel, cut.offset);
        LogCapture capture;
        EXPECT_FALSE(SampleResource()->Marshalling(parcel));
        ExpectErrorLine(capture, cut.line, cut.tag);
    }
}

TEST(ResourceRequestTest, AbsentChannelFlagThatDoesNotFitFails)
{
    sptr<ResourceRequest> request = new ResourceRequest();
    Parcel parcel;
    LeaveRoom(parcel, 8); // both counts fit, the absent channel's flag does not
    LogCapture capture;
    EXPECT_FALSE(request->Marshalling(parcel));
    ExpectErrorLine(capture, "write ResourceRequest failed: communicationRequest = 1", CLIENT_TAG);
}

TEST(VeskorInfoTest, ExtraInfoKeys)
{
    EXPECT_EQ(VeskorInfo::EXTRA_PRIVATE_PID, "privatePid");
    EXPECT_EQ(VeskorInfo::EXTRA_PRIVATE_UID, "privateUid");
}
} // namespace
} // namespace OHOS::TarnbyTest
