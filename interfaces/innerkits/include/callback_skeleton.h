#ifndef CALLBACK_SKELETON_H
#define CALLBACK_SKELETON_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "iremote_broker.h"
#include "iremote_stub.h"
#include "message_option.h"
#include "message_parcel.h"
#include "refbase.h"
#include "tarnby_export.h"
#include "veskor_info.h"

namespace OHOS::Tarnby {
// The callback interface that the service calls; every callback parcel opens with its descriptor as the token.
class ITarnbyCallback : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.ITarnby.ITarnbyCallback");

    virtual int32_t GetCollaborationServiceCallback(MessageParcel &data, MessageParcel &reply,
                                                    MessageOption &option) = 0;
    virtual int32_t CollaborationToDeviceCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    virtual int32_t DevicePickerCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    virtual int32_t CommonDataChannelCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    virtual int32_t SurfaceTransferCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    virtual int32_t LumetDownMessageCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    virtual int32_t VeskorCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
};

// Handed to the second OnServiceStateChanged hook of a service-state change (device-connect family).
struct ServiceStateChangeContext {
    int32_t secondInt = 0;
    std::string firstString;
    std::string secondString;
    std::string extraInfo; // with "fd" set to the descriptor received beside it, when there was one
    int32_t firstInt = 0;
};

// Base of every callback object that the service calls back. A caller derives from it, overrides the hooks it cares
// about and hands the object to the service. The service's calls arrive on the platform's IPC threads (several may
// run at once); the class takes no lock, so hooks that touch shared state lock it themselves. A hook that blocks holds
// up the service's synchronous call.
class TARNBY_EXPORT CallbackSkeleton : public IRemoteStub<ITarnbyCallback> {
public:
    CallbackSkeleton();
    ~CallbackSkeleton() override;

    // Checks the token, then dispatches by request code (1, 101, 201, 301, 401, 501, 601).
    int32_t OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override;

    int32_t GetCollaborationServiceCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    int32_t CollaborationToDeviceCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    int32_t DevicePickerCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    int32_t CommonDataChannelCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    int32_t SurfaceTransferCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    int32_t LumetDownMessageCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    int32_t VeskorCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;

    // Hooks, called on the IPC thread that carries the service's call.
    // Raw data of the service (101 family, 102/105). The hook owns `data`, a buffer of exactly `dataLen` bytes.
    virtual int32_t OnDataCallback(uint32_t code, uint32_t second, uint32_t dataLen, std::unique_ptr<char[]> data);
    // An event (101 family, 601 family, and the service's death with code 1012).
    virtual int32_t OnEvent(uint32_t code, uint32_t eventId, std::string &extra);
    virtual int32_t DisconnectDevice(std::string deviceKey, uint32_t serviceType);
    virtual int32_t StateNotify(int32_t state, std::vector<uint32_t> states, std::vector<sptr<ServiceStateInfo>> infos);
    virtual int32_t OnServiceStateChanged(std::string firstString, std::string secondString, std::string extraInfo,
                                          int32_t firstInt, int32_t secondInt);
    virtual int32_t OnServiceStateChanged(ServiceStateChangeContext context);
    virtual int32_t OnDisconnected(std::string first, int32_t value);
    virtual int32_t OnDisconnected(std::string second, std::string third);
    virtual int32_t ApplyResult(std::string first, std::string second, std::string third, int32_t value,
                                int32_t resultCode);
    // Start, Pause, Resume, Degrade and Upgrade are extension points that no dispatcher of the library calls.
    virtual int32_t Start(std::string first, int32_t value);
    virtual int32_t Stop(std::string first, std::string second, std::string third, int32_t value);
    virtual int32_t Pause(std::string first, int32_t value);
    virtual int32_t Resume(std::string first, int32_t value);
    virtual int32_t Degrade(std::string first, int32_t value);
    virtual int32_t Upgrade(std::string first, int32_t value);
    // Data channel (101 family, 103/1 and 103/3). `data` points into the callback parcel, valid during the call only.
    virtual void OnDataReceiverReady(int32_t channel);
    virtual void OnDataReceived(int32_t channel, const char *data, uint32_t len);

    // Reads and logs the five service-code fields; returns subServiceType.
    uint32_t ReadCollaborationServiceCode(MessageParcel &data);
    // The raw-data path: code, second, dataLen, then the raw block copied once into the buffer given to OnDataCallback.
    int32_t DataPretreatment(MessageParcel &data);
    // The data-channel path of service type 103.
    void ProcessCollaborationAbility(uint32_t subServiceType, MessageParcel &data);

    // Readers of the device-connect family (request code 501); they read the body after the service code.
    int32_t ProcessDisconnectCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option);
    int32_t ProcessNotifyStateCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option);
    int32_t ParseNotifyStateCallback(MessageParcel &data, std::vector<uint32_t> &states,
                                     std::vector<sptr<ServiceStateInfo>> &infos);
    int32_t ProcessOnServiceStateChanged(MessageParcel &data, MessageParcel &reply, MessageOption &option);
    int32_t ProcessOnDisconnected(MessageParcel &data, MessageParcel &reply, MessageOption &option);
    int32_t ProcessOnApplyCompleted(MessageParcel &data, MessageParcel &reply, MessageOption &option);
    int32_t ProcessOnStop(MessageParcel &data, MessageParcel &reply, MessageOption &option);
};
} // namespace OHOS::Tarnby

#endif // CALLBACK_SKELETON_H
