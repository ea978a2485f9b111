// SPDX-License-Identifier: Apache-2.0
#ifndef COLLAB_ABILITY_CALLBACK_H
#define COLLAB_ABILITY_CALLBACK_H

/**
 * @file collab_ability_callback.h
 * @brief The callback that receives a collaboration session's data and event messages.
 */
#include <cstdint>

#include "callback_skeleton.h"
#include "tarnby_export.h"

namespace OHOS::Tarnby {
/** @brief The largest collaboration payload, in either direction: 4,190,208 bytes. */
inline constexpr uint32_t COLLABORATION_DATA_MAX_LEN = 0x3FF000;

/**
 * @brief Receives the messages of the caller's collaboration sessions. The caller derives from it, implements the two
 * hooks and registers an instance for a target with CollaborationAbility::RegisterCollaborationCallback; the service
 * then calls it (request code 103) whenever a session message arrives. Requests to this object never reach the
 * CallbackSkeleton dispatch.
 */
class TARNBY_EXPORT CollabAbilityCallback : public CallbackSkeleton {
public:
    /**
     * @brief Reads a session message (request code 103): type, session id, length, then the bytes.
     * @param code The request code.
     * @param data The service's request.
     * @param reply Not written.
     * @param option Not used.
     * @return 0; 1010 (ERR_TRBY_WRONG_TOKEN) for another token, 1001 (ERR_TRBY_INVALID_PARAM) for another code or a
     * length over 4,190,208 (no hook is called).
     */
    int32_t OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override;

    /**
     * @brief A data message (type 104) of a session, on an IPC thread (possibly several at once).
     * @param collaborationSessionId The session.
     * @param data The bytes, inside the service's request: valid only during the call (a hook that keeps them copies
     *        them); null when the request held fewer than `dataLen` bytes.
     * @param dataLen The number of bytes.
     */
    virtual void OnCollaborationData(int32_t collaborationSessionId, const uint8_t *data, uint32_t dataLen) = 0;
    /**
     * @brief An event message (type 105) of a session, as OnCollaborationData.
     * @param collaborationSessionId The session.
     * @param data The bytes, as for OnCollaborationData.
     * @param dataLen The number of bytes.
     */
    virtual void OnCollaborationEvent(int32_t collaborationSessionId, const uint8_t *data, uint32_t dataLen) = 0;
};
} // namespace OHOS::Tarnby

#endif // COLLAB_ABILITY_CALLBACK_H
