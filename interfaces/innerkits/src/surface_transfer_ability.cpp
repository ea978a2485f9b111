#include "surface_transfer_ability.h"

#include <new>

#include "tarnby_errors.h"
#include "tarnby_log.h"
#include "tarnby_proxy.h"
#include "tarnby_request.h"

namespace OHOS::Tarnby {
namespace {
constexpr LogLabel LOG_LABEL = LABEL_PROXY;

// subServiceType of the surface requests (serviceType 105).
enum SurfaceSubType : uint32_t {
    INIT_SURFACE_TRANSFER = 17,
    DEINIT_SURFACE_TRANSFER = 18,
    START_SURFACE_TRANSFER = 19,
    STOP_SURFACE_TRANSFER = 20,
    CAST_OPERATION = 21,
    SET_SCREEN_PARAM = 22,
    SET_VIRTUAL_DISPLAY_PARAM = 29,
};

// One surface request: the header, the fields that `writeFields` writes (it returns the line to log when one cannot
// be written, null when all were), then the send and the int32 answer.
template <typename Fields>
int32_t SendSurfaceRequest(uint32_t subServiceType, const Fields &writeFields, const char *caller)
{
    TRBY_LOG_FN(LOG_LABEL, LOG_INFO, caller, "enter");
    TarnbyRequest request(SERVICE_TYPE_SURFACE_TRANSFER, subServiceType, LOG_LABEL);
    if (!request.WriteHeader()) {
        return ERR_TRBY_INVALID_PARAM;
    }
    const char *failure = writeFields(request.Data());
    if (failure != nullptr) {
        TRBY_LOG_FN(LOG_LABEL, LOG_ERROR, caller, "%{public}s", failure);
        return ERR_TRBY_WRITE_PARCEL;
    }
    // The whole request is built before the service is looked up.
    int32_t sent = request.Send(&ITarnbyService::SurfaceTransferEvent, caller);
    if (sent != TRBY_OK) {
        return sent;
    }
    TRBY_LOG_FN(LOG_LABEL, LOG_INFO, caller, "leave");
    return request.ReadResult();
}

// A request whose only field is the connection id.
int32_t SendConnIdRequest(uint32_t subServiceType, int32_t connId, const char *failure, const char *caller)
{
    return SendSurfaceRequest(
        subServiceType, [connId, failure](MessageParcel &data) { return data.WriteInt32(connId) ? nullptr : failure; },
        caller);
}

bool LogWriteFailure()
{
    TRBY_LOGE_AS(LABEL_CALLBACK, "parcel write faile!");
    return false;
}
} // namespace

int32_t SurfaceTransferCallback::OnEvent(uint32_t code, uint32_t eventId, std::string &data)
{
    TRBY_LOGI_AS(LABEL_CALLBACK, "code = %{public}u, eventId = %{public}u", code, eventId);
    return TRBY_OK;
}

SurfaceTransferAbility &SurfaceTransferAbility::GetInstance()
{
    static SurfaceTransferAbility instance;
    return instance;
}

int32_t SurfaceTransferAbility::InitSurfaceTransfer(int32_t connId, std::shared_ptr<RemoteDevice> remoteDevice,
                                                    sptr<CallbackSkeleton> callback)
{
    if (callback == nullptr) {
        TRBY_LOGI("remote callback is null");
        return ERR_TRBY_NULL_CALLBACK;
    }
    if (remoteDevice == nullptr) {
        TRBY_LOGI("remote device is null");
        return ERR_TRBY_INVALID_PARAM;
    }
    sptr<DeathRecipient> recipient = GetDeathRecipient();
    if (recipient == nullptr) {
        TRBY_LOGE("get deathrecpient failed");
        return ERR_TRBY_DEATH_RECIPIENT;
    }
    recipient->SetCallback(callback);
    // Unlike the other requests, the service is looked up before anything is written.
    TarnbyRequest request(SERVICE_TYPE_SURFACE_TRANSFER, INIT_SURFACE_TRANSFER, LOG_LABEL);
    if (!request.AcquireProxy()) {
        return ERR_TRBY_SERVICE_DEAD;
    }
    if (!request.WriteHeader()) {
        return ERR_TRBY_INVALID_PARAM;
    }
    MessageParcel &data = request.Data();
    if (!data.WriteInt32(connId)) {
        TRBY_LOGE("connId write failed");
        return ERR_TRBY_WRITE_PARCEL;
    }
    if (!WriteRemoteDevice(data, remoteDevice)) {
        TRBY_LOGE("remote device write failed");
        return ERR_TRBY_WRITE_PARCEL;
    }
    if (!data.WriteRemoteObject(callback->AsObject())) {
        TRBY_LOGE("callback write failed");
        return ERR_TRBY_WRITE_PARCEL;
    }
    int32_t sent = request.Send(&ITarnbyService::SurfaceTransferEvent);
    if (sent != TRBY_OK) {
        return sent;
    }
    // A non-zero answer is also the id that a later death notification carries.
    int32_t result = request.ReadResult();
    if (result != TRBY_OK) {
        recipient->SetDeathRecipientid(static_cast<uint32_t>(result));
    }
    return result;
}

int32_t SurfaceTransferAbility::DeInitSurfaceTransfer(int32_t connId)
{
    return SendConnIdRequest(DEINIT_SURFACE_TRANSFER, connId, "write DeInitSurfaceTransfer param failed", __FUNCTION__);
}

int32_t SurfaceTransferAbility::StartSurfaceTransfer(int32_t connId, std::string first, std::string second)
{
    // The id goes after the two strings here, unlike every other request.
    return SendSurfaceRequest(
        START_SURFACE_TRANSFER,
        [&](MessageParcel &data) -> const char * {
            bool written = data.WriteString(first) && data.WriteString(second) && data.WriteInt32(connId);
            return written ? nullptr : "write StartSurfaceTransfer param failed";
        },
        __FUNCTION__);
}

int32_t SurfaceTransferAbility::StopSurfaceTransfer(int32_t connId)
{
    return SendConnIdRequest(STOP_SURFACE_TRANSFER, connId, "write StopSurfaceTransfer param failed", __FUNCTION__);
}

int32_t SurfaceTransferAbility::CastOperation(int32_t connId, CastOperationType type)
{
    return SendSurfaceRequest(
        CAST_OPERATION,
        [&](MessageParcel &data) -> const char * {
            bool written = data.WriteInt32(connId) && data.WriteInt32(type);
            return written ? nullptr : "write CastOperation params failed";
        },
        __FUNCTION__);
}

int32_t SurfaceTransferAbility::SetScreenParam(int32_t connId, CastSetScreenParamType type,
                                               std::shared_ptr<ScreenParam> param)
{
    return SendSurfaceRequest(
        SET_SCREEN_PARAM,
        [&](MessageParcel &data) -> const char * {
            if (!data.WriteInt32(connId) || !data.WriteInt32(type)) {
                return "SetDrivoScreenParam write failed";
            }
            return WriteScreenParam(data, param) ? nullptr : "screen param write failed";
        },
        __FUNCTION__);
}

int32_t SurfaceTransferAbility::SetVirtualDisplayParam(int32_t connId, uint32_t value, std::string &text)
{
    return SendSurfaceRequest(
        SET_VIRTUAL_DISPLAY_PARAM,
        [&](MessageParcel &data) -> const char * {
            bool written = data.WriteInt32(connId) && data.WriteUint32(value) && data.WriteString(text);
            return written ? nullptr : "SetVirtualDisplayParam write failed";
        },
        __FUNCTION__);
}

bool SurfaceTransferAbility::WriteRemoteDevice(Parcel &parcel, std::shared_ptr<RemoteDevice> remoteDevice)
{
    if (remoteDevice == nullptr) {
        return LogWriteFailure();
    }
    const RemoteDevice &device = *remoteDevice;
    bool written = parcel.WriteString(device.firstText) && parcel.WriteString(device.secondText) &&
                   parcel.WriteString(device.thirdText) && parcel.WriteString(device.fourthText) &&
                   parcel.WriteInt32(device.value) && parcel.WriteUint32(device.dataLen) &&
                   parcel.WriteBuffer(device.data, device.dataLen);
    return written || LogWriteFailure();
}

bool SurfaceTransferAbility::WriteScreenParam(Parcel &parcel, std::shared_ptr<ScreenParam> param)
{
    if (param == nullptr) {
        return LogWriteFailure();
    }
    bool written = parcel.WriteUint32(param->firstValue) && parcel.WriteUint32(param->secondValue) &&
                   parcel.WriteUint32(param->thirdValue) && parcel.WriteUint32(param->fourthValue) &&
                   parcel.WriteUint32(param->fifthValue);
    return written || LogWriteFailure();
}

sptr<DeathRecipient> SurfaceTransferAbility::GetDeathRecipient()
{
    if (deathRecipient_ == nullptr) {
        deathRecipient_ = new (std::nothrow) DeathRecipient();
        if (deathRecipient_ == nullptr) {
            TRBY_LOGE("new DeathRecipient failed");
        }
    }
    return deathRecipient_;
}

bool SurfaceTransferAbility::SetDeathRecipient()
{
    // Only the first to create the recipient registers it; see the header.
    if (deathRecipient_ != nullptr) {
        return true;
    }
    if (TarnbyProxy::GetInstance() == nullptr) {
        TRBY_LOGE("Tarnby dead");
        return false;
    }
    sptr<IRemoteObject> object = TarnbyProxy::GetTarnbyRemoteObject();
    if (object == nullptr) {
        TRBY_LOGE("tarnby_proxy is dead.");
        return false;
    }
    sptr<DeathRecipient> recipient = GetDeathRecipient();
    if (recipient == nullptr) {
        return false;
    }
    bool result = object->AddDeathRecipient(recipient);
    TRBY_LOGI("AddDeathRecipient result = %{public}d.", result);
    return result;
}
} // namespace OHOS::Tarnby
