#include "fake_tarnby_service.h"

#include "host_ipc.h"
#include "if_system_ability_manager.h"
#include "ipc_skeleton.h"
#include "iservice_registry.h"

namespace OHOS::TarnbyTest {
FakeTarnbyService::FakeTarnbyService() : IPCObjectStub(SERVICE_TOKEN) {}

int FakeTarnbyService::OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    RequestEnvelope envelope;
    envelope.code = code;
    envelope.flags = option.GetFlags();
    envelope.waitTime = option.GetWaitTime();
    envelope.token = data.ReadInterfaceToken();
    envelope.serviceType = data.ReadUint32();
    envelope.subServiceType = data.ReadUint32();
    envelope.operateCode = data.ReadUint32();
    envelope.subOperateCode = data.ReadUint32();
    envelope.command = data.ReadUint32();
    envelope.callingPid = IPCSkeleton::GetCallingPid();
    envelope.callingUid = IPCSkeleton::GetCallingUid();

    RequestHandler handler = FindHandler(envelope.serviceType, envelope.subServiceType);
    int result = 0;
    if (handler) {
        result = handler(envelope, data, reply);
    } else {
        reply.WriteInt32(0);
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        requests_.push_back(envelope);
    }
    handled_.notify_all();
    return result;
}

void FakeTarnbyService::On(uint32_t serviceType, uint32_t subServiceType, RequestHandler handler)
{
    std::lock_guard<std::mutex> lock(mutex_);
    handlers_[{serviceType, subServiceType}] = std::move(handler);
}

void FakeTarnbyService::OnAny(RequestHandler handler)
{
    std::lock_guard<std::mutex> lock(mutex_);
    defaultHandler_ = std::move(handler);
}

RequestHandler FakeTarnbyService::FindHandler(uint32_t serviceType, uint32_t subServiceType) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = handlers_.find({serviceType, subServiceType});
    return found != handlers_.end() ? found->second : defaultHandler_;
}

std::vector<RequestEnvelope> FakeTarnbyService::Requests() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

size_t FakeTarnbyService::RequestCount() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_.size();
}

bool FakeTarnbyService::WaitForRequests(size_t count, std::chrono::milliseconds timeout) const
{
    std::unique_lock<std::mutex> lock(mutex_);
    return handled_.wait_for(lock, timeout, [this, count] { return requests_.size() >= count; });
}

bool FakeTarnbyService::Register()
{
    sptr<ISystemAbilityManager> manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    return manager != nullptr && manager->AddSystemAbility(TARNBY_SERVICE_ID, this) == ERR_OK;
}

void FakeTarnbyService::Kill()
{
    HostIpc::KillObject(this);
}

RequestHandler FakeTarnbyService::ReplyInt32(int32_t value)
{
    return [value](const RequestEnvelope &, MessageParcel &, MessageParcel &reply) {
        reply.WriteInt32(value);
        return 0;
    };
}

int SendCallback(const sptr<IRemoteObject> &callback, uint32_t code, const std::function<void(MessageParcel &)> &fill,
                 MessageParcel *reply)
{
    MessageParcel data;
    MessageParcel localReply;
    MessageOption option(MessageOption::TF_SYNC);
    data.WriteInterfaceToken(CALLBACK_TOKEN);
    if (fill) {
        fill(data);
    }
    return callback->SendRequest(code, data, reply != nullptr ? *reply : localReply, option);
}
} // namespace OHOS::TarnbyTest
