#ifndef COLLABORATION_ABILITY_H
#define COLLABORATION_ABILITY_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "callback_skeleton.h"
#include "collab_ability_callback.h"
#include "pending.h"
#include "refbase.h"
#include "target_info.h"
#include "tarnby_export.h"

namespace OHOS::Tarnby {
// How the local end of a start request is named: by system-ability id, or by bundle and ability name.
enum LocalTargetType : int32_t {
    LOCAL_SYSTEM_ABILITY = 0,
    LOCAL_ABILITY = 1,
};

// A data callback type of the public interface; the library never calls it.
class TARNBY_EXPORT DataCallback : public virtual RefBase {
public:
    ~DataCallback() override = default;
};

// The short-lived object through which the service answers one start request (request code 103 with the result and
// the session id). The waiting caller holds it for the whole wait; an answer after the caller gave up is dropped.
class TARNBY_EXPORT CollabAbilityInnerCallback : public CallbackSkeleton {
public:
    CollabAbilityInnerCallback() = default;
    ~CollabAbilityInnerCallback() override = default;

    int32_t OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    // Stores (result, id) and wakes the waiting caller.
    void OnStartCollaboration(int32_t result, int32_t id);

private:
    friend std::pair<int32_t, int32_t> SendReqSync(sptr<CollabAbilityInnerCallback> callback, MessageParcel &data,
                                                   MessageParcel &reply, MessageOption &option);

    Pending<std::pair<int32_t, int32_t>> pending_;
};

// Sends `data` to the service (request code 101) and blocks the calling thread until `callback` receives the answer
// or 20 seconds pass. Returns the answer (result, session id), or (1001, 0) for a null callback (nothing is sent),
// (1012, 0) without a service, (461374453, 0) when the send fails, (461635601, 0) on time-out. The reply parcel is
// left for the caller.
TARNBY_EXPORT std::pair<int32_t, int32_t> SendReqSync(sptr<CollabAbilityInnerCallback> callback, MessageParcel &data,
                                                      MessageParcel &reply, MessageOption &option);

// Starts, feeds and stops collaboration sessions with targets on other devices. Holds no state: the service keeps
// the sessions and registrations. Any thread may call it; each start blocks its caller until the service answers
// (at most 20 seconds plus the call).
class TARNBY_EXPORT CollaborationAbility {
public:
    static CollaborationAbility &GetInstance();

    // Each start returns (status, session id); the id is 0 whenever the status is a failure of the library's own.
    std::pair<int32_t, int32_t> StartCollaboration(int32_t localId, sptr<TargetInfo> target);
    // Extra data of 1 to 4,190,207 bytes travels with the request; an empty or longer one is left out.
    std::pair<int32_t, int32_t> StartCollaboration(int32_t localId, sptr<TargetInfo> target,
                                                   const std::string &extraData);
    std::pair<int32_t, int32_t> StartCollaboration(const std::string &bundleName, const std::string &abilityName,
                                                   sptr<TargetInfo> target, const std::string &extraData);
    // `data` (not owned, read during the call) may be null: then only `dataLen` is sent.
    std::pair<int32_t, int32_t> StartCollaboration(sptr<TargetInfo> srcTarget, sptr<TargetInfo> dstTarget,
                                                   const char *data, uint32_t dataLen);

    int32_t RegisterCollaborationCallback(sptr<TargetInfo> target, sptr<CollabAbilityCallback> callback);
    int32_t UnRegisterCollaborationCallback(sptr<TargetInfo> target);
    // Sends 1 to 4,190,208 bytes (not owned, read during the call) over the session.
    int32_t SendCollaborationData(int32_t collaborationSessionId, const char *data, uint32_t dataLen);
    int32_t StopCollaboration(int32_t collaborationSessionId);

    // Placeholders: they log, touch none of their arguments and return 0.
    int32_t GetCollaborationStartInfos(int32_t collaborationSessionId, std::vector<sptr<StartInfo>> &startInfos);
    int32_t RegisterCollaborationDataCallback(int32_t collaborationSessionId, sptr<DataCallback> callback);
    int32_t UnRegisterCollaborationDataCallback(int32_t collaborationSessionId);

private:
    CollaborationAbility() = default;
};
} // namespace OHOS::Tarnby

#endif // COLLABORATION_ABILITY_H
