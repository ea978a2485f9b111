// SPDX-License-Identifier: Apache-2.0
#include "tarnby_proxy.h"

#include <mutex>

#include "if_system_ability_manager.h"
#include "iservice_registry.h"
#include "string_ex.h"
#include "tarnby_errors.h"
#include "tarnby_log.h"

namespace OHOS::Tarnby {
namespace {
constexpr LogLabel LOG_LABEL = LABEL_PROXY;
} // namespace

// Initialised at load in this order: the creator of proxies is registered first, then the lock and the empty state.
BrokerDelegator<TarnbyProxy> TarnbyProxy::delegator_;
std::shared_mutex TarnbyProxy::mutex_;
sptr<ITarnbyService> TarnbyProxy::instance_;
sptr<IRemoteObject> TarnbyProxy::trbyObject_;

TarnbyProxy::TarnbyProxy(const sptr<IRemoteObject> &impl) : IRemoteProxy<ITarnbyService>(impl) {}

TarnbyProxy::~TarnbyProxy()
{
    TRBY_LOGI("clear resource when death");
}

sptr<ITarnbyService> TarnbyProxy::GetInstance()
{
    {
        std::shared_lock<std::shared_mutex> lock(mutex_);
        if (instance_ != nullptr) {
            return instance_;
        }
    }
    std::unique_lock<std::shared_mutex> lock(mutex_);
    if (instance_ != nullptr) {
        return instance_;
    }
    sptr<ISystemAbilityManager> manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (manager == nullptr) {
        TRBY_LOGE("failed to get system manager");
        return nullptr;
    }
    sptr<IRemoteObject> object = manager->GetSystemAbility(TARNBY_SA_ID);
    if (object == nullptr) {
        TRBY_LOGE("failed to get TARNBY_SA_ID");
        return nullptr;
    }
    sptr<ITarnbyService> proxy = iface_cast<ITarnbyService>(object);
    if (proxy == nullptr) {
        TRBY_LOGE("failed to iface cast");
        return nullptr;
    }
    trbyObject_ = object;
    instance_ = proxy;
    return instance_;
}

sptr<IRemoteObject> TarnbyProxy::GetTarnbyRemoteObject()
{
    if (GetInstance() == nullptr) {
        return nullptr;
    }
    std::unique_lock<std::shared_mutex> lock(mutex_);
    return trbyObject_;
}

void TarnbyProxy::DestoryInstance()
{
    // The references are released after the lock: the proxy's destructor logs, and nothing else should run under it.
    sptr<IRemoteObject> object;
    sptr<ITarnbyService> instance;
    {
        std::unique_lock<std::shared_mutex> lock(mutex_);
        object = std::move(trbyObject_);
        instance = std::move(instance_);
        trbyObject_ = nullptr;
        instance_ = nullptr;
    }
}

int32_t TarnbyProxy::BuildCollaborationServiceCode(MessageParcel &data, uint32_t serviceType, uint32_t subServiceType,
                                                   uint32_t operateCode, uint32_t subOperateCode, uint32_t command)
{
    if (!data.WriteInterfaceToken(GetDescriptor())) {
        TRBY_LOGE("write interface token failed");
        return ERR_TRBY_WRITE_TOKEN;
    }
    for (uint32_t field : {serviceType, subServiceType, operateCode, subOperateCode, command}) {
        if (!data.WriteUint32(field)) {
            TRBY_LOGE("write to parcel failed");
            return ERR_TRBY_WRITE_PARCEL;
        }
    }
    TRBY_LOGI("sender interface is %{public}s", Str16ToStr8(GetDescriptor()).c_str());
    return TRBY_OK;
}

int32_t TarnbyProxy::CollaborationToDeviceEvent(MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    return SendEvent(__FUNCTION__, COLLABORATION_TO_DEVICE_EVENT, data, reply, option);
}

int32_t TarnbyProxy::SurfaceTransferEvent(MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    return SendEvent(__FUNCTION__, SURFACE_TRANSFER_EVENT, data, reply, option);
}

int32_t TarnbyProxy::VeskorEvent(MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    return SendEvent(__FUNCTION__, VESKOR_EVENT, data, reply, option);
}

// The shared body of the three send operations; lines are logged under the name of the operation that called it.
int32_t TarnbyProxy::SendEvent(const char *caller, uint32_t code, MessageParcel &data, MessageParcel &reply,
                               MessageOption &option)
{
    TRBY_LOG_FN(LOG_LABEL, LOG_INFO, caller, "enter");
    sptr<IRemoteObject> remote = Remote();
    if (remote == nullptr) {
        TRBY_LOG_FN(LOG_LABEL, LOG_ERROR, caller, "Remote is nullptr");
        return ERR_TRBY_NULL_REMOTE;
    }
    int result = remote->SendRequest(code, data, reply, option);
    if (result != ERR_NONE) {
        TRBY_LOG_FN(LOG_LABEL, LOG_ERROR, caller, "failed to SendRequest, error: %{public}d", result);
        return ERR_TRBY_SEND_REQUEST;
    }
    return TRBY_OK;
}
} // namespace OHOS::Tarnby
