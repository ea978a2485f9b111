// SPDX-License-Identifier: Apache-2.0
#include "death_recipient.h"

#include <utility>

#include "tarnby_errors.h"
#include "tarnby_log.h"
#include "tarnby_proxy.h"

namespace OHOS::Tarnby {
namespace {
constexpr LogLabel LOG_LABEL = LABEL_CLIENT;
} // namespace

DeathRecipient::~DeathRecipient() = default;

void DeathRecipient::OnRemoteDied(const wptr<IRemoteObject> &remote)
{
    TRBY_LOGI("enter");
    sptr<CallbackSkeleton> callback;
    uint32_t id = 0;
    std::string category;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        callback = std::move(callback_);
        id = deathRecipientId_;
        deathRecipientId_ = 0;
        category = category_;
    }
    if (callback != nullptr) {
        callback->OnEvent(static_cast<uint32_t>(ERR_TRBY_SERVICE_DEAD), id, category);
        callback = nullptr;
    } else {
        TRBY_LOGI("callback is nullptr.");
    }
    TarnbyProxy::DestoryInstance();
    TRBY_LOGI("leave");
}

void DeathRecipient::SetDeathRecipientid(uint32_t id)
{
    TRBY_LOGI("enter");
    std::lock_guard<std::mutex> lock(mutex_);
    deathRecipientId_ = id;
}

void DeathRecipient::SetCategory(std::string category)
{
    TRBY_LOGI("enter");
    std::lock_guard<std::mutex> lock(mutex_);
    category_ = std::move(category);
}

void DeathRecipient::SetCallback(sptr<CallbackSkeleton> callback)
{
    TRBY_LOGI("enter");
    std::lock_guard<std::mutex> lock(mutex_);
    if (callback_ == nullptr) {
        callback_ = std::move(callback);
    }
}

void DeathRecipient::DestroyData()
{
    sptr<CallbackSkeleton> released;
    std::lock_guard<std::mutex> lock(mutex_);
    deathRecipientId_ = 0;
    released = std::move(callback_);
    category_ = DEFAULT_CATEGORY;
}
} // namespace OHOS::Tarnby
