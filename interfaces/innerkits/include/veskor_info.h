// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_VESKOR_INFO_H
#define TARNBY_VESKOR_INFO_H

/**
 * @file veskor_info.h
 * @brief Device-connect records: distributed tasks, service states and resource requests, plus the keys of the
 *        device-connect extra info.
 *
 * Every record is reference-counted: hold it in an sptr. A static Unmarshalling returns a new record owned by the
 * returned sptr (null when it cannot be read); Marshalling never takes ownership.
 */
#include <cstdint>
#include <string>
#include <vector>

#include "parcel.h"
#include "refbase.h"
#include "tarnby_export.h"

namespace OHOS::Tarnby {
/** @brief A distributed task on a remote device. The codes are the service's; they are carried unchanged. */
class TARNBY_EXPORT DistributeTaskInfo : public Parcelable {
public:
    /** @brief Makes a record with every field empty or 0. */
    DistributeTaskInfo() = default;
    /**
     * @brief Makes the record from its fields.
     * @param deviceId The device id.
     * @param serviceType The service type.
     * @param linkType The link type.
     */
    DistributeTaskInfo(std::string deviceId, uint32_t serviceType, uint32_t linkType);
    /** @brief Destroys the object. */
    ~DistributeTaskInfo() override = default;

    /** @return The device id. */
    std::string GetDeviceId();
    /** @return The service type. */
    uint32_t GetServiceType();
    /** @return The link type. */
    uint32_t GetLinkType();
    /** @brief Sets the connect state. @param connectState The new value. */
    void SetConnectState(uint32_t connectState);
    /** @brief Sets the can disconnect flag. @param canDisconnectFlag The new value. */
    void SetCanDisconnectFlag(uint32_t canDisconnectFlag);

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
    static sptr<DistributeTaskInfo> Unmarshalling(Parcel &parcel);

private:
    std::string deviceId_;
    uint32_t serviceType_ = 0;
    uint32_t linkType_ = 0;
    uint32_t connectState_ = 0;
    uint32_t canDisconnectFlag_ = 0;
};

/** @brief The state of a service's link to a device, as the service reports it in its state notifications. */
class TARNBY_EXPORT ServiceStateInfo : public Parcelable {
public:
    /** @brief Link type and connect state start at 3, not 0. */
    ServiceStateInfo();
    /**
     * @brief Makes the record from its fields.
     * @param deviceId The device id.
     * @param linkType The link type.
     * @param connectState The connect state.
     */
    ServiceStateInfo(std::string deviceId, uint32_t linkType, uint32_t connectState);
    /** @brief Destroys the object. */
    ~ServiceStateInfo() override;

    /** @return The device id. */
    std::string GetDeviceId() const;
    /** @brief Sets the device id. @param deviceId The new value. */
    void SetDeviceId(std::string deviceId);
    /** @return The link type. */
    uint32_t GetLinkType() const;
    /** @brief Sets the link type. @param linkType The new value. */
    void SetLinkType(uint32_t linkType);
    /** @return The connect state. */
    uint32_t GetConnectState() const;
    /** @brief Sets the connect state. @param connectState The new value. */
    void SetConnectState(uint32_t connectState);

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
    static sptr<ServiceStateInfo> Unmarshalling(Parcel &parcel);

private:
    std::string deviceId_;
    uint32_t linkType_ = DEFAULT_STATE;
    uint32_t connectState_ = DEFAULT_STATE;
    static constexpr uint32_t DEFAULT_STATE = 3;
};

/** @brief The service's hardware numbers; any uint32 is carried unchanged (build one with static_cast). */
enum HardwareType : uint32_t {};

/** @brief One piece of hardware and whether it may be shared. */
class TARNBY_EXPORT HardwareRequest : public Parcelable {
public:
    /**
     * @brief Makes the record from its fields.
     * @param hardwareType The hardware type.
     * @param canShare The can share.
     */
    HardwareRequest(HardwareType hardwareType, bool canShare);
    /** @brief Destroys the object. */
    ~HardwareRequest() override = default;

    /** @return The hardware type. */
    HardwareType GetHardwareType() const;
    /** @return Whether the hardware may be shared. */
    bool CanShare() const;

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
    static sptr<HardwareRequest> Unmarshalling(Parcel &parcel);

private:
    HardwareType hardwareType_;
    bool canShare_ = false;
};

/** @brief The quality asked of a communication channel. The units are the service's. */
class TARNBY_EXPORT CommunicationRequest : public Parcelable {
public:
    /**
     * @brief Makes the record from its fields.
     * @param minBandwidth The min bandwidth.
     * @param maxLatency The max latency.
     * @param minLatency The min latency.
     * @param maxWaitTime The max wait time.
     * @param maxBuffer The max buffer.
     */
    CommunicationRequest(int minBandwidth, int maxLatency, int minLatency, int maxWaitTime, int maxBuffer);
    /** @brief Destroys the object. */
    ~CommunicationRequest() override = default;

    /** @return The min bandwidth. */
    int32_t GetMinBandwidth() const;
    /** @return The max latency. */
    int32_t GetMaxLatency() const;
    /** @return The min latency. */
    int32_t GetMinLatency() const;
    /** @return The max wait time. */
    int32_t GetMaxWaitTime() const;
    /** @return The max buffer. */
    int32_t GetMaxBuffer() const;
    /** @return The max idle time. */
    int32_t GetMaxIdleTime() const;
    /** @return The first packge. */
    int32_t GetFirstPackge() const;
    /** @return The trans reliability. */
    int32_t GetTransReliability() const;
    /** @return The data type. */
    std::string GetDataType() const;
    /** @brief Sets the max idle time. @param maxIdleTime The new value. */
    void SetMaxIdleTime(int maxIdleTime);
    /** @brief Sets the first packge. @param firstPackge The new value. */
    void SetFirstPackge(int firstPackge);
    /** @brief Sets the trans reliability. @param transReliability The new value. */
    void SetTransReliability(int transReliability);
    /** @brief Sets the data type. @param dataType The new value. */
    void SetDataType(std::string dataType);

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

/**
 * @brief What a device-connect operation asks for: remote and local hardware, a channel and a connect type. Null list
 * entries and a null communication request travel as absent objects and read back as null.
 */
class TARNBY_EXPORT ResourceRequest : public Parcelable {
public:
    /** @brief Each list read from a parcel holds at most this many entries. */
    static constexpr uint32_t MAX_HARDWARE_LIST_SIZE = 1000;

    /** @brief Makes a record with every field empty or 0. */
    ResourceRequest();
    /** @brief Destroys the object. */
    ~ResourceRequest() override = default;

    /** @brief Sets the remote hardware list. @param remoteHardwareList The new value. */
    void SetRemoteHardwareList(const std::vector<sptr<HardwareRequest>> &remoteHardwareList);
    /** @return The remote hardware list. */
    std::vector<sptr<HardwareRequest>> GetRemoteHardwareList() const;
    /** @brief Sets the local hardware list. @param localHardwareList The new value. */
    void SetLocalHardwareList(const std::vector<sptr<HardwareRequest>> &localHardwareList);
    /** @return The local hardware list. */
    std::vector<sptr<HardwareRequest>> GetLocalHardwareList() const;
    /** @brief Sets the communication request. @param communicationRequest The new value. */
    void SetCommunicationRequest(sptr<CommunicationRequest> communicationRequest);
    /** @return The communication request. */
    sptr<CommunicationRequest> GetCommunicationRequest() const;
    /** @brief Sets the service connect type. @param serviceConnectType The new value. */
    void SetServiceConnectType(uint32_t serviceConnectType);
    /** @return The service connect type. */
    uint32_t GetServiceConnectType() const;

    /**
     * @brief Writes the record's fields into `parcel` in wire order; the record stays the caller's.
     * @param parcel The parcel written to.
     * @return False at the first field that cannot be written.
     */
    bool Marshalling(Parcel &parcel) const override;
    /**
     * @brief Reads a record written by Marshalling.
     * Null when either list claims more than MAX_HARDWARE_LIST_SIZE entries.
     * @param parcel The parcel read from.
     * @return A new record owned by the returned reference, or null when it cannot be read.
     */
    static sptr<ResourceRequest> Unmarshalling(Parcel &parcel);

private:
    uint32_t serviceConnectType_ = DEFAULT_CONNECT_TYPE;
    std::vector<sptr<HardwareRequest>> remoteHardwareList_;
    std::vector<sptr<HardwareRequest>> localHardwareList_;
    sptr<CommunicationRequest> communicationRequest_;
    static constexpr uint32_t DEFAULT_CONNECT_TYPE = 2;
};

/** @brief Keys of the device-connect extra info (a JSON object). */
class TARNBY_EXPORT VeskorInfo {
public:
    static const std::string EXTRA_PRIVATE_PID; ///< "privatePid": a caller's process id.
    static const std::string EXTRA_PRIVATE_UID; ///< "privateUid": a caller's user id.
};
} // namespace OHOS::Tarnby

#endif // TARNBY_VESKOR_INFO_H
