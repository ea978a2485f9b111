// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_DEATH_RECIPIENT_H
#define TARNBY_DEATH_RECIPIENT_H

/**
 * @file death_recipient.h
 * @brief Watches the Tarnby service's remote object.
 *
 * When the service dies the caller's callback is told with the code the fronts return for a missing service (1012),
 * and the library's proxy is dropped so that the next request looks the service up again.
 */
#include <cstdint>
#include <mutex>
#include <string>

#include "callback_skeleton.h"
#include "iremote_object.h"
#include "refbase.h"
#include "tarnby_export.h"

namespace OHOS::Tarnby {
/**
 * @brief Tells a callback when the service dies, and drops the library's proxy so that the next call looks the
 *        service up again.
 *
 * The surface transfer front owns the one instance (SurfaceTransferAbility::GetDeathRecipient). The setters run on
 * the caller's threads while a death is reported on an IPC thread; the callback is called outside the recipient's
 * lock, so it may call back into the recipient.
 */
class TARNBY_EXPORT DeathRecipient : public IRemoteObject::DeathRecipient {
public:
    /** @brief Makes a recipient with id 0, no callback and category "errorcode". */
    DeathRecipient() = default;
    /** @brief Destroys the object. */
    ~DeathRecipient() override;

    /**
     * @brief Called by the IPC framework, on one of its threads, when the service dies.
     *
     * The stored callback gets OnEvent(1012, id, category) on that thread, then the callback and id are forgotten (the
     * category stays) and the library's proxy is dropped.
     * @param remote Not used.
     */
    void OnRemoteDied(const wptr<IRemoteObject> &remote) override;

    /**
     * @brief Sets the event id that the death notification carries (the id the service gave the surface transfer).
     * @param id The id.
     */
    void SetDeathRecipientid(uint32_t id);
    /**
     * @brief Sets the data string of the death notification, "errorcode" unless set.
     * @param category The string.
     */
    void SetCategory(std::string category);
    /**
     * @brief Keeps the first callback given until the next death: a later one is ignored while one is stored.
     * @param callback The callback to tell.
     */
    void SetCallback(sptr<CallbackSkeleton> callback);
    /** @brief Back to the initial state: id 0, no callback, category "errorcode". */
    void DestroyData();

private:
    static constexpr const char *DEFAULT_CATEGORY = "errorcode";

    /**
     * @brief The setters run on the caller's threads while a death is reported on an IPC thread; the lock keeps the
     * fields consistent, and the callback is called outside it so that it may call back into the recipient.
     */
    std::mutex mutex_;
    uint32_t deathRecipientId_ = 0;
    std::string category_ = DEFAULT_CATEGORY;
    sptr<CallbackSkeleton> callback_;
};
} // namespace OHOS::Tarnby

#endif // TARNBY_DEATH_RECIPIENT_H
