// SPDX-License-Identifier: Apache-2.0
#include "target_info.h"

#include <new>
#include <utility>

#include "ability_filter.h"
#include "nested_record.h"
#include "tarnby_log.h"

namespace OHOS::Tarnby {
namespace {
constexpr LogLabel LOG_LABEL = LABEL_COLLABORATION;

// Account ids below this one all mean the default account.
constexpr int32_t MIN_ACCOUNT_ID = 100;
constexpr char KEY_SEPARATOR = ' ';
} // namespace

TargetInfo::TargetInfo(std::string networkId, uint32_t targetType, std::string bundleName, std::string abilityName,
                       int32_t systemAbilityId) :
    networkId_(std::move(networkId)),
    targetType_(targetType), bundleName_(std::move(bundleName)), abilityName_(std::move(abilityName)),
    systemAbilityId_(systemAbilityId)
{
    TRBY_LOGI("networkId=%{public}s, targetType=%{public}d, bundleName=%{public}s, abilityName=%{public}s, "
              "systemAbilityId=%{public}u",
              PickerResult::StringToAnonymous(networkId_).c_str(), targetType_, bundleName_.c_str(),
              abilityName_.c_str(), systemAbilityId_);
}

TargetInfo::TargetInfo(int32_t systemAbilityId) : systemAbilityId_(systemAbilityId)
{
    TRBY_LOGI("tartInfo construct");
}

TargetInfo::TargetInfo(std::string bundleName, std::string abilityName, TargetType targetType) :
    targetType_(targetType), bundleName_(std::move(bundleName)), abilityName_(std::move(abilityName))
{
    TRBY_LOGI("tartInfo construct");
}

TargetInfo::~TargetInfo()
{
    TRBY_LOGI("destroy networkId=%{public}s, targetType=%{public}d, bundleName=%{public}s, abilityName=%{public}s, "
              "systemAbilityId=%{public}u",
              PickerResult::StringToAnonymous(networkId_).c_str(), targetType_, bundleName_.c_str(),
              abilityName_.c_str(), systemAbilityId_);
}

void TargetInfo::SetNetworkId(std::string networkId)
{
    networkId_ = std::move(networkId);
}

void TargetInfo::SetTargetType(uint32_t targetType)
{
    targetType_ = targetType;
}

void TargetInfo::SetBundleName(std::string bundleName)
{
    bundleName_ = std::move(bundleName);
}

void TargetInfo::SetAbilityName(std::string abilityName)
{
    abilityName_ = std::move(abilityName);
}

void TargetInfo::SetSystemAbilityId(int32_t systemAbilityId)
{
    systemAbilityId_ = systemAbilityId;
}

void TargetInfo::SetAccountId(int32_t accountId)
{
    accountId_ = accountId >= MIN_ACCOUNT_ID ? accountId : 0;
}

std::string TargetInfo::GetNetworkId() const
{
    return networkId_;
}

uint32_t TargetInfo::GetTargetType() const
{
    return targetType_;
}

std::string TargetInfo::GetBundleName() const
{
    return bundleName_;
}

std::string TargetInfo::GetAbilityName() const
{
    return abilityName_;
}

int32_t TargetInfo::GetSystemAbilityId() const
{
    return systemAbilityId_;
}

std::string TargetInfo::GenTargetKey() const
{
    std::string prefix = std::to_string(accountId_) + KEY_SEPARATOR + std::to_string(targetType_) + KEY_SEPARATOR;
    if (targetType_ == ABILITY_TARGET || targetType_ == SECONDARY_ABILITY_TARGET) {
        return prefix + bundleName_ + KEY_SEPARATOR + abilityName_;
    }
    if (targetType_ == SYSTEM_ABILITY_TARGET) {
        return prefix + std::to_string(systemAbilityId_);
    }
    return "";
}

bool TargetInfo::Marshalling(Parcel &parcel) const
{
    bool written = parcel.WriteString(networkId_) && parcel.WriteUint32(targetType_) &&
                   parcel.WriteString(bundleName_) && parcel.WriteString(abilityName_) &&
                   parcel.WriteInt32(systemAbilityId_);
    std::string networkId = PickerResult::StringToAnonymous(networkId_);
    if (!written) {
        TRBY_LOGE("failed networkId=%{public}s, targetType=%{public}d, bundleName=%{public}s, abilityName=%{public}s, "
                  "systemAbilityId=%{public}u",
                  networkId.c_str(), targetType_, bundleName_.c_str(), abilityName_.c_str(), systemAbilityId_);
        return false;
    }
    TRBY_LOGI("success networkId=%{public}s, targetType=%{public}d, bundleName=%{public}s, abilityName=%{public}s, "
              "systemAbilityId=%{public}u",
              networkId.c_str(), targetType_, bundleName_.c_str(), abilityName_.c_str(), systemAbilityId_);
    return true;
}

TargetInfo *TargetInfo::Unmarshalling(Parcel &parcel)
{
    std::string networkId = parcel.ReadString();
    uint32_t targetType = parcel.ReadUint32();
    std::string bundleName = parcel.ReadString();
    std::string abilityName = parcel.ReadString();
    int32_t systemAbilityId = parcel.ReadInt32();
    auto *target = new (std::nothrow) TargetInfo(networkId, targetType, bundleName, abilityName, systemAbilityId);
    if (target == nullptr) {
        TRBY_LOGE("failed networkId=%{public}s, targetType=%{public}d, bundleName=%{public}s, abilityName=%{public}s, "
                  "systemAbilityId=%{public}u",
                  PickerResult::StringToAnonymous(networkId).c_str(), targetType, bundleName.c_str(),
                  abilityName.c_str(), systemAbilityId);
    }
    return target;
}

StartInfo::StartInfo(int32_t collaborationSessionId, sptr<TargetInfo> srcTarget, const std::string &extraData) :
    collaborationSessionId_(collaborationSessionId), srcTarget_(std::move(srcTarget)), extraData_(extraData)
{
    TRBY_LOGI("collaborationSessionId=%{public}d", collaborationSessionId_);
}

StartInfo::~StartInfo()
{
    TRBY_LOGI("destory collaborationSessionId=%{public}d", collaborationSessionId_);
}

int32_t StartInfo::GetCollaborationSessionId() const
{
    return collaborationSessionId_;
}

sptr<TargetInfo> StartInfo::GetSrcTarget() const
{
    return srcTarget_;
}

void StartInfo::SetSrcTarget(sptr<TargetInfo> srcTarget)
{
    srcTarget_ = std::move(srcTarget);
}

const std::string &StartInfo::GetExtraData() const
{
    return extraData_;
}

void StartInfo::SetExtraData(std::string &&extraData)
{
    extraData_ = std::move(extraData);
}

void StartInfo::SetExtraData(std::string &extraData)
{
    extraData_ = extraData;
}

bool StartInfo::Marshalling(Parcel &parcel) const
{
    // The service needs the source end: a null one fails the write, whatever the platform does for null.
    bool written = parcel.WriteInt32(collaborationSessionId_) && WriteRequiredRecord(parcel, srcTarget_) &&
                   parcel.WriteString(extraData_);
    if (!written) {
        TRBY_LOGE("failed marshall collaborationSessionId=%{public}d", collaborationSessionId_);
        return false;
    }
    TRBY_LOGI("success marshall collaborationSessionId=%{public}d", collaborationSessionId_);
    return true;
}

StartInfo *StartInfo::Unmarshalling(Parcel &parcel)
{
    int32_t collaborationSessionId = parcel.ReadInt32();
    sptr<TargetInfo> srcTarget = parcel.ReadStrongParcelable<TargetInfo>();
    std::string extraData = parcel.ReadString();
    auto *info = new (std::nothrow) StartInfo(collaborationSessionId, srcTarget, extraData);
    if (info == nullptr) {
        TRBY_LOGE("failed marshall collaborationSessionId=%{public}d", collaborationSessionId);
    }
    return info;
}
} // namespace OHOS::Tarnby
