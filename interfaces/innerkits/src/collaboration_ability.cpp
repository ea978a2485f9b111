// SPDX-License-Identifier: Apache-2.0
#include "collaboration_ability.h"

#include <atomic>

#include "start_wait.h"
#include "callback_token.h"
#include "tarnby_errors.h"
#include "tarnby_log.h"
#include "tarnby_request.h"

static_assert(OHOS::Tarnby::Pending<std::pair<int32_t, int32_t>>::TIMED_OUT == OHOS::Tarnby::ERR_TRBY_WAIT_TIMEOUT);

namespace OHOS::Tarnby {
namespace {
constexpr LogLabel LOG_LABEL = LABEL_COLLABORATION;

// subServiceType of the collaboration requests (serviceType 103).
enum CollaborationSubType : uint32_t {
    START_COLLABORATION = 7,
    STOP_COLLABORATION = 8,
    SEND_COLLABORATION_DATA = 13,
    REGISTER_COLLABORATION_CALLBACK = 23,
    UNREGISTER_COLLABORATION_CALLBACK = 24,
    START_COLLABORATION_WITH_DATA = 25,
};

constexpr uint32_t START_ANSWER_CODE = 103; // the service's answer to a start request, on the inner callback
constexpr size_t EXTRA_DATA_MAX_LEN = COLLABORATION_DATA_MAX_LEN - 1; // the string and its terminator fit the limit

std::atomic<std::chrono::milliseconds::rep> g_startAnswerWait{Internal::START_ANSWER_WAIT.count()};

const std::pair<int32_t, int32_t> START_INVALID_PARAM = {ERR_TRBY_INVALID_PARAM, 0};

// Extra data that is empty or too long is left out on purpose; the request goes out without it.
std::function<bool(MessageParcel &)> ExtraData(const std::string &extraData)
{
    bool travels = !extraData.empty() && extraData.size() <= EXTRA_DATA_MAX_LEN;
    return travels ? Wire::LongString(extraData) : Wire::Nothing();
}

// A start request: `fields`, the fresh inner callback, `trailer`, then the synchronous wait for the answer. The id is
// 0 whenever the status is a failure of the library's own.
std::pair<int32_t, int32_t> SendStart(uint32_t subServiceType, std::initializer_list<RequestField> fields,
                                      std::initializer_list<RequestField> trailer, LogSite site = LogSite::Here())
{
    TarnbyRequest request(SERVICE_TYPE_COLLABORATION, subServiceType, LOG_LABEL);
    sptr<CollabAbilityInnerCallback> callback = new (std::nothrow) CollabAbilityInnerCallback();
    int32_t written = request.Write(fields, site);
    if (written == TRBY_OK) {
        written = request.Write({{Wire::Object(callback), "callback write failed"}}, site);
    }
    if (written == TRBY_OK) {
        written = request.Write(trailer, site);
    }
    if (written != TRBY_OK) {
        return {written, 0};
    }
    return SendReqSync(callback, request.Data(), request.Reply(), request.Option());
}

// A request that the service answers in its reply; a non-zero answer is logged with `failure` (when given).
int32_t SendForResult(uint32_t subServiceType, std::initializer_list<RequestField> fields, const char *failure,
                      LogSite site = LogSite::Here())
{
    TarnbyRequest request(SERVICE_TYPE_COLLABORATION, subServiceType, LOG_LABEL);
    int32_t status = request.WriteAndSend(fields, &ITarnbyService::CollaborationToDeviceEvent, site);
    if (status != TRBY_OK) {
        return status;
    }
    auto [result] = request.ReadReply<int32_t>();
    if (result != TRBY_OK && failure != nullptr) {
        TRBY_LOG_SITE(LOG_LABEL, LOG_ERROR, site, "%{public}s", failure);
    }
    return result;
}
} // namespace

int32_t CollabAbilityInnerCallback::OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply,
                                                    MessageOption &option)
{
    if (!ReadCallbackToken(data)) {
        return ERR_TRBY_WRONG_TOKEN;
    }
    if (code != START_ANSWER_CODE) {
        TRBY_LOGE("collaboration ability inner callback code is %{public}d", code);
        return ERR_TRBY_INVALID_PARAM;
    }
    int32_t result = data.ReadInt32();
    int32_t id = data.ReadInt32();
    OnStartCollaboration(result, id);
    return TRBY_OK;
}

void CollabAbilityInnerCallback::OnStartCollaboration(int32_t result, int32_t id)
{
    TRBY_LOGI("OnStartCollaboration result = %{public}d, id = %{public}d", result, id);
    pending_.Stop({result, id});
}

std::pair<int32_t, int32_t> SendReqSync(sptr<CollabAbilityInnerCallback> callback, MessageParcel &data,
                                        MessageParcel &reply, MessageOption &option)
{
    // Without the inner callback the answer has nowhere to arrive: send nothing rather than wait on nothing.
    if (callback == nullptr) {
        TRBY_LOGE("callback is nullptr");
        return {ERR_TRBY_INVALID_PARAM, 0};
    }
    sptr<ITarnbyService> proxy = AcquireServiceProxy(LOG_LABEL);
    if (proxy == nullptr) {
        return {ERR_TRBY_SERVICE_DEAD, 0};
    }
    int32_t sent = SendThroughProxy(proxy, &ITarnbyService::CollaborationToDeviceEvent, data, reply, option, LOG_LABEL);
    if (sent != TRBY_OK) {
        return {sent, 0};
    }
    auto [status, answer] = callback->pending_.Start(Internal::StartAnswerWait());
    if (status == ERR_TRBY_WAIT_TIMEOUT) {
        TRBY_LOGE("wait timeout");
        return {ERR_TRBY_NO_ANSWER, 0};
    }
    return answer;
}

std::chrono::milliseconds Internal::StartAnswerWait()
{
    return std::chrono::milliseconds(g_startAnswerWait.load(std::memory_order_relaxed));
}

void Internal::SetStartAnswerWait(std::chrono::milliseconds wait)
{
    g_startAnswerWait.store(wait.count(), std::memory_order_relaxed);
}

CollaborationAbility &CollaborationAbility::GetInstance()
{
    static CollaborationAbility instance;
    return instance;
}

std::pair<int32_t, int32_t> CollaborationAbility::StartCollaboration(int32_t localId, sptr<TargetInfo> target)
{
    return StartCollaboration(localId, target, std::string());
}

std::pair<int32_t, int32_t> CollaborationAbility::StartCollaboration(int32_t localId, sptr<TargetInfo> target,
                                                                     const std::string &extraData)
{
    TRBY_LOGE("enter");
    if (target == nullptr || target->GetNetworkId().empty()) {
        TRBY_LOGE("targetInfo is null");
        return START_INVALID_PARAM;
    }
    return SendStart(START_COLLABORATION,
                     {{Wire::Int32(LOCAL_SYSTEM_ABILITY), "LocalTargetType write failed"},
                      {Wire::Int32(localId), "localId write failed"},
                      {Wire::Record(target), "targetInfo write failed"}},
                     {{ExtraData(extraData), "data write failed"}});
}

std::pair<int32_t, int32_t> CollaborationAbility::StartCollaboration(const std::string &bundleName,
                                                                     const std::string &abilityName,
                                                                     sptr<TargetInfo> target,
                                                                     const std::string &extraData)
{
    TRBY_LOGE("enter");
    if (target == nullptr) {
        TRBY_LOGE("targetInfo is null");
        return START_INVALID_PARAM;
    }
    return SendStart(START_COLLABORATION,
                     {{Wire::Int32(LOCAL_ABILITY), "LocalTargetType write failed"},
                      {Wire::String(bundleName), "abilityInfo write failed"},
                      {Wire::String(abilityName), "abilityInfo write failed"},
                      {Wire::Record(target), "targetInfo write failed"}},
                     {{ExtraData(extraData), "data write failed"}});
}

std::pair<int32_t, int32_t> CollaborationAbility::StartCollaboration(sptr<TargetInfo> srcTarget,
                                                                     sptr<TargetInfo> dstTarget, const char *data,
                                                                     uint32_t dataLen)
{
    TRBY_LOGE("enter");
    if (srcTarget == nullptr || dstTarget == nullptr) {
        TRBY_LOGE("targetInfo is null");
        return START_INVALID_PARAM;
    }
    return SendStart(
        START_COLLABORATION_WITH_DATA,
        {{Wire::Record(srcTarget), "targetInfo write failed"}, {Wire::Record(dstTarget), "targetInfo write failed"}},
        {{Wire::BufferLength(dataLen, COLLABORATION_DATA_MAX_LEN), "dataLen write failed", &LABEL_COLL_PROC},
         {Wire::BufferBytes(data, dataLen), "data write failed", &LABEL_COLL_PROC}});
}

int32_t CollaborationAbility::RegisterCollaborationCallback(sptr<TargetInfo> target,
                                                            sptr<CollabAbilityCallback> callback)
{
    TRBY_LOGE("enter");
    return SendForResult(
        REGISTER_COLLABORATION_CALLBACK,
        {{Wire::Record(target), "targetInfo write failed"}, {Wire::Object(callback), "callback write failed"}},
        "RegisterCollaborationCallback failed");
}

int32_t CollaborationAbility::UnRegisterCollaborationCallback(sptr<TargetInfo> target)
{
    return SendForResult(UNREGISTER_COLLABORATION_CALLBACK, {{Wire::Record(target), "localInfo write failed"}},
                         "UnRegisterCollaborationCallback failed");
}

int32_t CollaborationAbility::SendCollaborationData(int32_t collaborationSessionId, const char *data, uint32_t dataLen)
{
    if (data == nullptr || dataLen == 0) {
        TRBY_LOGE("data is null");
        return ERR_TRBY_INVALID_PARAM;
    }
    if (dataLen > COLLABORATION_DATA_MAX_LEN) {
        TRBY_LOGE("dataLen[%{public}d] too large", dataLen);
        return ERR_TRBY_DATA_TOO_LARGE;
    }
    return SendForResult(SEND_COLLABORATION_DATA,
                         {{Wire::Int32(collaborationSessionId), "collaborationSessionId write failed"},
                          {Wire::Buffer(data, dataLen, COLLABORATION_DATA_MAX_LEN), "wirte raw data failed"}},
                         "send collaboration data failed");
}

int32_t CollaborationAbility::StopCollaboration(int32_t collaborationSessionId)
{
    return SendForResult(STOP_COLLABORATION, {{Wire::Int32(collaborationSessionId), "localId write failed"}}, nullptr);
}

int32_t CollaborationAbility::GetCollaborationStartInfos(int32_t collaborationSessionId,
                                                         std::vector<sptr<StartInfo>> &startInfos)
{
    TRBY_LOGI("Get Start Info");
    return TRBY_OK;
}

int32_t CollaborationAbility::RegisterCollaborationDataCallback(int32_t collaborationSessionId,
                                                                sptr<DataCallback> callback)
{
    TRBY_LOGI("Register");
    return TRBY_OK;
}

int32_t CollaborationAbility::UnRegisterCollaborationDataCallback(int32_t collaborationSessionId)
{
    TRBY_LOGI("UnRegister");
    return TRBY_OK;
}
} // namespace OHOS::Tarnby
