#ifndef TARNBY_DEATH_RECIPIENT_H
#define TARNBY_DEATH_RECIPIENT_H

// Watches the Tarnby service's remote object. When the service dies the caller's callback is told with the code the
// fronts return for a missing service (1012), and the library's proxy is dropped so that the next request looks the
// service up again.
#include <cstdint>
#include <mutex>
#include <string>

#include "callback_skeleton.h"
#include "iremote_object.h"
#include "refbase.h"
#include "tarnby_export.h"

namespace OHOS::Tarnby {
class TARNBY_EXPORT DeathRecipient : public IRemoteObject::DeathRecipient {
public:
    DeathRecipient() = default;
    ~DeathRecipient() override;

    // Called by the IPC framework, on one of its threads, when the service dies; `remote` is not used. The stored
    // callback gets OnEvent(1012, id, category) on that thread, then the callback and id are forgotten (the category
    // stays) and the library's proxy is dropped.
    void OnRemoteDied(const wptr<IRemoteObject> &remote) override;

    // The event id that the death notification carries (the id the service gave the surface transfer).
    void SetDeathRecipientid(uint32_t id);
    // The data string of the death notification, "errorcode" unless set.
    void SetCategory(std::string category);
    // Keeps the first callback given until the next death: a later one is ignored while one is stored.
    void SetCallback(sptr<CallbackSkeleton> callback);
    // Back to the initial state: id 0, no callback, category "errorcode".
    void DestroyData();

private:
    static constexpr const char *DEFAULT_CATEGORY = "errorcode";

    // The setters run on the caller's threads while a death is reported on an IPC thread; the lock keeps the fields
    // consistent, and the callback is called outside it so that it may call back into the recipient.
    std::mutex mutex_;
    uint32_t deathRecipientId_ = 0;
    std::string category_ = DEFAULT_CATEGORY;
    sptr<CallbackSkeleton> callback_;
};
} // namespace OHOS::Tarnby

#endif // TARNBY_DEATH_RECIPIENT_H
