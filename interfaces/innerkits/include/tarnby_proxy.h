// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_PROXY_H
#define TARNBY_PROXY_H

/**
 * @file tarnby_proxy.h
 * @brief The service's interface, its request codes and types, and the one client-side proxy to it.
 */
#include <cstdint>
#include <shared_mutex>

#include "iremote_broker.h"
#include "iremote_object.h"
#include "iremote_proxy.h"
#include "message_option.h"
#include "message_parcel.h"
#include "tarnby_export.h"

namespace OHOS::Tarnby {
/** @brief System ability id of the Tarnby service. */
inline constexpr int32_t TARNBY_SA_ID = 70633;

/**
 * @brief IPC request codes of the three send operations.
 *
 * The service's callbacks use the same numbers for the matching callback families on the way back.
 */
enum TarnbyRequestCode : uint32_t {
    COLLABORATION_TO_DEVICE_EVENT = 101, ///< Collaboration and audio transfer requests.
    VESKOR_EVENT = 501,                  ///< Device-connect requests.
    SURFACE_TRANSFER_EVENT = 601,        ///< Surface transfer requests.
};

/** @brief `serviceType` of the requests this library sends (first field of the service code). */
enum TarnbyServiceType : uint32_t {
    SERVICE_TYPE_COLLABORATION = 103,    ///< Collaboration sessions.
    SERVICE_TYPE_AUDIO_TRANSFER = 104,   ///< Audio transfer.
    SERVICE_TYPE_SURFACE_TRANSFER = 105, ///< Surface transfer.
};

/** @brief The message option flags of every request of the library: synchronous. */
inline constexpr int TARNBY_OPTION_FLAGS = MessageOption::TF_SYNC;
/** @brief The wait time of every request of the library, in seconds. */
inline constexpr int TARNBY_OPTION_WAIT_TIME = 8;

/** @brief The service's interface: three send operations, one per request code. */
class ITarnbyService : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.ITarnby.ITarnbyService");

    /**
     * @brief Sends a collaboration or audio request (request code 101).
     * @param data The request: envelope and body.
     * @param reply The service's reply.
     * @param option The message option.
     * @return 0 when the service replied, else a failure status.
     */
    virtual int32_t CollaborationToDeviceEvent(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    /**
     * @brief Sends a surface transfer request (request code 601).
     * @copydetails CollaborationToDeviceEvent
     */
    virtual int32_t SurfaceTransferEvent(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    /**
     * @brief Sends a device-connect request (request code 501).
     * @copydetails CollaborationToDeviceEvent
     */
    virtual int32_t VeskorEvent(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
};

/**
 * @brief The one client-side proxy to the Tarnby service.
 *
 * Any thread may call the static members at any time; the shared proxy is created on first use and dropped by
 * DestoryInstance() when the service dies. Several threads may send at once; a synchronous send blocks until the
 * service replies.
 */
class TARNBY_EXPORT TarnbyProxy : public IRemoteProxy<ITarnbyService> {
public:
    /**
     * @brief Wraps the service's remote object.
     * @param impl The remote object.
     */
    explicit TarnbyProxy(const sptr<IRemoteObject> &impl);
    /** @brief Logs that the proxy goes. */
    ~TarnbyProxy() override;

    /**
     * @brief The shared proxy, looked up through the system ability manager on first use.
     * @return The proxy, or empty when the service cannot be reached (every caller must test it); nothing is cached on
     *         failure.
     */
    static sptr<ITarnbyService> GetInstance();
    /** @return The service's remote object behind the shared proxy, or empty when GetInstance() yields empty. */
    static sptr<IRemoteObject> GetTarnbyRemoteObject();
    /**
     * @brief Drops the shared proxy and remote object; the next GetInstance() looks the service up again.
     *
     * Holders of a copy keep theirs alive.
     */
    static void DestoryInstance();

    /**
     * @brief Writes the request envelope: the service interface token, then the five service-code fields in order.
     * @param data The request written to.
     * @param serviceType The first field.
     * @param subServiceType The second field: the operation.
     * @param operateCode The third field.
     * @param subOperateCode The fourth field.
     * @param command The fifth field.
     * @return 0, 1006 (token not written) or 1007 (a field not written; the fields before it stay in `data`).
     */
    static int32_t BuildCollaborationServiceCode(MessageParcel &data, uint32_t serviceType, uint32_t subServiceType,
                                                 uint32_t operateCode, uint32_t subOperateCode, uint32_t command);

    /**
     * @brief Sends `data` with request code 101 and the caller's option.
     * @param data The request: envelope and body.
     * @param reply The service's reply.
     * @param option The message option.
     * @return 0, 1008 when the platform's send fails (its own error is only logged) or 1009 when the proxy holds no
     *         remote object.
     */
    int32_t CollaborationToDeviceEvent(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    /**
     * @brief Sends `data` with request code 601 and the caller's option.
     * @copydetails CollaborationToDeviceEvent
     */
    int32_t SurfaceTransferEvent(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    /**
     * @brief Sends `data` with request code 501 and the caller's option.
     * @copydetails CollaborationToDeviceEvent
     */
    int32_t VeskorEvent(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;

private:
    int32_t SendEvent(const char *caller, uint32_t code, MessageParcel &data, MessageParcel &reply,
                      MessageOption &option);

    static BrokerDelegator<TarnbyProxy> delegator_;
    static std::shared_mutex mutex_;
    static sptr<ITarnbyService> instance_;
    static sptr<IRemoteObject> trbyObject_;
};
} // namespace OHOS::Tarnby

#endif // TARNBY_PROXY_H
