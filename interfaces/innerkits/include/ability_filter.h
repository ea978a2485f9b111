// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_ABILITY_FILTER_H
#define TARNBY_ABILITY_FILTER_H

/**
 * @file ability_filter.h
 * @brief Device selection records: the filters over abilities, devices and services, the device picker's result
 *        (remote device, local side, filter, access type) and a remote device with its service rules.
 *
 * Every record is reference-counted: hold it in an sptr. A static Unmarshalling returns a new record owned by the
 * returned sptr (null when the record cannot be read); Marshalling writes into the caller's parcel and never takes
 * ownership.
 */
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "parcel.h"
#include "refbase.h"
#include "tarnby_export.h"

namespace OHOS::Tarnby {
/** @brief The kind of ability sought; travels inside PickerResult. */
class TARNBY_EXPORT AbilityFilter : public Parcelable {
public:
    /**
     * @brief Makes the record from its fields.
     * @param bundleName The bundle name.
     * @param abilityType The ability type.
     * @param abilityDescription The ability description.
     * @param deviceType The device type.
     * @param accountType The account type.
     */
    AbilityFilter(std::string bundleName, std::string abilityType, std::string abilityDescription, uint32_t deviceType,
                  uint32_t accountType);
    /** @brief Destroys the object. */
    ~AbilityFilter() override;

    /** @brief Sets the bundle name. @param bundleName The new value. */
    void SetBundleName(std::string bundleName);
    /** @return The bundle name. */
    std::string GetBundleName() const;
    /** @brief Sets the ability type. @param abilityType The new value. */
    void SetAbilityType(std::string abilityType);
    /** @return The ability type. */
    std::string GetAbilityType() const;
    /** @brief Sets the ability description. @param abilityDescription The new value. */
    void SetAbilityDescription(std::string abilityDescription);
    /** @return The ability description. */
    std::string GetAbilityDescription() const;
    /** @brief Sets the device type. @param deviceType The new value. */
    void SetDeviceType(uint32_t deviceType);
    /** @return The device type. */
    uint32_t GetDeviceType() const;
    /** @brief Sets the account type. @param accountType The new value. */
    void SetAccountType(uint32_t accountType);
    /** @return The account type. */
    uint32_t GetAccountType() const;
    /** @brief Sets the action. @param action The new value. */
    void SetAction(std::string action);
    /** @return The action. */
    std::string GetAction() const;

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
    static sptr<AbilityFilter> Unmarshalling(Parcel &parcel);

private:
    std::string bundleName_;
    std::string abilityType_;
    std::string abilityDescription_;
    uint32_t deviceType_ = 0;
    uint32_t accountType_ = 0;
    std::string action_;
};

/** @brief Accepted device-type and account-type numbers. An empty list accepts nothing. */
class TARNBY_EXPORT DeviceFilter : public Parcelable {
public:
    /**
     * @brief Makes the record from its fields.
     * @param deviceTypes The device types.
     * @param accountTypes The account types.
     */
    DeviceFilter(std::vector<uint32_t> deviceTypes, std::vector<uint32_t> accountTypes);
    /** @brief Destroys the object. */
    ~DeviceFilter() override = default;

    /**
     * @brief Whether `deviceType` is one of the accepted device types.
     * @param deviceType A device-type number.
     * @return True when listed; an empty list accepts nothing.
     */
    bool isDeviceTypeMatch(uint32_t deviceType) const;
    /**
     * @brief Whether `accountType` is one of the accepted account types.
     * @param accountType An account-type number.
     * @return True when listed; an empty list accepts nothing.
     */
    bool isAccountTypeMatch(uint32_t accountType) const;

    /**
     * @brief Writes the record's fields into `parcel` in wire order; the record stays the caller's.
     * @param parcel The parcel written to.
     * @return False at the first field that cannot be written.
     */
    bool Marshalling(Parcel &parcel) const override;
    /**
     * @brief Reads a record written by Marshalling.
     * Null when either vector's count exceeds what the parcel still holds.
     * @param parcel The parcel read from.
     * @return A new record owned by the returned reference, or null when it cannot be read.
     */
    static sptr<DeviceFilter> Unmarshalling(Parcel &parcel);

private:
    std::vector<uint32_t> deviceTypes_;
    std::vector<uint32_t> accountTypes_;
};

/**
 * @brief A service name and device-type names ("PHONE", "PAD", ...) that a remote device must match. An empty name or
 * an empty list accepts anything.
 */
class TARNBY_EXPORT ServiceFilter : public Parcelable {
public:
    /**
     * @brief Makes the record from its fields.
     * @param serviceName The service name.
     * @param deviceTypes The device types.
     */
    ServiceFilter(std::string serviceName, std::vector<std::string> deviceTypes);
    /** @brief Destroys the object. */
    ~ServiceFilter() override = default;

    /** @brief Sets the service name. @param serviceName The new value. */
    void SetServiceName(std::string serviceName);
    /** @return The service name. */
    std::string GetServiceName() const;
    /** @brief Sets the device type. @param deviceTypes The new value. */
    void SetDeviceType(std::vector<std::string> deviceTypes);
    /** @return The device type. */
    std::vector<std::string> GetDeviceType() const;

    /**
     * @brief Whether a remote device matches the filter: the service name first, the device type only when the name
     *        matched.
     * @param remoteServiceNames The services the remote device offers; null matches no name.
     * @param remoteDeviceType The remote device's type number.
     * @return True when both match.
     */
    bool IsMatch(std::shared_ptr<std::vector<std::string>> remoteServiceNames, uint32_t remoteDeviceType) const;
    /**
     * @brief Whether the filter's service name is among `remoteServiceNames` (an empty name matches any).
     * @param remoteServiceNames The services the remote device offers; null matches nothing.
     * @return True on a match.
     */
    bool IsMatchServiceName(std::shared_ptr<std::vector<std::string>> remoteServiceNames) const;
    /**
     * @brief Whether the name of `remoteDeviceType` is among the filter's device types (an empty list matches any).
     * @param remoteDeviceType The remote device's type number.
     * @return True on a match.
     */
    bool IsMatchDeviceType(uint32_t remoteDeviceType) const;
    /**
     * @brief The name of a device-type number ("PHONE", "PAD", ...).
     * @param deviceType A device-type number.
     * @return The name, or "" for a number that has none.
     */
    static std::string ConvertDeviceType(uint32_t deviceType);

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
    static sptr<ServiceFilter> Unmarshalling(Parcel &parcel);

private:
    std::string serviceName_;
    std::vector<std::string> deviceTypes_;
};

/** @brief The remote device that the picker chose. */
class TARNBY_EXPORT DeviceInfo : public Parcelable {
public:
    /**
     * @brief Makes the record from its fields.
     * @param udid The UDID.
     * @param networkId The network id.
     * @param deviceName The device name.
     * @param deviceType The device type.
     */
    DeviceInfo(std::string udid, std::string networkId, std::string deviceName, uint32_t deviceType);
    /** @brief Destroys the object. */
    ~DeviceInfo() override;

    /** @brief Sets the device UDID. @param udid The new value. */
    void SetDeviceUdid(std::string udid);
    /** @return The device UDID. */
    std::string GetDeviceUdid() const;
    /** @brief Sets the device network id. @param networkId The new value. */
    void SetDeviceNetworkId(std::string networkId);
    /** @return The device network id. */
    std::string GetDeviceNetworkId() const;
    /** @brief Sets the device name. @param deviceName The new value. */
    void SetDeviceName(std::string deviceName);
    /** @return The device name. */
    std::string GetDeviceName() const;
    /** @brief Sets the device type. @param deviceType The new value. */
    void SetDeviceType(uint32_t deviceType);
    /** @return The device type. */
    uint32_t GetDeviceType() const;

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
    static sptr<DeviceInfo> Unmarshalling(Parcel &parcel);

private:
    std::string udid_;
    std::string networkId_;
    std::string deviceName_;
    uint32_t deviceType_ = 0;
};

/** @brief The local ability on whose behalf a device was picked. */
class TARNBY_EXPORT LocalInfo : public Parcelable {
public:
    /**
     * @brief Makes the record from its fields.
     * @param localAbilityName The local ability name.
     * @param localBundleName The local bundle name.
     * @param localDeviceId The local device id.
     * @param localModuleName The local module name.
     * @param localDeviceType The local device type.
     */
    LocalInfo(std::string localAbilityName, std::string localBundleName, std::string localDeviceId,
              std::string localModuleName, uint32_t localDeviceType);
    /** @brief Destroys the object. */
    ~LocalInfo() override;

    /** @brief Sets the local ability name. @param localAbilityName The new value. */
    void SetLocalAbilityName(std::string localAbilityName);
    /** @return The local ability name. */
    std::string GetLocalAbilityName() const;
    /** @brief Sets the local bundle name. @param localBundleName The new value. */
    void SetLocalBundleName(std::string localBundleName);
    /** @return The local bundle name. */
    std::string GetLocalBundleName() const;
    /** @brief Sets the local device id. @param localDeviceId The new value. */
    void SetLocalDeviceId(std::string localDeviceId);
    /** @return The local device id. */
    std::string GetLocalDeviceId() const;
    /** @brief Sets the local module name. @param localModuleName The new value. */
    void SetLocalModuleName(std::string localModuleName);
    /** @return The local module name. */
    std::string GetLocalModuleName() const;
    /** @brief Sets the local device type. @param localDeviceType The new value. */
    void SetLocalDeviceType(uint32_t localDeviceType);
    /** @return The local device type. */
    uint32_t GetLocalDeviceType() const;

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
    static sptr<LocalInfo> Unmarshalling(Parcel &parcel);

private:
    std::string localAbilityName_;
    std::string localBundleName_;
    std::string localDeviceId_;
    std::string localModuleName_;
    uint32_t localDeviceType_ = 0;
};

/**
 * @brief The picker's answer. All three nested records are mandatory on the wire: a result with any of them missing
 * neither marshals nor unmarshals.
 */
class TARNBY_EXPORT PickerResult : public Parcelable {
public:
    /** @brief The wire carries 0, 1 and 2; what each means is the service's business. */
    enum AccessType : uint32_t {
        ACCESS_TYPE_0 = 0, ///< Access type 0.
        ACCESS_TYPE_1 = 1, ///< Access type 1.
        ACCESS_TYPE_2 = 2, ///< Access type 2.
    };

    /** @brief Makes a record with every field empty or 0. */
    PickerResult();
    /** @brief Destroys the object. */
    ~PickerResult() override;

    /** @brief Sets the access type. @param accessType The new value. */
    void SetAccessType(AccessType accessType);
    /** @return The access type. */
    AccessType GetAccessType() const;
    /**
     * @brief Sets the ability filter; the setters take a strong reference to the new record and drop the one to the
     *        old.
     * @param abilityFilter The new record.
     */
    void SetAbilityFilter(sptr<AbilityFilter> abilityFilter);
    /** @return The ability filter. */
    sptr<AbilityFilter> GetAbilityFilter() const;
    /** @brief Sets the device info. @param deviceInfo The new value. */
    void SetDeviceInfo(sptr<DeviceInfo> deviceInfo);
    /** @return The device info. */
    sptr<DeviceInfo> GetDeviceInfo() const;
    /** @brief Sets the local device info. @param localInfo The new value. */
    void SetLocalDeviceInfo(sptr<LocalInfo> localInfo);
    /** @return The local device info. */
    sptr<LocalInfo> GetLocalDeviceInfo() const;

    /**
     * @brief Writes the record's fields into `parcel` in wire order; the record stays the caller's.
     * @param parcel The parcel written to.
     * @return False at the first field that cannot be written.
     */
    bool Marshalling(Parcel &parcel) const override;
    /**
     * @brief Reads a record written by Marshalling.
     * Null when a nested record is missing or the access type is 3 or more.
     * @param parcel The parcel read from.
     * @return A new record owned by the returned reference, or null when it cannot be read.
     */
    static sptr<PickerResult> Unmarshalling(Parcel &parcel);

    /**
     * @brief Masks an identifier for log lines.
     * @param value The identifier.
     * @return The first three bytes, "****", the last three; "****" alone below three bytes.
     */
    static std::string StringToAnonymous(const std::string &value);

private:
    AccessType accessType_ = ACCESS_TYPE_0;
    sptr<AbilityFilter> abilityFilter_;
    sptr<DeviceInfo> deviceInfo_;
    sptr<LocalInfo> localInfo_;
};

/** @brief A remote device together with the services it offers. */
class TARNBY_EXPORT DeviceServiceInfo : public Parcelable {
public:
    /**
     * @brief Makes the record from its fields.
     * @param deviceName The device name.
     * @param deviceType The device type.
     * @param deviceHashId The device hash id.
     * @param deviceId The device id.
     * @param serviceRuleList The service rule list.
     * @param networkId The network id.
     * @param brMac The BR MAC.
     * @param extraInfo The extra info.
     */
    DeviceServiceInfo(std::string deviceName, uint32_t deviceType, std::string deviceHashId, std::string deviceId,
                      std::vector<std::string> serviceRuleList, std::string networkId, std::string brMac,
                      std::string extraInfo);
    /** @brief Destroys the object. */
    ~DeviceServiceInfo() override;

    /** @brief Sets the device name. @param deviceName The new value. */
    void SetDeviceName(std::string deviceName);
    /** @return The device name. */
    std::string GetDeviceName() const;
    /** @brief Sets the device type. @param deviceType The new value. */
    void SetDeviceType(uint32_t deviceType);
    /** @return The device type. */
    uint32_t GetDeviceType() const;
    /** @brief Sets the device hash id. @param deviceHashId The new value. */
    void SetDeviceHashId(std::string deviceHashId);
    /** @return The device hash id. */
    std::string GetDeviceHashId() const;
    /** @brief Sets the device id. @param deviceId The new value. */
    void SetDeviceId(std::string deviceId);
    /** @return The device id. */
    std::string GetDeviceId() const;
    /** @brief Sets the service rule list. @param serviceRuleList The new value. */
    void SetServiceRuleList(std::vector<std::string> serviceRuleList);
    /** @return The service rule list. */
    std::vector<std::string> GetServiceRuleList() const;
    /** @brief Sets the network id. @param networkId The new value. */
    void SetNetworkId(std::string networkId);
    /** @return The network id. */
    std::string GetNetworkId() const;
    /** @brief Sets the BR MAC. @param brMac The new value. */
    void SetBrMac(std::string brMac);
    /** @return The BR MAC. */
    std::string GetBrMac() const;
    /** @brief Sets the extra info. @param extraInfo The new value. */
    void SetExtraInfo(std::string extraInfo);
    /** @return The extra info. */
    std::string GetExtraInfo() const;

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
    static sptr<DeviceServiceInfo> Unmarshalling(Parcel &parcel);

private:
    std::string deviceName_;
    uint32_t deviceType_ = 0;
    std::string deviceHashId_;
    std::string deviceId_;
    std::vector<std::string> serviceRuleList_;
    std::string networkId_;
    std::string brMac_;
    std::string extraInfo_;
};
} // namespace OHOS::Tarnby

#endif // TARNBY_ABILITY_FILTER_H
