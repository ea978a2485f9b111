#ifndef TARNBY_TARGET_INFO_H
#define TARNBY_TARGET_INFO_H

// The two ends of a collaboration session as they cross to the service. Both records are reference-counted: hold
// them in an sptr. Unmarshalling returns a new record (or null) that the caller takes into an sptr.
#include <cstdint>
#include <string>

#include "parcel.h"
#include "refbase.h"
#include "tarnby_export.h"

namespace OHOS::Tarnby {
// What a TargetInfo addresses. Other values are carried unchanged but have no key.
enum TargetType : uint32_t {
    SYSTEM_ABILITY_TARGET = 0,    // by systemAbilityId
    ABILITY_TARGET = 1,           // by bundleName and abilityName
    SECONDARY_ABILITY_TARGET = 2, // as ABILITY_TARGET
};

// One end of a session: a system ability or an application ability on the device named by networkId, for one user
// account. The account stays local: the wire does not carry it, so a record read from a parcel has account 0.
class TARNBY_EXPORT TargetInfo : public Parcelable {
public:
    TargetInfo(std::string networkId, uint32_t targetType, std::string bundleName, std::string abilityName,
               int32_t systemAbilityId);
    // A system-ability target on no particular device.
    explicit TargetInfo(int32_t systemAbilityId);
    // An ability target on no particular device.
    TargetInfo(std::string bundleName, std::string abilityName, TargetType targetType);
    ~TargetInfo() override;

    void SetNetworkId(std::string networkId);
    void SetTargetType(uint32_t targetType);
    void SetBundleName(std::string bundleName);
    void SetAbilityName(std::string abilityName);
    void SetSystemAbilityId(int32_t systemAbilityId);
    // Ids below 100, negative ones included, are stored as 0.
    void SetAccountId(int32_t accountId);
    std::string GetNetworkId() const;
    uint32_t GetTargetType() const;
    std::string GetBundleName() const;
    std::string GetAbilityName() const;
    int32_t GetSystemAbilityId() const;

    // "account type bundle ability" for ability targets, "account type said" for system abilities, "" otherwise.
    std::string GenTargetKey() const;

    bool Marshalling(Parcel &parcel) const override;
    static TargetInfo *Unmarshalling(Parcel &parcel);

private:
    std::string networkId_;
    uint32_t targetType_ = SYSTEM_ABILITY_TARGET;
    std::string bundleName_;
    std::string abilityName_;
    int32_t systemAbilityId_ = 0;
    int32_t accountId_ = 0;
};

// A started collaboration: its session id, the source end and free extra data. The record holds a strong
// reference to srcTarget; it can only be marshalled while srcTarget is set.
class TARNBY_EXPORT StartInfo : public Parcelable {
public:
    StartInfo(int32_t collaborationSessionId, sptr<TargetInfo> srcTarget, const std::string &extraData);
    ~StartInfo() override;

    int32_t GetCollaborationSessionId() const;
    sptr<TargetInfo> GetSrcTarget() const;
    void SetSrcTarget(sptr<TargetInfo> srcTarget);
    const std::string &GetExtraData() const;
    void SetExtraData(std::string &&extraData);
    void SetExtraData(std::string &extraData);

    bool Marshalling(Parcel &parcel) const override;
    // A presence flag of 0 gives a record with a null srcTarget.
    static StartInfo *Unmarshalling(Parcel &parcel);

private:
    int32_t collaborationSessionId_ = 0;
    sptr<TargetInfo> srcTarget_;
    std::string extraData_;
};
} // namespace OHOS::Tarnby

#endif // TARNBY_TARGET_INFO_H
