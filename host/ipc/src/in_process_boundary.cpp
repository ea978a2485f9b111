// SPDX-License-Identifier: Apache-2.0
#include "in_process_boundary.h"

#include <memory>
#include <new>

#include "call_waiter.h"
#include "ipc_log.h"
#include "ipc_thread_pool.h"
#include "object_registry.h"
#include "parcel_crossing.h"
#include "request_serving.h"
#include "thread_identity.h"

namespace OHOS::HostIpc {
namespace {
bool IsAsync(const MessageOption &option)
{
    return (static_cast<uint32_t>(option.GetFlags()) & MessageOption::TF_ASYNC) != 0;
}

// One request in flight inside this process. The handler's thread drops the request side before it reports
// completion; the reply is copied to the caller under the waiter's lock, so a caller that gave up never sees it.
struct Call {
    sptr<IRemoteObject> target;
    uint32_t code = 0;
    MessageOption option;
    Identity sender{};
    std::unique_ptr<MessageParcel> request;
    std::shared_ptr<CallWaiter> waiter;
};

sptr<IRemoteObject> ArrivingObject(const sptr<IRemoteObject> &object)
{
    return InProcessBoundary::Get().ProxyFor(object);
}

void Serve(Call &call, MessageParcel *callerReply)
{
    MessageParcel reply;
    int result = ServeRequest(call.target, call.code, *call.request, reply, call.option, call.sender,
                              ServingContext{call.waiter, {}, 0});
    call.request.reset();
    call.target = nullptr;
    if (call.waiter == nullptr) {
        return; // nobody waits for a one-way reply
    }
    call.waiter->Complete(result, [&reply, callerReply](bool waiting, int &result) {
        if (waiting && reply.GetDataSize() != 0 && !ParcelCrossing::Cross(reply, *callerReply, ArrivingObject)) {
            result = TRANSPORT_FAILED_REPLY;
        }
    });
}

std::shared_ptr<Call> PrepareCall(const sptr<IRemoteObject> &target, uint32_t code, const MessageParcel &data,
                                  const MessageOption &option)
{
    std::shared_ptr<Call> call(new (std::nothrow) Call());
    if (call == nullptr) {
        return nullptr;
    }
    call->request.reset(new (std::nothrow) MessageParcel());
    if (call->request == nullptr || !ParcelCrossing::Cross(data, *call->request, ArrivingObject)) {
        return nullptr;
    }
    call->target = target;
    call->code = code;
    call->option = option;
    call->sender = SenderIdentity();
    return call;
}

// A nested request goes to the thread that waits for the request being served here, as the driver hands it to
// the waiting thread; any other request to a free IPC thread.
bool Dispatch(std::function<void()> task)
{
    std::shared_ptr<CallWaiter> caller = CurrentServing().localCaller.lock();
    if (caller != nullptr && caller->Deliver(task)) {
        return true;
    }
    return IpcThreadPool::Get().Submit(std::move(task));
}

int SendOneWay(const std::shared_ptr<Call> &call)
{
    std::function<void()> runNow;
    OneWayLanes::Get().Enter(
        call->target.GetRefPtr(), [call] { Serve(*call, nullptr); }, runNow);
    return !runNow || IpcThreadPool::Get().Submit(std::move(runNow)) ? ERR_NONE : TRANSPORT_FAILED_REPLY;
}

// What a proxy of the in-process boundary is bound to: the local object that plays the other process.
class LocalEnd : public RemoteEnd {
public:
    explicit LocalEnd(const sptr<IRemoteObject> &object) : object_(object) {}

    int Transact(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override
    {
        std::shared_ptr<Call> call = PrepareCall(object_, code, data, option);
        if (call == nullptr) {
            HILOG_IPC_ERROR("request %{public}u cannot be carried", code);
            return TRANSPORT_FAILED_REPLY;
        }
        if (IsAsync(option)) {
            return SendOneWay(call);
        }
        call->waiter = std::make_shared<CallWaiter>(ThreadToken());
        MessageParcel *callerReply = &reply;
        if (!Dispatch([call, callerReply] { Serve(*call, callerReply); })) {
            return TRANSPORT_FAILED_REPLY;
        }
        if (!call->waiter->Wait(DeadlineOf(option))) {
            HILOG_IPC_WARN("request %{public}u got no reply within %{public}d s", code, option.GetWaitTime());
            return ERR_TIMED_OUT;
        }
        return call->waiter->Result();
    }

    sptr<IRemoteObject> LocalObject() override
    {
        return object_;
    }

private:
    const sptr<IRemoteObject> object_;
};
} // namespace

InProcessBoundary &InProcessBoundary::Get()
{
    static InProcessBoundary *boundary = new InProcessBoundary();
    return *boundary;
}

sptr<IRemoteObject> InProcessBoundary::ProxyFor(const sptr<IRemoteObject> &object)
{
    if (object == nullptr || object->IsProxyObject()) {
        return object;
    }
    return ObjectRegistry::Get().ProxyFor(object.GetRefPtr(),
                                          [&object] { return sptr<RemoteEnd>(new (std::nothrow) LocalEnd(object)); });
}

// Given a proxy, the object behind it dies; a dead proxy has nothing left to kill.
void InProcessBoundary::Kill(const sptr<IRemoteObject> &object)
{
    if (object == nullptr || !object->IsProxyObject()) {
        return ObjectRegistry::Get().Kill(object.GetRefPtr());
    }
    sptr<RemoteEnd> end = ObjectRegistry::EndOf(object);
    if (end != nullptr) {
        Kill(end->LocalObject());
    }
}
} // namespace OHOS::HostIpc
