#ifndef TARNBY_PROXY_H
#define TARNBY_PROXY_H

#include <cstdint>
#include <shared_mutex>

#include "iremote_broker.h"
#include "iremote_object.h"
#include "iremote_proxy.h"
#include "message_option.h"
#include "message_parcel.h"
#include "tarnby_export.h"

namespace OHOS::Tarnby {
// System ability id of the Tarnby service.
inline constexpr int32_t TARNBY_SA_ID = 70633;

// IPC request codes of the three send operations. The service's callbacks use the same numbers for the matching
// callback families on the way back.
enum TarnbyRequestCode : uint32_t {
    COLLABORATION_TO_DEVICE_EVENT = 101,
    VESKOR_EVENT = 501,
    SURFACE_TRANSFER_EVENT = 601,
};

// `serviceType` of the requests this library sends (first field of the service code).
enum TarnbyServiceType : uint32_t {
    SERVICE_TYPE_COLLABORATION = 103,
    SERVICE_TYPE_AUDIO_TRANSFER = 104,
    SERVICE_TYPE_SURFACE_TRANSFER = 105,
};

// Every message option of the library's requests: synchronous, 8 seconds.
inline constexpr int TARNBY_OPTION_FLAGS = MessageOption::TF_SYNC;
inline constexpr int TARNBY_OPTION_WAIT_TIME = 8;

class ITarnbyService : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.ITarnby.ITarnbyService");

    virtual int32_t CollaborationToDeviceEvent(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    virtual int32_t SurfaceTransferEvent(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    virtual int32_t VeskorEvent(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
};

// The one client-side proxy to the Tarnby service. Any thread may call the static members at any time; the shared
// proxy is created on first use and dropped by DestoryInstance() when the service dies.
class TARNBY_EXPORT TarnbyProxy : public IRemoteProxy<ITarnbyService> {
public:
    explicit TarnbyProxy(const sptr<IRemoteObject> &impl);
    ~TarnbyProxy() override;

    // The shared proxy, looked up through the system ability manager on first use; empty when the service cannot be
    // reached (every caller must test it). Nothing is cached on failure.
    static sptr<ITarnbyService> GetInstance();
    // The service's remote object behind the shared proxy, or empty when GetInstance() yields empty.
    static sptr<IRemoteObject> GetTarnbyRemoteObject();
    // Drops the shared proxy and remote object; the next GetInstance() looks the service up again. Holders of a copy
    // keep theirs alive.
    static void DestoryInstance();

    // Writes the request envelope: the service interface token, then the five service-code fields in order.
    // Returns 0, 1006 (token not written) or 1007 (a field not written; the fields before it stay in `data`).
    static int32_t BuildCollaborationServiceCode(MessageParcel &data, uint32_t serviceType, uint32_t subServiceType,
                                                 uint32_t operateCode, uint32_t subOperateCode, uint32_t command);

    // Send `data` with request code 101, 501 or 601 and the caller's option. Return 0, 1008 when the platform's send
    // fails (its own error is only logged) or 1009 when the proxy holds no remote object. Several threads may send at
    // once; a synchronous send blocks until the service replies.
    int32_t CollaborationToDeviceEvent(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    int32_t SurfaceTransferEvent(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
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
