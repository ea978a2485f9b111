// SPDX-License-Identifier: Apache-2.0
#include "collab_ability_callback.h"

#include "callback_token.h"
#include "tarnby_errors.h"
#include "tarnby_log.h"

namespace OHOS::Tarnby {
namespace {
constexpr LogLabel LOG_LABEL = LABEL_COLLABORATION;

constexpr uint32_t SESSION_MESSAGE_CODE = 103;
enum SessionMessageType : int32_t {
    MESSAGE_DATA = 104,
    MESSAGE_EVENT = 105,
};
} // namespace

int32_t CollabAbilityCallback::OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply,
                                               MessageOption &option)
{
    TRBY_LOGE("enter");
    if (!ReadCallbackToken(data)) {
        return ERR_TRBY_WRONG_TOKEN;
    }
    if (code != SESSION_MESSAGE_CODE) {
        TRBY_LOGE("collaboration ability callback code is %{public}d", code);
        return ERR_TRBY_INVALID_PARAM;
    }
    int32_t type = data.ReadInt32();
    int32_t sessionId = data.ReadInt32();
    uint32_t dataLen = data.ReadUint32();
    TRBY_LOGI("data len %{public}d", dataLen);
    if (dataLen > COLLABORATION_DATA_MAX_LEN) {
        TRBY_LOGE("data len %{public}d invalid", dataLen);
        return ERR_TRBY_INVALID_PARAM;
    }
    const uint8_t *payload = data.ReadUnpadBuffer(dataLen);
    TRBY_LOGI("collaboration ability callback type is %{public}d", type);
    if (type == MESSAGE_DATA) {
        OnCollaborationData(sessionId, payload, dataLen);
    } else if (type == MESSAGE_EVENT) {
        OnCollaborationEvent(sessionId, payload, dataLen);
    }
    return TRBY_OK;
}
} // namespace OHOS::Tarnby
