#ifndef TARNBY_VESKOR_INFO_H
#define TARNBY_VESKOR_INFO_H

// Device-connect records: distributed tasks, service states and resource requests, plus the keys of the
// device-connect extra info. Every record is reference-counted: hold it in an sptr. A static Unmarshalling returns a
// new record owned by the returned sptr (null when it cannot be read); Marshalling never takes ownership.
#include <cstdint>
#include <string>
#include <vector>

#include "parcel.h"
#include "refbase.h"
#include "tarnby_export.h"

namespace OHOS::Tarnby {
// A distributed task on a remote device. The codes are the service's; they are carried unchanged.
class TARNBY_EXPORT DistributeTaskInfo : public Parcelable {
public:
    DistributeTaskInfo() = default;
    DistributeTaskInfo(std::string deviceId, uint32_t serviceType, uint32_t linkType);
    ~DistributeTaskInfo() override = default;

    std::string GetDeviceId();
    uint32_t GetServiceType();
    uint32_t GetLinkType();
    void SetConnectState(uint32_t connectState);
    void SetCanDisconnectFlag(uint32_t canDisconnectFlag);

    bool Marshalling(Parcel &parcel) const override;
    static sptr<DistributeTaskInfo> Unmarshalling(Parcel &parcel);

private:
    std::string deviceId_;
    uint32_t serviceType_ = 0;
    uint32_t linkType_ = 0;
    uint32_t connectState_ = 0;
    uint32_t canDisconnectFlag_ = 0;
};

// The state of a service's link to a device, as the service reports it in its state notifications.
class TARNBY_EXPORT ServiceStateInfo : public Parcelable {
public:
    // Link type and connect state start at 3, not 0.
    ServiceStateInfo();
    ServiceStateInfo(std::string deviceId, uint32_t linkType, uint32_t connectState);
    ~ServiceStateInfo() override;

    std::string GetDeviceId() const;
    void SetDeviceId(std::string deviceId);
    uint32_t GetLinkType() const;
    void SetLinkType(uint32_t linkType);
    uint32_t GetConnectState() const;
    void SetConnectState(uint32_t connectState);

    bool Marshalling(Parcel &parcel) const override;
    static sptr<ServiceStateInfo> Unmarshalling(Parcel &parcel);

private:
    std::string deviceId_;
    uint32_t linkType_ = DEFAULT_STATE;
    uint32_t connectState_ = DEFAULT_STATE;
    static constexpr uint32_t DEFAULT_STATE = 3;
};

// The service's hardware numbers; any uint32 is carried unchanged (build one with static_cast).
enum HardwareType : uint32_t {};

// One piece of hardware and whether it may be shared.
class TARNBY_EXPORT HardwareRequest : public Parcelable {
public:
    HardwareRequest(HardwareType hardwareType, bool canShare);
    ~HardwareRequest() override = default;

    HardwareType GetHardwareType() const;
    bool CanShare() const;

    bool Marshalling(Parcel &parcel) const override;
    static sptr<HardwareRequest> Unmarshalling(Parcel &parcel);

private:
    HardwareType hardwareType_;
    bool canShare_ = false;
};

// The quality asked of a communication channel. The units are the service's.
class TARNBY_EXPORT CommunicationRequest : public Parcelable {
public:
    CommunicationRequest(int minBandwidth, int maxLatency, int minLatency, int maxWaitTime, int maxBuffer);
    ~CommunicationRequest() override = default;

    int32_t GetMinBandwidth() const;
    int32_t GetMaxLatency() const;
    int32_t GetMinLatency() const;
    int32_t GetMaxWaitTime() const;
    int32_t GetMaxBuffer() const;
    int32_t GetMaxIdleTime() const;
    int32_t GetFirstPackge() const;
    int32_t GetTransReliability() const;
    std::string GetDataType() const;
    void SetMaxIdleTime(int maxIdleTime);
    void SetFirstPackge(int firstPackge);
    void SetTransReliability(int transReliability);
    void SetDataType(std::string dataType);

    bool Marshalling(Parcel &parcel) const override;
    static sptr<CommunicationRequest> Unmarshalling(Parcel &parcel);

private:
    int32_t minBandwidth_ = 0;
    int32_t maxLatency_ = 0;
    int32_t minLatency_ = 0;
    int32_t maxWaitTime_ = 0;
    int32_t maxBuffer_ = 0;
    int32_t maxIdleTime_ = 0;
    int32_t firstPackge_ = 0;
    int32_t transReliability_ = 0;
    std::string dataType_;
};

// What a device-connect operation asks for: remote and local hardware, a channel and a connect type. Null list
// entries and a null communication request travel as absent objects and read back as null.
class TARNBY_EXPORT ResourceRequest : public Parcelable {
public:
    // Each list read from a parcel holds at most this many entries.
    static constexpr uint32_t MAX_HARDWARE_LIST_SIZE = 1000;

    ResourceRequest();
    ~ResourceRequest() override = default;

    void SetRemoteHardwareList(const std::vector<sptr<HardwareRequest>> &remoteHardwareList);
    std::vector<sptr<HardwareRequest>> GetRemoteHardwareList() const;
    void SetLocalHardwareList(const std::vector<sptr<HardwareRequest>> &localHardwareList);
    std::vector<sptr<HardwareRequest>> GetLocalHardwareList() const;
    void SetCommunicationRequest(sptr<CommunicationRequest> communicationRequest);
    sptr<CommunicationRequest> GetCommunicationRequest() const;
    void SetServiceConnectType(uint32_t serviceConnectType);
    uint32_t GetServiceConnectType() const;

    bool Marshalling(Parcel &parcel) const override;
    // Null when either list claims more than MAX_HARDWARE_LIST_SIZE entries.
    static sptr<ResourceRequest> Unmarshalling(Parcel &parcel);

private:
    uint32_t serviceConnectType_ = DEFAULT_CONNECT_TYPE;
    std::vector<sptr<HardwareRequest>> remoteHardwareList_;
    std::vector<sptr<HardwareRequest>> localHardwareList_;
    sptr<CommunicationRequest> communicationRequest_;
    static constexpr uint32_t DEFAULT_CONNECT_TYPE = 2;
};

// Keys of the device-connect extra info (a JSON object).
class TARNBY_EXPORT VeskorInfo {
public:
    static const std::string EXTRA_PRIVATE_PID; // "privatePid": a caller's process id
    static const std::string EXTRA_PRIVATE_UID; // "privateUid": a caller's user id
};
} // namespace OHOS::Tarnby

#endif // TARNBY_VESKOR_INFO_H
