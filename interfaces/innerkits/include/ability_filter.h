#ifndef TARNBY_ABILITY_FILTER_H
#define TARNBY_ABILITY_FILTER_H

// Device selection records: the filters over abilities, devices and services, the device picker's result (remote
// device, local side, filter, access type) and a remote device with its service rules. Every record is
// reference-counted: hold it in an sptr. A static Unmarshalling returns a new record owned by the returned sptr
// (null when the record cannot be read); Marshalling writes into the caller's parcel and never takes ownership.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "parcel.h"
#include "refbase.h"
#include "tarnby_export.h"

namespace OHOS::Tarnby {
// The kind of ability sought; travels inside PickerResult.
class TARNBY_EXPORT AbilityFilter : public Parcelable {
public:
    AbilityFilter(std::string bundleName, std::string abilityType, std::string abilityDescription, uint32_t deviceType,
                  uint32_t accountType);
    ~AbilityFilter() override;

    void SetBundleName(std::string bundleName);
    std::string GetBundleName() const;
    void SetAbilityType(std::string abilityType);
    std::string GetAbilityType() const;
    void SetAbilityDescription(std::string abilityDescription);
    std::string GetAbilityDescription() const;
    void SetDeviceType(uint32_t deviceType);
    uint32_t GetDeviceType() const;
    void SetAccountType(uint32_t accountType);
    uint32_t GetAccountType() const;
    void SetAction(std::string action);
    std::string GetAction() const;

    bool Marshalling(Parcel &parcel) const override;
    static sptr<AbilityFilter> Unmarshalling(Parcel &parcel);

private:
    std::string bundleName_;
    std::string abilityType_;
    std::string abilityDescription_;
    uint32_t deviceType_ = 0;
    uint32_t accountType_ = 0;
    std::string action_;
};

// Accepted device-type and account-type numbers. An empty list accepts nothing.
class TARNBY_EXPORT DeviceFilter : public Parcelable {
public:
    DeviceFilter(std::vector<uint32_t> deviceTypes, std::vector<uint32_t> accountTypes);
    ~DeviceFilter() override = default;

    bool isDeviceTypeMatch(uint32_t deviceType) const;
    bool isAccountTypeMatch(uint32_t accountType) const;

    bool Marshalling(Parcel &parcel) const override;
    // Null when either vector's count exceeds what the parcel still holds.
    static sptr<DeviceFilter> Unmarshalling(Parcel &parcel);

private:
    std::vector<uint32_t> deviceTypes_;
    std::vector<uint32_t> accountTypes_;
};

// A service name and device-type names ("PHONE", "PAD", ...) that a remote device must match. An empty name or an
// empty list accepts anything.
class TARNBY_EXPORT ServiceFilter : public Parcelable {
public:
    ServiceFilter(std::string serviceName, std::vector<std::string> deviceTypes);
    ~ServiceFilter() override = default;

    void SetServiceName(std::string serviceName);
    std::string GetServiceName() const;
    void SetDeviceType(std::vector<std::string> deviceTypes);
    std::vector<std::string> GetDeviceType() const;

    // The service name is tested first; the device type only when the name matched.
    bool IsMatch(std::shared_ptr<std::vector<std::string>> remoteServiceNames, uint32_t remoteDeviceType) const;
    bool IsMatchServiceName(std::shared_ptr<std::vector<std::string>> remoteServiceNames) const;
    bool IsMatchDeviceType(uint32_t remoteDeviceType) const;
    // The name of a device-type number, or "" for a number that has none.
    static std::string ConvertDeviceType(uint32_t deviceType);

    bool Marshalling(Parcel &parcel) const override;
    static sptr<ServiceFilter> Unmarshalling(Parcel &parcel);

private:
    std::string serviceName_;
    std::vector<std::string> deviceTypes_;
};

// The remote device that the picker chose.
class TARNBY_EXPORT DeviceInfo : public Parcelable {
public:
    DeviceInfo(std::string udid, std::string networkId, std::string deviceName, uint32_t deviceType);
    ~DeviceInfo() override;

    void SetDeviceUdid(std::string udid);
    std::string GetDeviceUdid() const;
    void SetDeviceNetworkId(std::string networkId);
    std::string GetDeviceNetworkId() const;
    void SetDeviceName(std::string deviceName);
    std::string GetDeviceName() const;
    void SetDeviceType(uint32_t deviceType);
    uint32_t GetDeviceType() const;

    bool Marshalling(Parcel &parcel) const override;
    static sptr<DeviceInfo> Unmarshalling(Parcel &parcel);

private:
    std::string udid_;
    std::string networkId_;
    std::string deviceName_;
    uint32_t deviceType_ = 0;
};

// The local ability on whose behalf a device was picked.
class TARNBY_EXPORT LocalInfo : public Parcelable {
public:
    LocalInfo(std::string localAbilityName, std::string localBundleName, std::string localDeviceId,
              std::string localModuleName, uint32_t localDeviceType);
    ~LocalInfo() override;

    void SetLocalAbilityName(std::string localAbilityName);
    std::string GetLocalAbilityName() const;
    void SetLocalBundleName(std::string localBundleName);
    std::string GetLocalBundleName() const;
    void SetLocalDeviceId(std::string localDeviceId);
    std::string GetLocalDeviceId() const;
    void SetLocalModuleName(std::string localModuleName);
    std::string GetLocalModuleName() const;
    void SetLocalDeviceType(uint32_t localDeviceType);
    uint32_t GetLocalDeviceType() const;

    bool Marshalling(Parcel &parcel) const override;
    static sptr<LocalInfo> Unmarshalling(Parcel &parcel);

private:
    std::string localAbilityName_;
    std::string localBundleName_;
    std::string localDeviceId_;
    std::string localModuleName_;
    uint32_t localDeviceType_ = 0;
};

// The picker's answer. All three nested records are mandatory on the wire: a result with any of them missing
// neither marshals nor unmarshals.
class TARNBY_EXPORT PickerResult : public Parcelable {
public:
    // The wire carries 0, 1 and 2; what each means is the service's business.
    enum AccessType : uint32_t {
        ACCESS_TYPE_0 = 0,
        ACCESS_TYPE_1 = 1,
        ACCESS_TYPE_2 = 2,
    };

    PickerResult();
    ~PickerResult() override;

    void SetAccessType(AccessType accessType);
    AccessType GetAccessType() const;
    // The setters take a strong reference to the new record and drop the one to the old.
    void SetAbilityFilter(sptr<AbilityFilter> abilityFilter);
    sptr<AbilityFilter> GetAbilityFilter() const;
    void SetDeviceInfo(sptr<DeviceInfo> deviceInfo);
    sptr<DeviceInfo> GetDeviceInfo() const;
    void SetLocalDeviceInfo(sptr<LocalInfo> localInfo);
    sptr<LocalInfo> GetLocalDeviceInfo() const;

    bool Marshalling(Parcel &parcel) const override;
    // Null when a nested record is missing or the access type is 3 or more.
    static sptr<PickerResult> Unmarshalling(Parcel &parcel);

    // Masks an identifier for log lines: first three bytes, "****", last three; "****" alone below three bytes.
    static std::string StringToAnonymous(const std::string &value);

private:
    AccessType accessType_ = ACCESS_TYPE_0;
    sptr<AbilityFilter> abilityFilter_;
    sptr<DeviceInfo> deviceInfo_;
    sptr<LocalInfo> localInfo_;
};

// A remote device together with the services it offers.
class TARNBY_EXPORT DeviceServiceInfo : public Parcelable {
public:
    DeviceServiceInfo(std::string deviceName, uint32_t deviceType, std::string deviceHashId, std::string deviceId,
                      std::vector<std::string> serviceRuleList, std::string networkId, std::string brMac,
                      std::string extraInfo);
    ~DeviceServiceInfo() override;

    void SetDeviceName(std::string deviceName);
    std::string GetDeviceName() const;
    void SetDeviceType(uint32_t deviceType);
    uint32_t GetDeviceType() const;
    void SetDeviceHashId(std::string deviceHashId);
    std::string GetDeviceHashId() const;
    void SetDeviceId(std::string deviceId);
    std::string GetDeviceId() const;
    void SetServiceRuleList(std::vector<std::string> serviceRuleList);
    std::vector<std::string> GetServiceRuleList() const;
    void SetNetworkId(std::string networkId);
    std::string GetNetworkId() const;
    void SetBrMac(std::string brMac);
    std::string GetBrMac() const;
    void SetExtraInfo(std::string extraInfo);
    std::string GetExtraInfo() const;

    bool Marshalling(Parcel &parcel) const override;
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
