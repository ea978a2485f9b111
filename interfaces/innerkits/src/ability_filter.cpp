// SPDX-License-Identifier: Apache-2.0
#include "ability_filter.h"

#include <algorithm>
#include <new>
#include <unordered_map>
#include <utility>

#include "nested_record.h"
#include "tarnby_log.h"

namespace OHOS::Tarnby {
namespace {
constexpr LogLabel LOG_LABEL = LABEL_CLIENT;

constexpr size_t ANONYMOUS_KEEP = 3;
const std::string ANONYMOUS_MASK = "****";

const std::string DEVICE_TYPE_UNKNOWN = "UNKNOWN";
const std::string DEVICE_TYPE_PHONE = "PHONE";
const std::string DEVICE_TYPE_PAD = "PAD";
const std::string DEVICE_TYPE_TV = "TV";
const std::string DEVICE_TYPE_CAR = "CAR";
const std::string DEVICE_TYPE_WATCH = "WATCH";
const std::string DEVICE_TYPE_WIFI_CAMERA = "WiFiCamera";
const std::string DEVICE_TYPE_PC = "PC";
const std::string DEVICE_TYPE_SMART_DISPLAY = "SMART_DISPLAY";
const std::string DEVICE_TYPE_2IN1 = "2IN1";

constexpr uint32_t DEVICE_ID_UNKNOWN = 0x00;
constexpr uint32_t DEVICE_ID_PHONE = 0x0E;
constexpr uint32_t DEVICE_ID_PAD = 0x11;
constexpr uint32_t DEVICE_ID_TV = 0x9C;
constexpr uint32_t DEVICE_ID_CAR = 0x83;
constexpr uint32_t DEVICE_ID_WATCH = 0x6D;
constexpr uint32_t DEVICE_ID_WIFI_CAMERA = 0x08;
constexpr uint32_t DEVICE_ID_PC = 0x0C;
constexpr uint32_t DEVICE_ID_SMART_DISPLAY = 0xA02;
constexpr uint32_t DEVICE_ID_2IN1 = 0xA2F;

// 1 when the reference is null: the indicator the picker's log lines carry.
template <typename T>
int32_t IsNull(const sptr<T> &record)
{
    return record == nullptr ? 1 : 0;
}

// A linear scan, first hit wins; an empty list contains nothing.
bool Contains(const std::vector<uint32_t> &values, uint32_t value)
{
    return std::find(values.begin(), values.end(), value) != values.end();
}
} // namespace

AbilityFilter::AbilityFilter(std::string bundleName, std::string abilityType, std::string abilityDescription,
                             uint32_t deviceType, uint32_t accountType) :
    bundleName_(std::move(bundleName)),
    abilityType_(std::move(abilityType)), abilityDescription_(std::move(abilityDescription)), deviceType_(deviceType),
    accountType_(accountType)
{
    TRBY_LOGI("bundleName = %{public}s, abilityType = %{public}s, description = %{public}s,deviceType = %{public}u, "
              "accountType = %{public}u",
              bundleName_.c_str(), abilityType_.c_str(), abilityDescription_.c_str(), deviceType_, accountType_);
}

AbilityFilter::~AbilityFilter()
{
    TRBY_LOGI("destory=%{public}s, description=%{public}s, deviceType=%{public}u, accountType=%{public}u",
              abilityType_.c_str(), abilityDescription_.c_str(), deviceType_, accountType_);
}

void AbilityFilter::SetBundleName(std::string bundleName)
{
    bundleName_ = std::move(bundleName);
}

std::string AbilityFilter::GetBundleName() const
{
    return bundleName_;
}

void AbilityFilter::SetAbilityType(std::string abilityType)
{
    abilityType_ = std::move(abilityType);
}

std::string AbilityFilter::GetAbilityType() const
{
    return abilityType_;
}

void AbilityFilter::SetAbilityDescription(std::string abilityDescription)
{
    abilityDescription_ = std::move(abilityDescription);
}

std::string AbilityFilter::GetAbilityDescription() const
{
    return abilityDescription_;
}

void AbilityFilter::SetDeviceType(uint32_t deviceType)
{
    deviceType_ = deviceType;
}

uint32_t AbilityFilter::GetDeviceType() const
{
    return deviceType_;
}

void AbilityFilter::SetAccountType(uint32_t accountType)
{
    accountType_ = accountType;
}

uint32_t AbilityFilter::GetAccountType() const
{
    return accountType_;
}

void AbilityFilter::SetAction(std::string action)
{
    action_ = std::move(action);
}

std::string AbilityFilter::GetAction() const
{
    return action_;
}

bool AbilityFilter::Marshalling(Parcel &parcel) const
{
    bool written = parcel.WriteString(bundleName_) && parcel.WriteString(abilityType_) &&
                   parcel.WriteString(abilityDescription_) && parcel.WriteUint32(deviceType_) &&
                   parcel.WriteUint32(accountType_) && parcel.WriteString(action_);
    if (!written) {
        TRBY_LOGE("failed: bundleName: %{public}s, abilityType: %{public}s, abilityDescription: %{public}s,"
                  "deviceType:%{public}u, , accountType:%{public}u",
                  bundleName_.c_str(), abilityType_.c_str(), abilityDescription_.c_str(), deviceType_, accountType_);
    }
    return written;
}

sptr<AbilityFilter> AbilityFilter::Unmarshalling(Parcel &parcel)
{
    std::string bundleName = parcel.ReadString();
    std::string abilityType = parcel.ReadString();
    std::string abilityDescription = parcel.ReadString();
    uint32_t deviceType = parcel.ReadUint32();
    uint32_t accountType = parcel.ReadUint32();
    std::string action = parcel.ReadString();
    sptr<AbilityFilter> filter =
        new (std::nothrow) AbilityFilter(bundleName, abilityType, abilityDescription, deviceType, accountType);
    if (filter == nullptr) {
        TRBY_LOGE("new AbilityFilter failed, bundleName = %{public}s, abilityType:%{public}s, "
                  "abilityDescription:%{public}s,deviceType:%{public}u, accountType:%{public}u",
                  bundleName.c_str(), abilityType.c_str(), abilityDescription.c_str(), deviceType, accountType);
        return nullptr;
    }
    filter->SetAction(std::move(action));
    return filter;
}

DeviceFilter::DeviceFilter(std::vector<uint32_t> deviceTypes, std::vector<uint32_t> accountTypes) :
    deviceTypes_(std::move(deviceTypes)), accountTypes_(std::move(accountTypes))
{
}

bool DeviceFilter::isDeviceTypeMatch(uint32_t deviceType) const
{
    return Contains(deviceTypes_, deviceType);
}

bool DeviceFilter::isAccountTypeMatch(uint32_t accountType) const
{
    return Contains(accountTypes_, accountType);
}

bool DeviceFilter::Marshalling(Parcel &parcel) const
{
    bool written = parcel.WriteUInt32Vector(deviceTypes_) && parcel.WriteUInt32Vector(accountTypes_);
    if (!written) {
        TRBY_LOGE("write failed, dt:%{public}lu at:%{public}lu", static_cast<unsigned long>(deviceTypes_.size()),
                  static_cast<unsigned long>(accountTypes_.size()));
    }
    return written;
}

sptr<DeviceFilter> DeviceFilter::Unmarshalling(Parcel &parcel)
{
    std::vector<uint32_t> deviceTypes;
    if (!parcel.ReadUInt32Vector(&deviceTypes)) {
        TRBY_LOGE("read vector failed");
        return nullptr;
    }
    std::vector<uint32_t> accountTypes;
    if (!parcel.ReadUInt32Vector(&accountTypes)) {
        TRBY_LOGE("read vector failed");
        return nullptr;
    }
    return new (std::nothrow) DeviceFilter(deviceTypes, accountTypes);
}

ServiceFilter::ServiceFilter(std::string serviceName, std::vector<std::string> deviceTypes) :
    serviceName_(std::move(serviceName)), deviceTypes_(std::move(deviceTypes))
{
}

void ServiceFilter::SetServiceName(std::string serviceName)
{
    serviceName_ = std::move(serviceName);
}

std::string ServiceFilter::GetServiceName() const
{
    return serviceName_;
}

void ServiceFilter::SetDeviceType(std::vector<std::string> deviceTypes)
{
    deviceTypes_ = std::move(deviceTypes);
}

std::vector<std::string> ServiceFilter::GetDeviceType() const
{
    return deviceTypes_;
}

bool ServiceFilter::IsMatch(std::shared_ptr<std::vector<std::string>> remoteServiceNames,
                            uint32_t remoteDeviceType) const
{
    if (!IsMatchServiceName(std::move(remoteServiceNames))) {
        TRBY_LOGI("filtered by service name");
        return false;
    }
    if (!IsMatchDeviceType(remoteDeviceType)) {
        TRBY_LOGI("filtered by device type");
        return false;
    }
    return true;
}

bool ServiceFilter::IsMatchServiceName(std::shared_ptr<std::vector<std::string>> remoteServiceNames) const
{
    TRBY_LOGI("filter serviceName: %{public}s", serviceName_.c_str());
    if (serviceName_.empty()) {
        return true;
    }
    if (remoteServiceNames == nullptr) {
        TRBY_LOGI("GetRemoteServiceNames nullptr");
        return false;
    }
    TRBY_LOGI("get remote serviceNames size:%{public}zu", remoteServiceNames->size());
    for (const std::string &name : *remoteServiceNames) {
        if (name == serviceName_) {
            return true;
        }
    }
    return false;
}

bool ServiceFilter::IsMatchDeviceType(uint32_t remoteDeviceType) const
{
    TRBY_LOGI("filter deviceTypes size: %{public}zu, get remote device type:%{public}u", deviceTypes_.size(),
              remoteDeviceType);
    if (deviceTypes_.empty()) {
        return true;
    }
    std::string remoteName = ConvertDeviceType(remoteDeviceType);
    for (const std::string &accepted : deviceTypes_) {
        if (accepted == remoteName) {
            return true;
        }
    }
    return false;
}

std::string ServiceFilter::ConvertDeviceType(uint32_t deviceType)
{
    const std::unordered_map<uint32_t, std::string> names = {
        {DEVICE_ID_UNKNOWN, DEVICE_TYPE_UNKNOWN},
        {DEVICE_ID_PHONE, DEVICE_TYPE_PHONE},
        {DEVICE_ID_PAD, DEVICE_TYPE_PAD},
        {DEVICE_ID_TV, DEVICE_TYPE_TV},
        {DEVICE_ID_CAR, DEVICE_TYPE_CAR},
        {DEVICE_ID_WATCH, DEVICE_TYPE_WATCH},
        {DEVICE_ID_WIFI_CAMERA, DEVICE_TYPE_WIFI_CAMERA},
        {DEVICE_ID_PC, DEVICE_TYPE_PC},
        {DEVICE_ID_SMART_DISPLAY, DEVICE_TYPE_SMART_DISPLAY},
        {DEVICE_ID_2IN1, DEVICE_TYPE_2IN1},
    };
    auto found = names.find(deviceType);
    return found == names.end() ? std::string() : found->second;
}

bool ServiceFilter::Marshalling(Parcel &parcel) const
{
    bool written = parcel.WriteString(serviceName_) && parcel.WriteStringVector(deviceTypes_);
    if (!written) {
        TRBY_LOGE("write ServiceFilter failed: serviceName_ = %{public}s", serviceName_.c_str());
    }
    return written;
}

sptr<ServiceFilter> ServiceFilter::Unmarshalling(Parcel &parcel)
{
    std::string serviceName = parcel.ReadString();
    // A refused count leaves the vector empty, which accepts any device type.
    std::vector<std::string> deviceTypes;
    (void)parcel.ReadStringVector(&deviceTypes);
    sptr<ServiceFilter> filter = new (std::nothrow) ServiceFilter(std::move(serviceName), std::move(deviceTypes));
    if (filter == nullptr) {
        TRBY_LOGE("new ServiceFilter failed");
    }
    return filter;
}

DeviceInfo::DeviceInfo(std::string udid, std::string networkId, std::string deviceName, uint32_t deviceType) :
    udid_(std::move(udid)), networkId_(std::move(networkId)), deviceName_(std::move(deviceName)),
    deviceType_(deviceType)
{
    TRBY_LOGI("create:device = %{public}s, deviceType = %{public}u",
              PickerResult::StringToAnonymous(networkId_).c_str(), deviceType_);
}

DeviceInfo::~DeviceInfo()
{
    TRBY_LOGI("destory:device = %{public}s deviceType = %{public}u",
              PickerResult::StringToAnonymous(networkId_).c_str(), deviceType_);
}

void DeviceInfo::SetDeviceUdid(std::string udid)
{
    udid_ = std::move(udid);
}

std::string DeviceInfo::GetDeviceUdid() const
{
    return udid_;
}

void DeviceInfo::SetDeviceNetworkId(std::string networkId)
{
    networkId_ = std::move(networkId);
}

std::string DeviceInfo::GetDeviceNetworkId() const
{
    return networkId_;
}

void DeviceInfo::SetDeviceName(std::string deviceName)
{
    deviceName_ = std::move(deviceName);
}

std::string DeviceInfo::GetDeviceName() const
{
    return deviceName_;
}

void DeviceInfo::SetDeviceType(uint32_t deviceType)
{
    deviceType_ = deviceType;
}

uint32_t DeviceInfo::GetDeviceType() const
{
    return deviceType_;
}

bool DeviceInfo::Marshalling(Parcel &parcel) const
{
    bool written = parcel.WriteString(udid_) && parcel.WriteString(networkId_) && parcel.WriteString(deviceName_) &&
                   parcel.WriteUint32(deviceType_);
    std::string udid = PickerResult::StringToAnonymous(udid_);
    std::string networkId = PickerResult::StringToAnonymous(networkId_);
    if (!written) {
        TRBY_LOGE("failed:udid_:%{public}s, networkId_:%{public}s, deviceType:%{public}u", udid.c_str(),
                  networkId.c_str(), deviceType_);
        return false;
    }
    TRBY_LOGI("success:udid_:%{public}s, networkId_:%{public}s, deviceType:%{public}u", udid.c_str(), networkId.c_str(),
              deviceType_);
    return true;
}

sptr<DeviceInfo> DeviceInfo::Unmarshalling(Parcel &parcel)
{
    std::string udid = parcel.ReadString();
    std::string networkId = parcel.ReadString();
    std::string deviceName = parcel.ReadString();
    uint32_t deviceType = parcel.ReadUint32();
    sptr<DeviceInfo> info = new (std::nothrow) DeviceInfo(udid, networkId, std::move(deviceName), deviceType);
    if (info == nullptr) {
        TRBY_LOGE("new DeviceInfo failed, udid:%{public}s, networkId:%{public}s,deviceType:%{public}u",
                  PickerResult::StringToAnonymous(udid).c_str(), PickerResult::StringToAnonymous(networkId).c_str(),
                  deviceType);
    }
    return info;
}

LocalInfo::LocalInfo(std::string localAbilityName, std::string localBundleName, std::string localDeviceId,
                     std::string localModuleName, uint32_t localDeviceType) :
    localAbilityName_(std::move(localAbilityName)),
    localBundleName_(std::move(localBundleName)), localDeviceId_(std::move(localDeviceId)),
    localModuleName_(std::move(localModuleName)), localDeviceType_(localDeviceType)
{
    TRBY_LOGI("localAbilityName=%{public}s, localBundleName=%{public}s,localDeviceId=%{public}s, "
              "localModuleName=%{public}s, localDeviceType=%{public}u",
              PickerResult::StringToAnonymous(localAbilityName_).c_str(), localBundleName_.c_str(),
              PickerResult::StringToAnonymous(localDeviceId_).c_str(), localModuleName_.c_str(), localDeviceType_);
}

LocalInfo::~LocalInfo()
{
    TRBY_LOGI("destory:localAbilityName = %{public}s, localBundleName = %{public}s, localDeviceId = %{public}s, "
              "localModuleName=%{public}s, localDeviceType = %{public}u",
              localAbilityName_.c_str(), localBundleName_.c_str(),
              PickerResult::StringToAnonymous(localDeviceId_).c_str(), localModuleName_.c_str(), localDeviceType_);
}

void LocalInfo::SetLocalAbilityName(std::string localAbilityName)
{
    localAbilityName_ = std::move(localAbilityName);
}

std::string LocalInfo::GetLocalAbilityName() const
{
    return localAbilityName_;
}

void LocalInfo::SetLocalBundleName(std::string localBundleName)
{
    localBundleName_ = std::move(localBundleName);
}

std::string LocalInfo::GetLocalBundleName() const
{
    return localBundleName_;
}

void LocalInfo::SetLocalDeviceId(std::string localDeviceId)
{
    localDeviceId_ = std::move(localDeviceId);
}

std::string LocalInfo::GetLocalDeviceId() const
{
    return localDeviceId_;
}

void LocalInfo::SetLocalModuleName(std::string localModuleName)
{
    localModuleName_ = std::move(localModuleName);
}

std::string LocalInfo::GetLocalModuleName() const
{
    return localModuleName_;
}

void LocalInfo::SetLocalDeviceType(uint32_t localDeviceType)
{
    localDeviceType_ = localDeviceType;
}

uint32_t LocalInfo::GetLocalDeviceType() const
{
    return localDeviceType_;
}

bool LocalInfo::Marshalling(Parcel &parcel) const
{
    bool written = parcel.WriteString(localAbilityName_) && parcel.WriteString(localBundleName_) &&
                   parcel.WriteString(localDeviceId_) && parcel.WriteString(localModuleName_) &&
                   parcel.WriteUint32(localDeviceType_);
    std::string deviceId = PickerResult::StringToAnonymous(localDeviceId_);
    if (!written) {
        TRBY_LOGE("failed:localAbilityName_:%{public}s, localBundleName_:%{public}s, localDeviceId_:%{public}s, "
                  "localModuleName_:%{public}s, localDeviceType_:%{public}u",
                  localAbilityName_.c_str(), localBundleName_.c_str(), deviceId.c_str(), localModuleName_.c_str(),
                  localDeviceType_);
        return false;
    }
    TRBY_LOGI("localAbilityName_:%{public}s, localBundleName_:%{public}s, localDeviceId_:%{public}s, "
              "localModuleName_:%{public}s, localDeviceType_:%{public}u",
              localAbilityName_.c_str(), localBundleName_.c_str(), deviceId.c_str(), localModuleName_.c_str(),
              localDeviceType_);
    return true;
}

sptr<LocalInfo> LocalInfo::Unmarshalling(Parcel &parcel)
{
    std::string abilityName = parcel.ReadString();
    std::string bundleName = parcel.ReadString();
    std::string deviceId = parcel.ReadString();
    std::string moduleName = parcel.ReadString();
    uint32_t deviceType = parcel.ReadUint32();
    sptr<LocalInfo> info = new (std::nothrow) LocalInfo(abilityName, bundleName, deviceId, moduleName, deviceType);
    if (info == nullptr) {
        TRBY_LOGE("new LocalInfo failed, localAbilityName:%{public}s, localBundleName:%{public}s, "
                  "localDeviceId:%{public}s, localModuleNam:%{public}s, localDeviceType:%{public}u",
                  abilityName.c_str(), bundleName.c_str(), PickerResult::StringToAnonymous(deviceId).c_str(),
                  moduleName.c_str(), deviceType);
    }
    return info;
}

PickerResult::PickerResult()
{
    TRBY_LOGI("create: abilityFilter_ = %{public}d, deviceInfo_= %{public}d ", IsNull(abilityFilter_),
              IsNull(deviceInfo_));
}

PickerResult::~PickerResult()
{
    TRBY_LOGI("destory: abilityFilter_ = %{public}d, deviceInfo_= %{public}d ", IsNull(abilityFilter_),
              IsNull(deviceInfo_));
}

void PickerResult::SetAccessType(AccessType accessType)
{
    accessType_ = accessType;
}

PickerResult::AccessType PickerResult::GetAccessType() const
{
    return accessType_;
}

void PickerResult::SetAbilityFilter(sptr<AbilityFilter> abilityFilter)
{
    abilityFilter_ = std::move(abilityFilter);
}

sptr<AbilityFilter> PickerResult::GetAbilityFilter() const
{
    return abilityFilter_;
}

void PickerResult::SetDeviceInfo(sptr<DeviceInfo> deviceInfo)
{
    deviceInfo_ = std::move(deviceInfo);
}

sptr<DeviceInfo> PickerResult::GetDeviceInfo() const
{
    return deviceInfo_;
}

void PickerResult::SetLocalDeviceInfo(sptr<LocalInfo> localInfo)
{
    localInfo_ = std::move(localInfo);
}

sptr<LocalInfo> PickerResult::GetLocalDeviceInfo() const
{
    return localInfo_;
}

bool PickerResult::Marshalling(Parcel &parcel) const
{
    bool written = parcel.WriteUint32(accessType_) && WriteRequiredRecord(parcel, abilityFilter_) &&
                   WriteRequiredRecord(parcel, deviceInfo_) && WriteRequiredRecord(parcel, localInfo_);
    if (!written) {
        TRBY_LOGE("write PickerResult failed: abilityFilter_ = %{public}d, deviceInfo_= %{public}d localInfo_= "
                  "%{public}d",
                  IsNull(abilityFilter_), IsNull(deviceInfo_), IsNull(localInfo_));
    }
    return written;
}

sptr<PickerResult> PickerResult::Unmarshalling(Parcel &parcel)
{
    sptr<PickerResult> result = new (std::nothrow) PickerResult();
    if (result == nullptr) {
        TRBY_LOGE("new PickerResult failed");
        return nullptr;
    }
    uint32_t accessType = parcel.ReadUint32();
    sptr<AbilityFilter> abilityFilter = parcel.ReadStrongParcelable<AbilityFilter>();
    sptr<DeviceInfo> deviceInfo = parcel.ReadStrongParcelable<DeviceInfo>();
    sptr<LocalInfo> localInfo = parcel.ReadStrongParcelable<LocalInfo>();
    if (abilityFilter == nullptr || deviceInfo == nullptr || localInfo == nullptr) {
        TRBY_LOGE("read abilityFilter_ %{public}d, deviceInfo %{public}d, localInfo %{public}d", IsNull(abilityFilter),
                  IsNull(deviceInfo), IsNull(localInfo));
        return nullptr;
    }
    if (accessType > ACCESS_TYPE_2) {
        TRBY_LOGE("read accesstype failed");
        return nullptr;
    }
    result->accessType_ = static_cast<AccessType>(accessType);
    result->abilityFilter_ = std::move(abilityFilter);
    result->deviceInfo_ = std::move(deviceInfo);
    result->localInfo_ = std::move(localInfo);
    return result;
}

std::string PickerResult::StringToAnonymous(const std::string &value)
{
    uint32_t length = static_cast<uint32_t>(value.size());
    if (length < ANONYMOUS_KEEP) {
        return ANONYMOUS_MASK;
    }
    return value.substr(0, ANONYMOUS_KEEP) + ANONYMOUS_MASK + value.substr(length - ANONYMOUS_KEEP);
}

DeviceServiceInfo::DeviceServiceInfo(std::string deviceName, uint32_t deviceType, std::string deviceHashId,
                                     std::string deviceId, std::vector<std::string> serviceRuleList,
                                     std::string networkId, std::string brMac, std::string extraInfo) :
    deviceName_(std::move(deviceName)),
    deviceType_(deviceType), deviceHashId_(std::move(deviceHashId)), deviceId_(std::move(deviceId)),
    serviceRuleList_(std::move(serviceRuleList)), networkId_(std::move(networkId)), brMac_(std::move(brMac)),
    extraInfo_(std::move(extraInfo))
{
    TRBY_LOGI("create:device = %{public}s, deviceType = %{public}u",
              PickerResult::StringToAnonymous(networkId_).c_str(), deviceType_);
}

DeviceServiceInfo::~DeviceServiceInfo()
{
    TRBY_LOGI("destory:device = %{public}s, deviceType = %{public}u",
              PickerResult::StringToAnonymous(networkId_).c_str(), deviceType_);
}

void DeviceServiceInfo::SetDeviceName(std::string deviceName)
{
    deviceName_ = std::move(deviceName);
}

std::string DeviceServiceInfo::GetDeviceName() const
{
    return deviceName_;
}

void DeviceServiceInfo::SetDeviceType(uint32_t deviceType)
{
    deviceType_ = deviceType;
}

uint32_t DeviceServiceInfo::GetDeviceType() const
{
    return deviceType_;
}

void DeviceServiceInfo::SetDeviceHashId(std::string deviceHashId)
{
    deviceHashId_ = std::move(deviceHashId);
}

std::string DeviceServiceInfo::GetDeviceHashId() const
{
    return deviceHashId_;
}

void DeviceServiceInfo::SetDeviceId(std::string deviceId)
{
    deviceId_ = std::move(deviceId);
}

std::string DeviceServiceInfo::GetDeviceId() const
{
    return deviceId_;
}

void DeviceServiceInfo::SetServiceRuleList(std::vector<std::string> serviceRuleList)
{
    serviceRuleList_ = std::move(serviceRuleList);
}

std::vector<std::string> DeviceServiceInfo::GetServiceRuleList() const
{
    return serviceRuleList_;
}

void DeviceServiceInfo::SetNetworkId(std::string networkId)
{
    networkId_ = std::move(networkId);
}

std::string DeviceServiceInfo::GetNetworkId() const
{
    return networkId_;
}

void DeviceServiceInfo::SetBrMac(std::string brMac)
{
    brMac_ = std::move(brMac);
}

std::string DeviceServiceInfo::GetBrMac() const
{
    return brMac_;
}

void DeviceServiceInfo::SetExtraInfo(std::string extraInfo)
{
    extraInfo_ = std::move(extraInfo);
}

std::string DeviceServiceInfo::GetExtraInfo() const
{
    return extraInfo_;
}

bool DeviceServiceInfo::Marshalling(Parcel &parcel) const
{
    bool written = parcel.WriteString(deviceName_) && parcel.WriteUint32(deviceType_) &&
                   parcel.WriteString(deviceHashId_) && parcel.WriteString(deviceId_) &&
                   parcel.WriteStringVector(serviceRuleList_) && parcel.WriteString(networkId_) &&
                   parcel.WriteString(brMac_) && parcel.WriteString(extraInfo_);
    std::string deviceId = PickerResult::StringToAnonymous(deviceId_);
    std::string networkId = PickerResult::StringToAnonymous(networkId_);
    if (!written) {
        TRBY_LOGE("failed:udid_:%{public}s, networkId_:%{public}s, deviceType:%{public}u", deviceId.c_str(),
                  networkId.c_str(), deviceType_);
        return false;
    }
    TRBY_LOGI("success:udid_:%{public}s, networkId_:%{public}s, deviceType:%{public}u", deviceId.c_str(),
              networkId.c_str(), deviceType_);
    return true;
}

sptr<DeviceServiceInfo> DeviceServiceInfo::Unmarshalling(Parcel &parcel)
{
    std::string deviceName = parcel.ReadString();
    uint32_t deviceType = parcel.ReadUint32();
    std::string deviceHashId = parcel.ReadString();
    std::string deviceId = parcel.ReadString();
    std::vector<std::string> serviceRuleList;
    (void)parcel.ReadStringVector(&serviceRuleList);
    std::string networkId = parcel.ReadString();
    std::string brMac = parcel.ReadString();
    std::string extraInfo = parcel.ReadString();
    sptr<DeviceServiceInfo> info = new (std::nothrow)
        DeviceServiceInfo(deviceName, deviceType, deviceHashId, deviceId, serviceRuleList, networkId, brMac, extraInfo);
    if (info == nullptr) {
        TRBY_LOGE("new DeviceServiceInfo failed, udid:%{public}s, networkId:%{public}s,deviceType:%{public}u",
                  PickerResult::StringToAnonymous(deviceId).c_str(), PickerResult::StringToAnonymous(networkId).c_str(),
                  deviceType);
    }
    return info;
}
} // namespace OHOS::Tarnby
