// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_TARGET_INFO_H
#define TARNBY_TARGET_INFO_H

/**
 * @file target_info.h
 * @brief The two ends of a collaboration session as they cross to the service.
 *
 * Both records are reference-counted: hold them in an sptr. Unmarshalling returns a new record (or null) that the
 * caller takes into an sptr.
 */
#include <cstdint>
#include <string>

#include "parcel.h"
#include "refbase.h"
#include "tarnby_export.h"

namespace OHOS::Tarnby {
/** @brief What a TargetInfo addresses. Other values are carried unchanged but have no key. */
enum TargetType : uint32_t {
    SYSTEM_ABILITY_TARGET = 0,    ///< By systemAbilityId.
    ABILITY_TARGET = 1,           ///< By bundleName and abilityName.
    SECONDARY_ABILITY_TARGET = 2, ///< As ABILITY_TARGET.
};

/**
 * @brief One end of a session: a system ability or an application ability on the device named by networkId, for one
 * user account. The account stays local: the wire does not carry it, so a record read from a parcel has account 0.
 */
class TARNBY_EXPORT TargetInfo : public Parcelable {
public:
    /**
     * @brief Makes the record from its fields.
     * @param networkId The network id.
     * @param targetType The target type.
     * @param bundleName The bundle name.
     * @param abilityName The ability name.
     * @param systemAbilityId The system ability id.
     */
    TargetInfo(std::string networkId, uint32_t targetType, std::string bundleName, std::string abilityName,
               int32_t systemAbilityId);
    /**
     * @brief A system-ability target on no particular device.
     * @param systemAbilityId The system ability's id.
     */
    explicit TargetInfo(int32_t systemAbilityId);
    /**
     * @brief An ability target on no particular device.
     * @param bundleName The bundle name.
     * @param abilityName The ability name.
     * @param targetType The target type.
     */
    TargetInfo(std::string bundleName, std::string abilityName, TargetType targetType);
    /** @brief Destroys the object. */
    ~TargetInfo() override;

    /** @brief Sets the network id. @param networkId The new value. */
    void SetNetworkId(std::string networkId);
    /** @brief Sets the target type. @param targetType The new value. */
    void SetTargetType(uint32_t targetType);
    /** @brief Sets the bundle name. @param bundleName The new value. */
    void SetBundleName(std::string bundleName);
    /** @brief Sets the ability name. @param abilityName The new value. */
    void SetAbilityName(std::string abilityName);
    /** @brief Sets the system ability id. @param systemAbilityId The new value. */
    void SetSystemAbilityId(int32_t systemAbilityId);
    /**
     * @brief Sets the account id; ids below 100, negative ones included, are stored as 0.
     * @param accountId The account id.
     */
    void SetAccountId(int32_t accountId);
    /** @return The network id. */
    std::string GetNetworkId() const;
    /** @return The target type. */
    uint32_t GetTargetType() const;
    /** @return The bundle name. */
    std::string GetBundleName() const;
    /** @return The ability name. */
    std::string GetAbilityName() const;
    /** @return The system ability id. */
    int32_t GetSystemAbilityId() const;

    /**
     * @brief The target's key for the service's tables.
     * @return "account type bundle ability" for ability targets, "account type said" for system abilities, ""
     *         otherwise.
     */
    std::string GenTargetKey() const;

    /**
     * @brief Writes the record's fields into `parcel` in wire order; the record stays the caller's.
     * @param parcel The parcel written to.
     * @return False at the first field that cannot be written.
     */
    bool Marshalling(Parcel &parcel) const override;
    /**
     * @brief Reads a record written by Marshalling.
     * @param parcel The parcel read from.
     * @return A new record owned by the returned reference, or null when it cannot be read.
     */
    static TargetInfo *Unmarshalling(Parcel &parcel);

private:
    std::string networkId_;
    uint32_t targetType_ = SYSTEM_ABILITY_TARGET;
    std::string bundleName_;
    std::string abilityName_;
    int32_t systemAbilityId_ = 0;
    int32_t accountId_ = 0;
};

/**
 * @brief A started collaboration: its session id, the source end and free extra data. The record holds a strong
 * reference to srcTarget; it can only be marshalled while srcTarget is set.
 */
class TARNBY_EXPORT StartInfo : public Parcelable {
public:
    /**
     * @brief Makes the record from its fields.
     * @param collaborationSessionId The collaboration session id.
     * @param srcTarget The src target.
     * @param extraData The extra data.
     */
    StartInfo(int32_t collaborationSessionId, sptr<TargetInfo> srcTarget, const std::string &extraData);
    /** @brief Destroys the object. */
    ~StartInfo() override;

    /** @return The collaboration session id. */
    int32_t GetCollaborationSessionId() const;
    /** @return The src target. */
    sptr<TargetInfo> GetSrcTarget() const;
    /** @brief Sets the src target. @param srcTarget The new value. */
    void SetSrcTarget(sptr<TargetInfo> srcTarget);
    /** @return The extra data. */
    const std::string &GetExtraData() const;
    /** @brief Sets the extra data. @param extraData The new value. */
    void SetExtraData(std::string &&extraData);
    /** @brief Sets the extra data. @param extraData The new value. */
    void SetExtraData(std::string &extraData);

    /**
     * @brief Writes the record's fields into `parcel` in wire order; the record stays the caller's.
     * @param parcel The parcel written to.
     * @return False at the first field that cannot be written.
     */
    bool Marshalling(Parcel &parcel) const override;
    /**
     * @brief Reads a record written by Marshalling.
     * A presence flag of 0 gives a record with a null srcTarget.
     * @param parcel The parcel read from.
     * @return A new record owned by the returned reference, or null when it cannot be read.
     */
    static StartInfo *Unmarshalling(Parcel &parcel);

private:
    int32_t collaborationSessionId_ = 0;
    sptr<TargetInfo> srcTarget_;
    std::string extraData_;
};
} // namespace OHOS::Tarnby

#endif // TARNBY_TARGET_INFO_H
