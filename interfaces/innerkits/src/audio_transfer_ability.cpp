// SPDX-License-Identifier: Apache-2.0
#include "audio_transfer_ability.h"

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
// taken after the header and before the fields.
int32_t SendSessionRequest(uint32_t subServiceType, int32_t connId, std::function<bool(MessageParcel &)> businessType,
                           LogSite site = LogSite::Here())
{
    TRBY_LOG_SITE(LOG_LABEL, LOG_INFO, site, "enter collaborationSessionId: %{public}d", connId);
    TarnbyRequest request(SERVICE_TYPE_AUDIO_TRANSFER, subServiceType, LOG_LABEL);
    int32_t status = request.Write({}, site);
    if (status != TRBY_OK) {
        return status;
    }
    if (!request.AcquireProxy(site)) {
        return ERR_TRBY_SERVICE_DEAD;
    }
    // The connection id's line has always gone out under the collaboration tag.
    status = request.Write({{Wire::Int32(connId), "collaborationSessionId write failed", &LABEL_COLLABORATION},
                            {std::move(businessType), "businessType write failed"}},
                           site);
    if (status == TRBY_OK) {
        status = request.Send(&ITarnbyService::CollaborationToDeviceEvent, site);
    }
    if (status != TRBY_OK) {
        return status;
    }
    auto [result] = request.ReadReply<int32_t>();
    TRBY_LOG_SITE(LOG_LABEL, LOG_INFO, site, "leave");
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
    int32_t status = request.Write({});
    if (status != TRBY_OK) {
        return Failure(status);
    }
    if (!request.AcquireProxy()) {
        return Failure(ERR_TRBY_SERVICE_DEAD);
    }
    status = request.Write({{Wire::String(peerNetworkId), "peerNetworkId write failed"},
                            {Wire::String(devName), "devName write failed"},
                            {Wire::Int32(businessType), "businessType write failed"}});
    if (status != TRBY_OK) {
        return Failure(status);
    }
    status = request.Send(&ITarnbyService::CollaborationToDeviceEvent);
    if (status != TRBY_OK) {
        // Here the two halves differ (send code, then 1007); callers compare against this very pair.
        return {status, ERR_TRBY_WRITE_PARCEL};
    }
    TRBY_LOGI("leave");
    auto [result, connId] = request.ReadReply<int32_t, int32_t>();
    return {result, connId};
}

int32_t AudioTransferAbility::DeInitAudioTransfer(int32_t connId, BusinessType businessType)
{
    return SendSessionRequest(DEINIT_AUDIO_TRANSFER, connId, Wire::Int32(businessType));
}

int32_t AudioTransferAbility::StartAudioTransfer(int32_t connId)
{
    return SendSessionRequest(START_AUDIO_TRANSFER, connId, Wire::Nothing());
}

int32_t AudioTransferAbility::StopAudioTransfer(int32_t connId)
{
    return SendSessionRequest(STOP_AUDIO_TRANSFER, connId, Wire::Nothing());
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
