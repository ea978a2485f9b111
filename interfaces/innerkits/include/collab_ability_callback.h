#ifndef COLLAB_ABILITY_CALLBACK_H
#define COLLAB_ABILITY_CALLBACK_H

#include <cstdint>

#include "callback_skeleton.h"
#include "tarnby_export.h"

namespace OHOS::Tarnby {
// The largest collaboration payload, in either direction: 4,190,208 bytes.
inline constexpr uint32_t COLLABORATION_DATA_MAX_LEN = 0x3FF000;

// Receives the messages of the caller's collaboration sessions. The caller derives from it, implements the two hooks
// and registers an instance for a target with CollaborationAbility::RegisterCollaborationCallback; the service then
// calls it (request code 103) whenever a session message arrives. Requests to this object never reach the
// CallbackSkeleton dispatch.
class TARNBY_EXPORT CollabAbilityCallback : public CallbackSkeleton {
public:
    int32_t OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override;

    // Both hooks run on an IPC thread, possibly several at once. `data` points into the service's request and is
    // valid only during the call (a hook that keeps the bytes copies them); it is null when the request held fewer
    // than `dataLen` bytes.
    // A data message (type 104) of session `collaborationSessionId`.
    virtual void OnCollaborationData(int32_t collaborationSessionId, const uint8_t *data, uint32_t dataLen) = 0;
    // An event message (type 105) of session `collaborationSessionId`.
    virtual void OnCollaborationEvent(int32_t collaborationSessionId, const uint8_t *data, uint32_t dataLen) = 0;
};
} // namespace OHOS::Tarnby

#endif // COLLAB_ABILITY_CALLBACK_H
