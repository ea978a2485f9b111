// SPDX-License-Identifier: Apache-2.0
#include "veskor_info.h"

#include <new>
#include <utility>

#include "nested_record.h"
#include "tarnby_log.h"

namespace OHOS::Tarnby {
namespace {
constexpr LogLabel LOG_LABEL = LABEL_VESKOR;

bool WriteHardwareList(Parcel &parcel, const std::vector<sptr<HardwareRequest>> &list)
{
    for (const auto &entry : list) {
        if (!WriteOptionalRecord(parcel, entry)) {
            return false;
        }
    }
    return true;
}

// Entries that are absent or cannot be read stay in the list as null, so it keeps its written length.
std::vector<sptr<HardwareRequest>> ReadHardwareList(Parcel &parcel, uint32_t count)
{
    std::vector<sptr<HardwareRequest>> list;
    list.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
        list.push_back(parcel.ReadStrongParcelable<HardwareRequest>());
    }
    return list;
}

// Reads a list's count and checks it against the bound before any entry is read.
bool ReadHardwareCount(Parcel &parcel, uint32_t &count)
{
    count = parcel.ReadUint32();
    if (count > ResourceRequest::MAX_HARDWARE_LIST_SIZE) {
        TRBY_LOGE("Hardware request vector too large.");
        return false;
    }
    return true;
}
} // namespace

const std::string VeskorInfo::EXTRA_PRIVATE_PID = "privatePid";
const std::string VeskorInfo::EXTRA_PRIVATE_UID = "privateUid";

DistributeTaskInfo::DistributeTaskInfo(std::string deviceId, uint32_t serviceType, uint32_t linkType) :
    deviceId_(std::move(deviceId)), serviceType_(serviceType), linkType_(linkType)
{
}

std::string DistributeTaskInfo::GetDeviceId()
{
    return deviceId_;
}

uint32_t DistributeTaskInfo::GetServiceType()
{
    return serviceType_;
}

uint32_t DistributeTaskInfo::GetLinkType()
{
    return linkType_;
}

void DistributeTaskInfo::SetConnectState(uint32_t connectState)
{
    connectState_ = connectState;
}

void DistributeTaskInfo::SetCanDisconnectFlag(uint32_t canDisconnectFlag)
{
    canDisconnectFlag_ = canDisconnectFlag;
}

bool DistributeTaskInfo::Marshalling(Parcel &parcel) const
{
    bool written = parcel.WriteString(deviceId_) && parcel.WriteUint32(serviceType_) && parcel.WriteUint32(linkType_) &&
                   parcel.WriteUint32(connectState_) && parcel.WriteUint32(canDisconnectFlag_);
    if (!written) {
        TRBY_LOGE("failed:DistributeTaskInfo linkType= %{public}d", linkType_);
        return false;
    }
    TRBY_LOGI("success:DistributeTaskInfo linkType= %{public}d", linkType_);
    return true;
}

sptr<DistributeTaskInfo> DistributeTaskInfo::Unmarshalling(Parcel &parcel)
{
    std::string deviceId = parcel.ReadString();
    uint32_t serviceType = parcel.ReadUint32();
    uint32_t linkType = parcel.ReadUint32();
    uint32_t connectState = parcel.ReadUint32();
    uint32_t canDisconnectFlag = parcel.ReadUint32();
    sptr<DistributeTaskInfo> info = new (std::nothrow) DistributeTaskInfo(std::move(deviceId), serviceType, linkType);
    if (info == nullptr) {
        TRBY_LOGE("new distributeTaskInfo failed, linkType= %{public}d", linkType);
        return nullptr;
    }
    info->SetConnectState(connectState);
    info->SetCanDisconnectFlag(canDisconnectFlag);
    return info;
}

ServiceStateInfo::ServiceStateInfo()
{
    TRBY_LOGI("Create ServiceSateInfo");
}

ServiceStateInfo::ServiceStateInfo(std::string deviceId, uint32_t linkType, uint32_t connectState) :
    deviceId_(std::move(deviceId)), linkType_(linkType), connectState_(connectState)
{
    TRBY_LOGI("Create ServiceSateInfo linkType= %{public}d", linkType_);
}

ServiceStateInfo::~ServiceStateInfo()
{
    TRBY_LOGI("destory:ServiceSateInfo linkType= %{public}d", linkType_);
}

std::string ServiceStateInfo::GetDeviceId() const
{
    return deviceId_;
}

void ServiceStateInfo::SetDeviceId(std::string deviceId)
{
    deviceId_ = std::move(deviceId);
}

uint32_t ServiceStateInfo::GetLinkType() const
{
    return linkType_;
}

void ServiceStateInfo::SetLinkType(uint32_t linkType)
{
    linkType_ = linkType;
}

uint32_t ServiceStateInfo::GetConnectState() const
{
    return connectState_;
}

void ServiceStateInfo::SetConnectState(uint32_t connectState)
{
    connectState_ = connectState;
}

bool ServiceStateInfo::Marshalling(Parcel &parcel) const
{
    bool written = parcel.WriteString(deviceId_) && parcel.WriteUint32(linkType_) && parcel.WriteUint32(connectState_);
    if (!written) {
        TRBY_LOGE("failed:ServiceSateInfo linkType= %{public}d", linkType_);
        return false;
    }
    TRBY_LOGI("success:ServiceSateInfo linkType= %{public}d", linkType_);
    return true;
}

sptr<ServiceStateInfo> ServiceStateInfo::Unmarshalling(Parcel &parcel)
{
    std::string deviceId = parcel.ReadString();
    uint32_t linkType = parcel.ReadUint32();
    uint32_t connectState = parcel.ReadUint32();
    sptr<ServiceStateInfo> info = new (std::nothrow) ServiceStateInfo(std::move(deviceId), linkType, connectState);
    if (info == nullptr) {
        TRBY_LOGE("new ServiceStateInfo failed, linkType= %{public}d", linkType);
    }
    return info;
}

HardwareRequest::HardwareRequest(HardwareType hardwareType, bool canShare) :
    hardwareType_(hardwareType), canShare_(canShare)
{
}

HardwareType HardwareRequest::GetHardwareType() const
{
    return hardwareType_;
}

bool HardwareRequest::CanShare() const
{
    return canShare_;
}

bool HardwareRequest::Marshalling(Parcel &parcel) const
{
    if (!parcel.WriteUint32(hardwareType_) || !parcel.WriteBool(canShare_)) {
        TRBY_LOGE("Hardware request write parcelable failed.");
        return false;
    }
    return true;
}

sptr<HardwareRequest> HardwareRequest::Unmarshalling(Parcel &parcel)
{
    auto hardwareType = static_cast<HardwareType>(parcel.ReadUint32());
    bool canShare = parcel.ReadBool();
    sptr<HardwareRequest> request = new (std::nothrow) HardwareRequest(hardwareType, canShare);
    if (request == nullptr) {
        TRBY_LOGE("New hardwareRequest failed");
    }
    return request;
}

CommunicationRequest::CommunicationRequest(int minBandwidth, int maxLatency, int minLatency, int maxWaitTime,
                                           int maxBuffer) :
    minBandwidth_(minBandwidth),
    maxLatency_(maxLatency), minLatency_(minLatency), maxWaitTime_(maxWaitTime), maxBuffer_(maxBuffer)
{
}

int32_t CommunicationRequest::GetMinBandwidth() const
{
    return minBandwidth_;
}

int32_t CommunicationRequest::GetMaxLatency() const
{
    return maxLatency_;
}

int32_t CommunicationRequest::GetMinLatency() const
{
    return minLatency_;
}

int32_t CommunicationRequest::GetMaxWaitTime() const
{
    return maxWaitTime_;
}

int32_t CommunicationRequest::GetMaxBuffer() const
{
    return maxBuffer_;
}

int32_t CommunicationRequest::GetMaxIdleTime() const
{
    return maxIdleTime_;
}

int32_t CommunicationRequest::GetFirstPackge() const
{
    return firstPackge_;
}

int32_t CommunicationRequest::GetTransReliability() const
{
    return transReliability_;
}

std::string CommunicationRequest::GetDataType() const
{
    return dataType_;
}

void CommunicationRequest::SetMaxIdleTime(int maxIdleTime)
{
    maxIdleTime_ = maxIdleTime;
}

void CommunicationRequest::SetFirstPackge(int firstPackge)
{
    firstPackge_ = firstPackge;
}

void CommunicationRequest::SetTransReliability(int transReliability)
{
    transReliability_ = transReliability;
}

void CommunicationRequest::SetDataType(std::string dataType)
{
    dataType_ = std::move(dataType);
}

bool CommunicationRequest::Marshalling(Parcel &parcel) const
{
    bool written = parcel.WriteInt32(minBandwidth_) && parcel.WriteInt32(maxLatency_) &&
                   parcel.WriteInt32(minLatency_) && parcel.WriteInt32(maxWaitTime_) && parcel.WriteInt32(maxBuffer_) &&
                   parcel.WriteInt32(maxIdleTime_) && parcel.WriteInt32(firstPackge_) &&
                   parcel.WriteInt32(transReliability_) && parcel.WriteString(dataType_);
    if (!written) {
        TRBY_LOGE("Communication Request write parcelable failed.");
    }
    return written;
}

sptr<CommunicationRequest> CommunicationRequest::Unmarshalling(Parcel &parcel)
{
    int32_t minBandwidth = parcel.ReadInt32();
    int32_t maxLatency = parcel.ReadInt32();
    int32_t minLatency = parcel.ReadInt32();
    int32_t maxWaitTime = parcel.ReadInt32();
    int32_t maxBuffer = parcel.ReadInt32();
    int32_t maxIdleTime = parcel.ReadInt32();
    int32_t firstPackge = parcel.ReadInt32();
    int32_t transReliability = parcel.ReadInt32();
    std::string dataType = parcel.ReadString();
    sptr<CommunicationRequest> request =
        new (std::nothrow) CommunicationRequest(minBandwidth, maxLatency, minLatency, maxWaitTime, maxBuffer);
    if (request == nullptr) {
        TRBY_LOGE("New communicationRequest failed");
        return nullptr;
    }
    request->SetMaxIdleTime(maxIdleTime);
    request->SetFirstPackge(firstPackge);
    request->SetTransReliability(transReliability);
    request->SetDataType(std::move(dataType));
    return request;
}

ResourceRequest::ResourceRequest()
{
    TRBY_LOGE("enter.");
}

void ResourceRequest::SetRemoteHardwareList(const std::vector<sptr<HardwareRequest>> &remoteHardwareList)
{
    if (&remoteHardwareList != &remoteHardwareList_) {
        remoteHardwareList_ = remoteHardwareList;
    }
}

std::vector<sptr<HardwareRequest>> ResourceRequest::GetRemoteHardwareList() const
{
    return remoteHardwareList_;
}

void ResourceRequest::SetLocalHardwareList(const std::vector<sptr<HardwareRequest>> &localHardwareList)
{
    if (&localHardwareList != &localHardwareList_) {
        localHardwareList_ = localHardwareList;
    }
}

std::vector<sptr<HardwareRequest>> ResourceRequest::GetLocalHardwareList() const
{
    return localHardwareList_;
}

void ResourceRequest::SetCommunicationRequest(sptr<CommunicationRequest> communicationRequest)
{
    communicationRequest_ = std::move(communicationRequest);
}

sptr<CommunicationRequest> ResourceRequest::GetCommunicationRequest() const
{
    return communicationRequest_;
}

void ResourceRequest::SetServiceConnectType(uint32_t serviceConnectType)
{
    serviceConnectType_ = serviceConnectType;
}

uint32_t ResourceRequest::GetServiceConnectType() const
{
    return serviceConnectType_;
}

bool ResourceRequest::Marshalling(Parcel &parcel) const
{
    if (!parcel.WriteUint32(static_cast<uint32_t>(remoteHardwareList_.size()))) {
        TRBY_LOGE("RemoteHardware request list size write parcelable failed.");
        return false;
    }
    if (!WriteHardwareList(parcel, remoteHardwareList_)) {
        TRBY_LOGE("RemoteHardware request list write parcelable failed.");
        return false;
    }
    if (!parcel.WriteUint32(static_cast<uint32_t>(localHardwareList_.size()))) {
        TRBY_LOGE("LocalHardware request list size write parcelable failed.");
        return false;
    }
    if (!WriteHardwareList(parcel, localHardwareList_)) {
        TRBY_LOGE("LocalHardware request list write parcelable failed.");
        return false;
    }
    if (!WriteOptionalRecord(parcel, communicationRequest_)) {
        TRBY_LOGE_AS(LABEL_CLIENT, "write ResourceRequest failed: communicationRequest = %{public}d",
                     communicationRequest_ == nullptr ? 1 : 0);
        return false;
    }
    if (!parcel.WriteUint32(serviceConnectType_)) {
        TRBY_LOGE_AS(LABEL_CLIENT, "write ResourceRequest failed %{public}d.", serviceConnectType_);
        return false;
    }
    return true;
}

sptr<ResourceRequest> ResourceRequest::Unmarshalling(Parcel &parcel)
{
    uint32_t remoteCount = 0;
    if (!ReadHardwareCount(parcel, remoteCount)) {
        return nullptr;
    }
    std::vector<sptr<HardwareRequest>> remoteHardwareList = ReadHardwareList(parcel, remoteCount);
    uint32_t localCount = 0;
    if (!ReadHardwareCount(parcel, localCount)) {
        return nullptr;
    }
    std::vector<sptr<HardwareRequest>> localHardwareList = ReadHardwareList(parcel, localCount);
    sptr<CommunicationRequest> communicationRequest = parcel.ReadStrongParcelable<CommunicationRequest>();
    uint32_t serviceConnectType = parcel.ReadUint32();
    sptr<ResourceRequest> request = new (std::nothrow) ResourceRequest();
    if (request == nullptr) {
        TRBY_LOGE("New hardwareRequest failed");
        return nullptr;
    }
    request->remoteHardwareList_ = std::move(remoteHardwareList);
    request->localHardwareList_ = std::move(localHardwareList);
    request->communicationRequest_ = std::move(communicationRequest);
    request->serviceConnectType_ = serviceConnectType;
    return request;
}
} // namespace OHOS::Tarnby
