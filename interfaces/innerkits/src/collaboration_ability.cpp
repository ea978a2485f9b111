#include "collaboration_ability.h"

#include "nested_record.h"
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
constexpr uint32_t START_WAIT_SECONDS = 20;
constexpr size_t EXTRA_DATA_MAX_LEN = COLLABORATION_DATA_MAX_LEN - 1; // the string and its terminator fit the limit
constexpr size_t PARCEL_WORD = sizeof(int32_t);

const std::pair<int32_t, int32_t> START_INVALID_PARAM = {ERR_TRBY_INVALID_PARAM, 0};
const std::pair<int32_t, int32_t> START_WRITE_FAILED = {ERR_TRBY_WRITE_PARCEL, 0};

constexpr size_t PaddedSize(size_t bytes)
{
    return (bytes + PARCEL_WORD - 1) / PARCEL_WORD * PARCEL_WORD;
}

// What a string of `length` bytes takes in a parcel: its length word, the bytes, the terminator and the padding.
constexpr size_t StringWireSize(size_t length)
{
    return PARCEL_WORD + PaddedSize(length + 1);
}

// What a counted buffer of `length` bytes takes in a parcel: its uint32 length, then the padded bytes.
constexpr size_t BufferWireSize(size_t length)
{
    return PARCEL_WORD + PaddedSize(length);
}

// A fresh inner callback written as a remote object; null when either step fails.
sptr<CollabAbilityInnerCallback> WriteInnerCallback(MessageParcel &data)
{
    sptr<CollabAbilityInnerCallback> callback = new (std::nothrow) CollabAbilityInnerCallback();
    if (callback == nullptr || !data.WriteRemoteObject(callback->AsObject())) {
        return nullptr;
    }
    return callback;
}

// The end of every start request: the inner callback, the optional extra data, then the synchronous wait.
std::pair<int32_t, int32_t> FinishStartRequest(TarnbyRequest &request, const std::string &extraData,
                                               const char *caller = __builtin_FUNCTION())
{
    sptr<CollabAbilityInnerCallback> callback = WriteInnerCallback(request.Data());
    if (callback == nullptr) {
        TRBY_LOG_FN(LOG_LABEL, LOG_ERROR, caller, "callback write failed");
        return START_WRITE_FAILED;
    }
    // Extra data that is empty or too long is left out on purpose; the request goes out without it.
    if (!extraData.empty() && extraData.size() <= EXTRA_DATA_MAX_LEN) {
        if (!request.ReserveCapacity(StringWireSize(extraData.size())) || !request.Data().WriteString(extraData)) {
            TRBY_LOG_FN(LOG_LABEL, LOG_ERROR, caller, "data write failed");
            return START_WRITE_FAILED;
        }
    }
    return SendReqSync(callback, request.Data(), request.Reply(), request.Option());
}

// The start requests that name a local end: its type, its own fields (written and logged by `writeLocalEnd`), the
// target, then the shared end of every start request.
template <typename WriteLocalEnd>
std::pair<int32_t, int32_t> StartFromLocalEnd(LocalTargetType localType, const WriteLocalEnd &writeLocalEnd,
                                              const sptr<TargetInfo> &target, const std::string &extraData,
                                              const char *caller = __builtin_FUNCTION())
{
    TarnbyRequest request(SERVICE_TYPE_COLLABORATION, START_COLLABORATION, LOG_LABEL);
    if (!request.WriteHeader()) {
        return START_INVALID_PARAM;
    }
    MessageParcel &data = request.Data();
    if (!data.WriteInt32(localType)) {
        TRBY_LOG_FN(LOG_LABEL, LOG_ERROR, caller, "LocalTargetType write failed");
        return START_WRITE_FAILED;
    }
    if (!writeLocalEnd(data, caller)) {
        return START_WRITE_FAILED;
    }
    if (!WriteRequiredRecord(data, target)) {
        TRBY_LOG_FN(LOG_LABEL, LOG_ERROR, caller, "targetInfo write failed");
        return START_WRITE_FAILED;
    }
    return FinishStartRequest(request, extraData, caller);
}

// Sends a request that the service answers in its reply, and returns that answer; a non-zero answer is logged with
// `failure` (when given) in the caller's name.
int32_t SendForResult(TarnbyRequest &request, const char *failure, const char *caller = __builtin_FUNCTION())
{
    int32_t sent = request.Send(&ITarnbyService::CollaborationToDeviceEvent, caller);
    if (sent != TRBY_OK) {
        return sent;
    }
    int32_t result = request.ReadResult();
    if (result != TRBY_OK && failure != nullptr) {
        TRBY_LOG_FN(LOG_LABEL, LOG_ERROR, caller, "%{public}s", failure);
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
    auto [status, answer] = callback->pending_.Start(START_WAIT_SECONDS);
    if (status == ERR_TRBY_WAIT_TIMEOUT) {
        TRBY_LOGE("wait timeout");
        return {ERR_TRBY_NO_ANSWER, 0};
    }
    return answer;
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
    auto writeLocalId = [localId](MessageParcel &data, const char *caller) {
        if (!data.WriteInt32(localId)) {
            TRBY_LOG_FN(LOG_LABEL, LOG_ERROR, caller, "localId write failed");
            return false;
        }
        return true;
    };
    return StartFromLocalEnd(LOCAL_SYSTEM_ABILITY, writeLocalId, target, extraData);
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
    auto writeAbility = [&bundleName, &abilityName](MessageParcel &data, const char *caller) {
        if (!data.WriteString(bundleName) || !data.WriteString(abilityName)) {
            TRBY_LOG_FN(LOG_LABEL, LOG_ERROR, caller, "abilityInfo write failed");
            return false;
        }
        return true;
    };
    return StartFromLocalEnd(LOCAL_ABILITY, writeAbility, target, extraData);
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
    TarnbyRequest request(SERVICE_TYPE_COLLABORATION, START_COLLABORATION_WITH_DATA, LOG_LABEL);
    if (!request.WriteHeader()) {
        return START_INVALID_PARAM;
    }
    MessageParcel &parcel = request.Data();
    if (!WriteRequiredRecord(parcel, srcTarget) || !WriteRequiredRecord(parcel, dstTarget)) {
        TRBY_LOGE("targetInfo write failed");
        return START_WRITE_FAILED;
    }
    sptr<CollabAbilityInnerCallback> callback = WriteInnerCallback(parcel);
    if (callback == nullptr) {
        TRBY_LOGE("callback write failed");
        return START_WRITE_FAILED;
    }
    if (dataLen > COLLABORATION_DATA_MAX_LEN || !request.ReserveCapacity(BufferWireSize(dataLen)) ||
        !parcel.WriteUint32(dataLen)) {
        TRBY_LOGE_AS(LABEL_COLL_PROC, "dataLen write failed");
        return START_WRITE_FAILED;
    }
    if (data != nullptr && dataLen != 0 && !parcel.WriteUnpadBuffer(data, dataLen)) {
        TRBY_LOGE_AS(LABEL_COLL_PROC, "data write failed");
        return START_WRITE_FAILED;
    }
    return SendReqSync(callback, parcel, request.Reply(), request.Option());
}

int32_t CollaborationAbility::RegisterCollaborationCallback(sptr<TargetInfo> target,
                                                            sptr<CollabAbilityCallback> callback)
{
    TRBY_LOGE("enter");
    TarnbyRequest request(SERVICE_TYPE_COLLABORATION, REGISTER_COLLABORATION_CALLBACK, LOG_LABEL);
    if (!request.WriteHeader()) {
        return ERR_TRBY_INVALID_PARAM;
    }
    if (!WriteRequiredRecord(request.Data(), target)) {
        TRBY_LOGE("targetInfo write failed");
        return ERR_TRBY_WRITE_PARCEL;
    }
    if (callback == nullptr || !request.Data().WriteRemoteObject(callback->AsObject())) {
        TRBY_LOGE("callback write failed");
        return ERR_TRBY_WRITE_PARCEL;
    }
    return SendForResult(request, "RegisterCollaborationCallback failed");
}

int32_t CollaborationAbility::UnRegisterCollaborationCallback(sptr<TargetInfo> target)
{
    TarnbyRequest request(SERVICE_TYPE_COLLABORATION, UNREGISTER_COLLABORATION_CALLBACK, LOG_LABEL);
    if (!request.WriteHeader()) {
        return ERR_TRBY_INVALID_PARAM;
    }
    if (!WriteRequiredRecord(request.Data(), target)) {
        TRBY_LOGE("localInfo write failed");
        return ERR_TRBY_WRITE_PARCEL;
    }
    return SendForResult(request, "UnRegisterCollaborationCallback failed");
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
    TarnbyRequest request(SERVICE_TYPE_COLLABORATION, SEND_COLLABORATION_DATA, LOG_LABEL);
    if (!request.WriteHeader()) {
        return ERR_TRBY_INVALID_PARAM;
    }
    if (!request.Data().WriteInt32(collaborationSessionId)) {
        TRBY_LOGE("collaborationSessionId write failed");
        return ERR_TRBY_WRITE_PARCEL;
    }
    if (!request.ReserveCapacity(BufferWireSize(dataLen)) || !request.Data().WriteUint32(dataLen) ||
        !request.Data().WriteUnpadBuffer(data, dataLen)) {
        TRBY_LOGE("wirte raw data failed");
        return ERR_TRBY_WRITE_PARCEL;
    }
    return SendForResult(request, "send collaboration data failed");
}

int32_t CollaborationAbility::StopCollaboration(int32_t collaborationSessionId)
{
    TarnbyRequest request(SERVICE_TYPE_COLLABORATION, STOP_COLLABORATION, LOG_LABEL);
    if (!request.WriteHeader()) {
        return ERR_TRBY_INVALID_PARAM;
    }
    if (!request.Data().WriteInt32(collaborationSessionId)) {
        TRBY_LOGE("localId write failed");
        return ERR_TRBY_WRITE_PARCEL;
    }
    return SendForResult(request, nullptr);
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
