// SPDX-License-Identifier: Apache-2.0
#ifndef CALLBACK_SKELETON_H
#define CALLBACK_SKELETON_H

/**
 * @file callback_skeleton.h
 * @brief The objects through which the service calls the client back, and the records of those calls.
 */

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
/**
 * @brief The callback interface that the service calls.
 *
 * Every callback parcel opens with this interface's descriptor as its token. Each family of callbacks has a request
 * code of its own; the service writes the family's fields after the token.
 */
class ITarnbyCallback : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.ITarnby.ITarnbyCallback");

    /**
     * @brief Reads a call of the collaboration-service family (request code 1).
     * @param data The service's request, after the token.
     * @param reply Where the answer to the service is written.
     * @param option The options the service called with.
     * @return The status that goes back to the service.
     */
    virtual int32_t GetCollaborationServiceCallback(MessageParcel &data, MessageParcel &reply,
                                                    MessageOption &option) = 0;
    /**
     * @brief Reads a call of the collaboration-to-device family (request code 101).
     * @copydetails GetCollaborationServiceCallback
     */
    virtual int32_t CollaborationToDeviceCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    /**
     * @brief Reads a call of the device-picker family (request code 201).
     * @copydetails GetCollaborationServiceCallback
     */
    virtual int32_t DevicePickerCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    /**
     * @brief Reads a call of the common-data-channel family (request code 301).
     * @copydetails GetCollaborationServiceCallback
     */
    virtual int32_t CommonDataChannelCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    /**
     * @brief Reads a call of the surface-transfer family (request code 601).
     * @copydetails GetCollaborationServiceCallback
     */
    virtual int32_t SurfaceTransferCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    /**
     * @brief Reads a call of the down-message family (request code 401).
     * @copydetails GetCollaborationServiceCallback
     */
    virtual int32_t LumetDownMessageCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    /**
     * @brief Reads a call of the device-connect family (request code 501).
     * @copydetails GetCollaborationServiceCallback
     */
    virtual int32_t VeskorCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
};

/** @brief What the second OnServiceStateChanged hook of a device-connect state change (501/504) receives. */
struct ServiceStateChangeContext {
    int32_t secondInt = 0;    ///< The second int32 of the change, as the service sent it.
    std::string firstString;  ///< The first string of the change.
    std::string secondString; ///< The second string of the change.
    /** The extra info (JSON text), with "fd" set to the descriptor received beside it, when there was one. */
    std::string extraInfo;
    int32_t firstInt = 0; ///< The first int32 of the change.
};

/**
 * @brief Base of every callback object that the service calls back.
 *
 * A caller derives from it, overrides the hooks it cares about and hands the object to the service. The service's
 * calls arrive on the platform's IPC threads (several may run at once); the class takes no lock, so hooks that touch
 * shared state lock it themselves. A hook that blocks holds up the service's synchronous call. The hooks' default
 * implementations log and return 0.
 */
class TARNBY_EXPORT CallbackSkeleton : public IRemoteStub<ITarnbyCallback> {
public:
    /** @brief Makes a callback object; it logs its creation. */
    CallbackSkeleton();
    /** @brief Logs the destruction. */
    ~CallbackSkeleton() override;

    /**
     * @brief Checks the token, then dispatches by request code (1, 101, 201, 301, 401, 501, 601).
     * @param code The request code of the service's call.
     * @param data The service's request.
     * @param reply Where the answer to the service is written.
     * @param option The options the service called with.
     * @return 1010 (ERR_TRBY_WRONG_TOKEN) for another interface's token, the platform stub's answer for an unknown
     *         code, else the family's status.
     */
    int32_t OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override;

    /**
     * @brief Placeholder family (request code 1): reads the sub code and logs it.
     * @param data The service's request, after the token.
     * @param reply Not written.
     * @param option Not used.
     * @return 0.
     */
    int32_t GetCollaborationServiceCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    /**
     * @brief Request code 101: data channel (103), raw data (102/105) and events (101/103, 104, 106).
     * @param data The service's request, after the token.
     * @param reply Receives the int32 result of the path taken.
     * @param option Not used.
     * @return The hook's result, 22 (ERR_TRBY_RAW_DATA) for raw data that cannot be read, 0 for a type that is not
     *         handled.
     */
    int32_t CollaborationToDeviceCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    /** @brief Placeholder family (request code 201). @copydetails GetCollaborationServiceCallback */
    int32_t DevicePickerCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    /** @brief Placeholder family (request code 301). @copydetails GetCollaborationServiceCallback */
    int32_t CommonDataChannelCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    /**
     * @brief Request code 601: surface events 40001 and 40002 (text only) and 10001 (a code, then the text).
     * @param data The service's request, after the token.
     * @param reply Receives OnEvent's result.
     * @param option Not used.
     * @return OnEvent's result, or 1005 (ERR_TRBY_UNSUPPORTED_TYPE) for another event type.
     */
    int32_t SurfaceTransferCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    /** @brief Placeholder family (request code 401). @copydetails GetCollaborationServiceCallback */
    int32_t LumetDownMessageCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    /**
     * @brief Request code 501: the device-connect family (sub service types 502 to 507).
     * @param data The service's request, after the token.
     * @param reply Receives the int32 result of the sub type's reader.
     * @param option Not used.
     * @return The reader's result; 1001 (ERR_TRBY_INVALID_PARAM) for a refused state list, 1005
     *         (ERR_TRBY_UNSUPPORTED_TYPE) for another sub type.
     */
    int32_t VeskorCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option) override;

    /**
     * @brief Raw data of the service (101 family, 102/105), on the IPC thread that carries the call.
     * @param code The first field of the raw-data call.
     * @param second The second field.
     * @param dataLen The number of bytes in `data`.
     * @param data A buffer of exactly `dataLen` bytes; the hook owns it.
     * @return The status that goes back to the service.
     */
    virtual int32_t OnDataCallback(uint32_t code, uint32_t second, uint32_t dataLen, std::unique_ptr<char[]> data);
    /**
     * @brief An event: of the 101 family, of the 601 family, or the service's death (code 1012).
     * @param code The event's code (0 for surface events without one; 1012 for a death).
     * @param eventId The event's id (the sub service type, or the transfer's id for a death).
     * @param extra The event's text ("errorcode" for a death unless the recipient's category was set).
     * @return The status that goes back to the service.
     */
    virtual int32_t OnEvent(uint32_t code, uint32_t eventId, std::string &extra);
    /**
     * @brief A device is to be disconnected (501/502).
     * @param deviceKey The device's key, as the service sent it.
     * @param serviceType The service type the disconnection concerns.
     * @return The status that goes back to the service.
     */
    virtual int32_t DisconnectDevice(std::string deviceKey, uint32_t serviceType);
    /**
     * @brief A state notification with its state list (501/503).
     * @param state The notified state.
     * @param states The uint32 list of the notification.
     * @param infos The service states that could be read (absent ones are left out).
     * @return The status that goes back to the service.
     */
    virtual int32_t StateNotify(int32_t state, std::vector<uint32_t> states, std::vector<sptr<ServiceStateInfo>> infos);
    /**
     * @brief A device-connect service state changed (501/504); called first of the two hooks.
     * @param firstString The first string of the change.
     * @param secondString The second string.
     * @param extraInfo The extra info (JSON text); with a member "fd", its value is the descriptor received, which the
     *        hook owns.
     * @param firstInt The first int32.
     * @param secondInt The second int32.
     * @return Ignored: the service gets 0.
     */
    virtual int32_t OnServiceStateChanged(std::string firstString, std::string secondString, std::string extraInfo,
                                          int32_t firstInt, int32_t secondInt);
    /**
     * @brief The same change as one record; called second.
     * @param context The change (see ServiceStateChangeContext).
     * @return Ignored: the service gets 0.
     */
    virtual int32_t OnServiceStateChanged(ServiceStateChangeContext context);
    /**
     * @brief A disconnection (501/505); called first of the two hooks.
     * @param first The first string of the notification.
     * @param value Its int32.
     * @return Ignored: the service gets 0.
     */
    virtual int32_t OnDisconnected(std::string first, int32_t value);
    /**
     * @brief The same disconnection; called second.
     * @param second The second string of the notification.
     * @param third The third string.
     * @return Ignored: the service gets 0.
     */
    virtual int32_t OnDisconnected(std::string second, std::string third);
    /**
     * @brief A resource application completed (501/506).
     * @param first The first string of the notification.
     * @param second The second string.
     * @param third The third string.
     * @param value Its int32.
     * @param resultCode APPLY_RESULT_FIRST to APPLY_RESULT_FIFTH for the service's results 320001, 320003, 320016,
     *        320017 and 320018; 0 for any other.
     * @return The status that goes back to the service.
     */
    virtual int32_t ApplyResult(std::string first, std::string second, std::string third, int32_t value,
                                int32_t resultCode);
    /**
     * @brief Extension point that no dispatcher of the library calls (as are Pause, Resume, Degrade and Upgrade).
     * @param first A string of the caller's.
     * @param value An int32 of the caller's.
     * @return 0 unless overridden.
     */
    virtual int32_t Start(std::string first, int32_t value);
    /**
     * @brief A stop (501/507); the service sends the two names in the opposite order to these parameters.
     * @param first The second string of the notification.
     * @param second The first string.
     * @param third The third string.
     * @param value Its int32.
     * @return Ignored: the service gets 0.
     */
    virtual int32_t Stop(std::string first, std::string second, std::string third, int32_t value);
    /** @brief Extension point. @copydetails Start */
    virtual int32_t Pause(std::string first, int32_t value);
    /** @brief Extension point. @copydetails Start */
    virtual int32_t Resume(std::string first, int32_t value);
    /** @brief Extension point. @copydetails Start */
    virtual int32_t Degrade(std::string first, int32_t value);
    /** @brief Extension point. @copydetails Start */
    virtual int32_t Upgrade(std::string first, int32_t value);
    /**
     * @brief The data channel is ready to receive (101 family, 103/1).
     * @param channel The channel's id.
     */
    virtual void OnDataReceiverReady(int32_t channel);
    /**
     * @brief Data arrived on a channel (101 family, 103/3).
     * @param channel The channel's id.
     * @param data The bytes, inside the callback parcel: valid during the call only; null with a non-zero `len` when
     *        the service's block could not be read.
     * @param len The number of bytes.
     */
    virtual void OnDataReceived(int32_t channel, const char *data, uint32_t len);

    /**
     * @brief Reads and logs the five service-code fields.
     * @param data The service's request, at the service code.
     * @return The sub service type (the second field).
     */
    uint32_t ReadCollaborationServiceCode(MessageParcel &data);
    /**
     * @brief The raw-data path: code, second, dataLen, then the raw block copied once into the buffer handed to
     *        OnDataCallback.
     * @param data The service's request, after the service code.
     * @return OnDataCallback's result; 22 (ERR_TRBY_RAW_DATA) for a length over 128 MiB or a missing block (no buffer
     *         is made), 461374444 (ERR_TRBY_MEMCPY) when the copy fails.
     */
    int32_t DataPretreatment(MessageParcel &data);
    /**
     * @brief The data-channel path of service type 103: OnDataReceiverReady (1) or OnDataReceived (3).
     * @param subServiceType The sub service type read from the service code.
     * @param data The service's request, after the service code.
     */
    void ProcessCollaborationAbility(uint32_t subServiceType, MessageParcel &data);

    /**
     * @brief Reads a disconnect call (502): the device key, the service type; calls DisconnectDevice.
     * @param data The service's request, after the service code.
     * @param reply Not written here.
     * @param option Not used.
     * @return DisconnectDevice's result.
     */
    int32_t ProcessDisconnectCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option);
    /**
     * @brief Reads a state notification (503) and calls StateNotify.
     * @param data The service's request, after the service code.
     * @param reply Not written here.
     * @param option Not used.
     * @return StateNotify's result, or 1001 (ERR_TRBY_INVALID_PARAM) for a refused state list.
     */
    int32_t ProcessNotifyStateCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option);
    /**
     * @brief Reads the state list of a notification: the uint32 list, a count, then the service states.
     * @param data The service's request, at the list.
     * @param states Receives the uint32 list.
     * @param infos Receives the service states that could be read.
     * @return 0, or 1001 (ERR_TRBY_INVALID_PARAM) when the list cannot be read or the count is above what the parcel
     *         can still hold (nothing is read or allocated for it then).
     */
    int32_t ParseNotifyStateCallback(MessageParcel &data, std::vector<uint32_t> &states,
                                     std::vector<sptr<ServiceStateInfo>> &infos);
    /**
     * @brief Reads a service state change (504) and calls both OnServiceStateChanged hooks.
     * @param data The service's request, after the service code.
     * @param reply Not written here.
     * @param option Not used.
     * @return 0, or 1001 (ERR_TRBY_INVALID_PARAM) for an extra-info block that cannot be read, is over 128 MiB or is
     *         not terminated.
     */
    int32_t ProcessOnServiceStateChanged(MessageParcel &data, MessageParcel &reply, MessageOption &option);
    /**
     * @brief Reads a disconnection (505) and calls both OnDisconnected hooks.
     * @param data The service's request, after the service code.
     * @param reply Not written here.
     * @param option Not used.
     * @return 0.
     */
    int32_t ProcessOnDisconnected(MessageParcel &data, MessageParcel &reply, MessageOption &option);
    /**
     * @brief Reads a completed application (506), maps its result and calls ApplyResult.
     * @param data The service's request, after the service code.
     * @param reply Not written here.
     * @param option Not used.
     * @return ApplyResult's result.
     */
    int32_t ProcessOnApplyCompleted(MessageParcel &data, MessageParcel &reply, MessageOption &option);
    /**
     * @brief Reads a stop (507) and calls Stop.
     * @param data The service's request, after the service code.
     * @param reply Not written here.
     * @param option Not used.
     * @return 0.
     */
    int32_t ProcessOnStop(MessageParcel &data, MessageParcel &reply, MessageOption &option);
};
} // namespace OHOS::Tarnby

#endif // CALLBACK_SKELETON_H
