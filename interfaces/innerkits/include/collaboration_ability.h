// SPDX-License-Identifier: Apache-2.0
#ifndef COLLABORATION_ABILITY_H
#define COLLABORATION_ABILITY_H

/**
 * @file collaboration_ability.h
 * @brief Collaboration sessions with abilities on other devices: start, send, stop, register.
 */
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
/** @brief How the local end of a start request is named. */
enum LocalTargetType : int32_t {
    LOCAL_SYSTEM_ABILITY = 0, ///< By system-ability id.
    LOCAL_ABILITY = 1,        ///< By bundle and ability name.
};

/** @brief A data callback type of the public interface; the library never calls it. */
class TARNBY_EXPORT DataCallback : public virtual RefBase {
public:
    /** @brief Destroys the object. */
    ~DataCallback() override = default;
};

/**
 * @brief The short-lived object through which the service answers one start request.
 *
 * The service calls it with request code 103, the result and the session id. The waiting caller holds it for the
 * whole wait; an answer after the caller gave up is dropped.
 */
class TARNBY_EXPORT CollabAbilityInnerCallback : public CallbackSkeleton {
public:
    /** @brief Makes a callback with no answer yet. */
    CollabAbilityInnerCallback() = default;
    /** @brief Destroys the object. */
    ~CollabAbilityInnerCallback() override = default;

    /**
     * @brief Takes the service's answer: the token, then (request code 103) int32 result and int32 session id.
     * @param code The request code.
     * @param data The service's request.
     * @param reply Not written.
     * @param option Not used.
     * @return 0; 1010 (ERR_TRBY_WRONG_TOKEN) for another token, 1001 (ERR_TRBY_INVALID_PARAM) for another code.
     */
    int32_t OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    /**
     * @brief Stores (result, id) and wakes the waiting caller; called on an IPC thread.
     * @param result The service's result of the start.
     * @param id The session id the service gave.
     */
    void OnStartCollaboration(int32_t result, int32_t id);

private:
    friend std::pair<int32_t, int32_t> SendReqSync(sptr<CollabAbilityInnerCallback> callback, MessageParcel &data,
                                                   MessageParcel &reply, MessageOption &option);

    Pending<std::pair<int32_t, int32_t>> pending_;
};

/**
 * @brief Sends a start request to the service and waits for its answer through `callback`.
 *
 * Blocks the calling thread until `callback` receives the answer or 20 seconds pass.
 * @param callback The inner callback written into `data`; the caller keeps it for the wait.
 * @param data The request (request code 101), complete.
 * @param reply The service's reply; left for the caller.
 * @param option The options of the send.
 * @return The answer (result, session id); (1001, 0) for a null callback (nothing is sent), (1012, 0) without a
 *         service, (461374453, 0) when the send fails, (461635601, 0) when no answer comes within 20 seconds.
 */
TARNBY_EXPORT std::pair<int32_t, int32_t> SendReqSync(sptr<CollabAbilityInnerCallback> callback, MessageParcel &data,
                                                      MessageParcel &reply, MessageOption &option);

/**
 * @brief Starts, feeds and stops collaboration sessions with targets on other devices.
 *
 * Holds no state: the service keeps the sessions and registrations. Any thread may call it; each start blocks its
 * caller until the service answers (at most 20 seconds after the call). Every start returns (status, session id);
 * the id is 0 whenever the status is a failure of the library's own: 1001 (null target), 1007 (a field not
 * written), 1012 (no service), 461374453 (the send failed), 461635601 (no answer within 20 seconds).
 */
class TARNBY_EXPORT CollaborationAbility {
public:
    /** @return The one instance. */
    static CollaborationAbility &GetInstance();

    /**
     * @brief Starts a session from the local system ability `localId` to `target`, without extra data.
     * @param localId The local system ability's id.
     * @param target The remote end; must not be null.
     * @return (status, session id) as described for the class.
     */
    std::pair<int32_t, int32_t> StartCollaboration(int32_t localId, sptr<TargetInfo> target);
    /**
     * @brief Starts a session from the local system ability `localId` to `target`.
     * @param localId The local system ability's id.
     * @param target The remote end; must not be null.
     * @param extraData 1 to 4,190,207 bytes that travel with the request; an empty or longer one is left out.
     * @return (status, session id) as described for the class.
     */
    std::pair<int32_t, int32_t> StartCollaboration(int32_t localId, sptr<TargetInfo> target,
                                                   const std::string &extraData);
    /**
     * @brief Starts a session from the local ability `bundleName`/`abilityName` to `target`.
     * @param bundleName The local ability's bundle.
     * @param abilityName The local ability's name.
     * @param target The remote end; must not be null.
     * @param extraData Travels as for the system-ability start.
     * @return (status, session id) as described for the class.
     */
    std::pair<int32_t, int32_t> StartCollaboration(const std::string &bundleName, const std::string &abilityName,
                                                   sptr<TargetInfo> target, const std::string &extraData);
    /**
     * @brief Starts a session between two targets, with data for the destination.
     * @param srcTarget The source end; must not be null.
     * @param dstTarget The destination end; must not be null.
     * @param data `dataLen` bytes, not owned and read during the call; may be null, then only `dataLen` is sent.
     * @param dataLen The number of bytes, at most 4,190,208.
     * @return (status, session id) as described for the class.
     */
    std::pair<int32_t, int32_t> StartCollaboration(sptr<TargetInfo> srcTarget, sptr<TargetInfo> dstTarget,
                                                   const char *data, uint32_t dataLen);

    /**
     * @brief Registers `callback` for the sessions of `target`: the peer's data and events arrive there.
     * @param target The remote end whose messages the callback takes.
     * @param callback The callback; called on IPC threads, possibly several at once.
     * @return The service's answer; 1001, 1007, 1012 or 461374453 for the library's own failures.
     */
    int32_t RegisterCollaborationCallback(sptr<TargetInfo> target, sptr<CollabAbilityCallback> callback);
    /**
     * @brief Removes the callback registered for `target`.
     * @param target The remote end.
     * @return The service's answer; 1001, 1007, 1012 or 461374453 for the library's own failures.
     */
    int32_t UnRegisterCollaborationCallback(sptr<TargetInfo> target);
    /**
     * @brief Sends data over a session.
     * @param collaborationSessionId The session, as a start returned it.
     * @param data The bytes, not owned and read during the call; must not be null.
     * @param dataLen 1 to 4,190,208.
     * @return The service's answer; 1001 (null or empty data), 461635592 (ERR_TRBY_DATA_TOO_LARGE), 1007, 1012 or
     *         461374453 for the library's own failures.
     */
    int32_t SendCollaborationData(int32_t collaborationSessionId, const char *data, uint32_t dataLen);
    /**
     * @brief Stops a session.
     * @param collaborationSessionId The session, as a start returned it.
     * @return The service's answer; 1001, 1007, 1012 or 461374453 for the library's own failures.
     */
    int32_t StopCollaboration(int32_t collaborationSessionId);

    /**
     * @brief Placeholder: logs, touches none of its arguments.
     * @param collaborationSessionId Not used.
     * @param startInfos Left as it is.
     * @return 0.
     */
    int32_t GetCollaborationStartInfos(int32_t collaborationSessionId, std::vector<sptr<StartInfo>> &startInfos);
    /**
     * @brief Placeholder: logs, touches none of its arguments.
     * @param collaborationSessionId Not used.
     * @param callback Not used.
     * @return 0.
     */
    int32_t RegisterCollaborationDataCallback(int32_t collaborationSessionId, sptr<DataCallback> callback);
    /**
     * @brief Placeholder: logs, touches none of its arguments.
     * @param collaborationSessionId Not used.
     * @return 0.
     */
    int32_t UnRegisterCollaborationDataCallback(int32_t collaborationSessionId);

private:
    CollaborationAbility() = default;
};
} // namespace OHOS::Tarnby

#endif // COLLABORATION_ABILITY_H
