#include "audio_transfer_ability.h"

#include <optional>

#include "ability_filter.h"
#include "tarnby_errors.h"
#include "tarnby_log.h"
#include "tarnby_proxy.h"
#include "tarnby_request.h"

namespace OHOS::Tarnby {
namespace {
constexpr LogLabel LOG_LABEL = LABEL_PROXY;

// subServiceType of the audio requests (serviceType 104).
enum AudioSubType : uint32_t {
    START_AUDIO_TRANSFER = 15,
    STOP_AUDIO_TRANSFER = 16,
    INIT_AUDIO_TRANSFER = 27,
    DEINIT_AUDIO_TRANSFER = 28,
};

// A request on an existing transfer: the connection id, for DeInit followed by the business type. The proxy is
// taken before the fields are written.
int32_t SendSessionRequest(uint32_t subServiceType, int32_t connId, std::optional<BusinessType> businessType,
                           const char *caller)
{
    TRBY_LOG_FN(LOG_LABEL, LOG_INFO, caller, "enter collaborationSessionId: %{public}d", connId);
    TarnbyRequest request(SERVICE_TYPE_AUDIO_TRANSFER, subServiceType, LOG_LABEL);
    if (!request.WriteHeader()) {
        return ERR_TRBY_INVALID_PARAM;
    }
    if (!request.AcquireProxy(caller)) {
        return ERR_TRBY_SERVICE_DEAD;
    }
    if (!request.Data().WriteInt32(connId)) {
        // This one line has always gone out under the collaboration tag.
        TRBY_LOG_FN(LABEL_COLLABORATION, LOG_ERROR, caller, "collaborationSessionId write failed");
        return ERR_TRBY_WRITE_PARCEL;
    }
    if (businessType.has_value() && !request.Data().WriteInt32(*businessType)) {
        TRBY_LOG_FN(LOG_LABEL, LOG_ERROR, caller, "businessType write failed");
        return ERR_TRBY_WRITE_PARCEL;
    }
    int32_t sent = request.Send(&ITarnbyService::CollaborationToDeviceEvent, caller);
    if (sent != TRBY_OK) {
        return sent;
    }
    int32_t result = request.ReadResult();
    TRBY_LOG_FN(LOG_LABEL, LOG_INFO, caller, "leave");
    return result;
}

// Both halves of InitAudioTransfer's answer carry the same code on the library's own failures.
std::pair<int32_t, int32_t> Failure(int32_t code)
{
    return {code, code};
}
} // namespace

AudioTransferAbility AudioTransferAbility::instance_;

AudioTransferAbility &AudioTransferAbility::GetInstance()
{
    return instance_;
}

std::pair<int32_t, int32_t> AudioTransferAbility::InitAudioTransfer(const std::string &peerNetworkId,
                                                                    const std::string &devName,
                                                                    BusinessType businessType)
{
    TRBY_LOGI("enter, peerNetworkId=%{public}s devName=%{public}s",
              PickerResult::StringToAnonymous(peerNetworkId).c_str(), PickerResult::StringToAnonymous(devName).c_str());
    if (peerNetworkId.empty() || devName.empty()) {
        return Failure(ERR_TRBY_INVALID_PARAM);
    }
    TarnbyRequest request(SERVICE_TYPE_AUDIO_TRANSFER, INIT_AUDIO_TRANSFER, LOG_LABEL);
    if (!request.WriteHeader()) {
        return Failure(ERR_TRBY_INVALID_PARAM);
    }
    if (!request.AcquireProxy()) {
        return Failure(ERR_TRBY_SERVICE_DEAD);
    }
    MessageParcel &data = request.Data();
    if (!data.WriteString(peerNetworkId)) {
        TRBY_LOGE("peerNetworkId write failed");
        return Failure(ERR_TRBY_WRITE_PARCEL);
    }
    if (!data.WriteString(devName)) {
        TRBY_LOGE("devName write failed");
        return Failure(ERR_TRBY_WRITE_PARCEL);
    }
    if (!data.WriteInt32(businessType)) {
        TRBY_LOGE("businessType write failed");
        return Failure(ERR_TRBY_WRITE_PARCEL);
    }
    int32_t sent = request.Send(&ITarnbyService::CollaborationToDeviceEvent);
    if (sent != TRBY_OK) {
        // Here the two halves differ (send code, then 1007); callers compare against this very pair.
        return {sent, ERR_TRBY_WRITE_PARCEL};
    }
    TRBY_LOGI("leave");
    int32_t status = request.ReadResult();
    int32_t connId = request.ReadResult();
    return {status, connId};
}

int32_t AudioTransferAbility::DeInitAudioTransfer(int32_t connId, BusinessType businessType)
{
    return SendSessionRequest(DEINIT_AUDIO_TRANSFER, connId, businessType, __FUNCTION__);
}

int32_t AudioTransferAbility::StartAudioTransfer(int32_t connId)
{
    return SendSessionRequest(START_AUDIO_TRANSFER, connId, std::nullopt, __FUNCTION__);
}

int32_t AudioTransferAbility::StopAudioTransfer(int32_t connId)
{
    return SendSessionRequest(STOP_AUDIO_TRANSFER, connId, std::nullopt, __FUNCTION__);
}

int32_t AudioTransferAbility::StartAudioTransfer(const std::string &peerNetworkId, const std::string &devName,
                                                 BusinessType businessType, int32_t connId)
{
    TRBY_LOGI("enter, peerNetworkId=%{public}s devName=%{public}s businessType=%{public}d connId=%{public}d",
              PickerResult::StringToAnonymous(peerNetworkId).c_str(), PickerResult::StringToAnonymous(devName).c_str(),
              businessType, connId);
    return ERR_TRBY_NOT_SUPPORTED;
}
} // namespace OHOS::Tarnby
