// SPDX-License-Identifier: Apache-2.0
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

// One surface request: "enter", the header and `fields`, the send, "leave" and the int32 answer. The whole request is
// built before the service is looked up.
int32_t SendSurfaceRequest(uint32_t subServiceType, std::initializer_list<RequestField> fields,
                           LogSite site = LogSite::Here())
{
    TRBY_LOG_SITE(LOG_LABEL, LOG_INFO, site, "enter");
    TarnbyRequest request(SERVICE_TYPE_SURFACE_TRANSFER, subServiceType, LOG_LABEL);
    int32_t status = request.WriteAndSend(fields, &ITarnbyService::SurfaceTransferEvent, site);
    if (status != TRBY_OK) {
        return status;
    }
    TRBY_LOG_SITE(LOG_LABEL, LOG_INFO, site, "leave");
    auto [result] = request.ReadReply<int32_t>();
    return result;
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
    auto device = [&remoteDevice](MessageParcel &data) { return WriteRemoteDevice(data, remoteDevice); };
    int32_t status = request.Write({{Wire::Int32(connId), "connId write failed"},
                                    {device, "remote device write failed"},
                                    {Wire::Object(callback), "callback write failed"}});
    if (status == TRBY_OK) {
        status = request.Send(&ITarnbyService::SurfaceTransferEvent);
    }
    if (status != TRBY_OK) {
        return status;
    }
    // A non-zero answer is also the id that a later death notification carries.
    auto [result] = request.ReadReply<int32_t>();
    if (result != TRBY_OK) {
        recipient->SetDeathRecipientid(static_cast<uint32_t>(result));
    }
    return result;
}

int32_t SurfaceTransferAbility::DeInitSurfaceTransfer(int32_t connId)
{
    return SendSurfaceRequest(DEINIT_SURFACE_TRANSFER,
                              {{Wire::Int32(connId), "write DeInitSurfaceTransfer param failed"}});
}

int32_t SurfaceTransferAbility::StartSurfaceTransfer(int32_t connId, std::string first, std::string second)
{
    // The id goes after the two strings here, unlike every other request.
    const char *failure = "write StartSurfaceTransfer param failed";
    return SendSurfaceRequest(
        START_SURFACE_TRANSFER,
        {{Wire::String(first), failure}, {Wire::String(second), failure}, {Wire::Int32(connId), failure}});
}

int32_t SurfaceTransferAbility::StopSurfaceTransfer(int32_t connId)
{
    return SendSurfaceRequest(STOP_SURFACE_TRANSFER, {{Wire::Int32(connId), "write StopSurfaceTransfer param failed"}});
}

int32_t SurfaceTransferAbility::CastOperation(int32_t connId, CastOperationType type)
{
    const char *failure = "write CastOperation params failed";
    return SendSurfaceRequest(CAST_OPERATION, {{Wire::Int32(connId), failure}, {Wire::Int32(type), failure}});
}

int32_t SurfaceTransferAbility::SetScreenParam(int32_t connId, CastSetScreenParamType type,
                                               std::shared_ptr<ScreenParam> param)
{
    const char *failure = "SetDrivoScreenParam write failed";
    auto screen = [&param](MessageParcel &data) { return WriteScreenParam(data, param); };
    return SendSurfaceRequest(
        SET_SCREEN_PARAM,
        {{Wire::Int32(connId), failure}, {Wire::Int32(type), failure}, {screen, "screen param write failed"}});
}

int32_t SurfaceTransferAbility::SetVirtualDisplayParam(int32_t connId, uint32_t value, std::string &text)
{
    const char *failure = "SetVirtualDisplayParam write failed";
    return SendSurfaceRequest(
        SET_VIRTUAL_DISPLAY_PARAM,
        {{Wire::Int32(connId), failure}, {Wire::Uint32(value), failure}, {Wire::String(text), failure}});
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
