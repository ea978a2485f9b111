// SPDX-License-Identifier: Apache-2.0
#include "ipc_object_proxy.h"

#include <string>

#include "boundary.h"
#include "flat_object.h"
#include "ipc_log.h"
#include "ipc_thread_pool.h"
#include "message_parcel.h"

namespace OHOS {
namespace {
std::u16string ProxyDescriptor(int handle)
{
    std::string digits = std::to_string(handle);
    return u"IPCObjectProxy" + std::u16string(digits.begin(), digits.end());
}
} // namespace

// Proxies made by the runtime carry no descriptor and are named after their handle.
IPCObjectProxy::IPCObjectProxy(int handle, std::u16string descriptor, int proto) :
    IRemoteObject(descriptor.empty() ? ProxyDescriptor(handle) : descriptor), handle_(handle), proto_(proto),
    named_(!descriptor.empty())
{
}

IPCObjectProxy::~IPCObjectProxy() = default;

void IPCObjectProxy::Attach(const sptr<HostIpc::RemoteEnd> &end)
{
    std::lock_guard<std::mutex> lock(mutex_);
    end_ = end;
}

sptr<HostIpc::RemoteEnd> IPCObjectProxy::End(bool &dead)
{
    std::lock_guard<std::mutex> lock(mutex_);
    dead = isDead_;
    return end_;
}

// Each recipient is told once, on an IPC thread, with this proxy.
void IPCObjectProxy::NotifyDeath(std::vector<sptr<DeathRecipient>> recipients)
{
    sptr<IRemoteObject> self(this);
    auto task = [self, recipients = std::move(recipients)] {
        wptr<IRemoteObject> dead(self);
        for (const auto &recipient : recipients) {
            recipient->OnRemoteDied(dead);
        }
    };
    if (!HostIpc::IpcThreadPool::Get().Submit(std::move(task))) {
        HILOG_IPC_ERROR("a death cannot be reported: no IPC thread");
    }
}

void IPCObjectProxy::MarkDead()
{
    std::vector<sptr<DeathRecipient>> recipients;
    sptr<HostIpc::RemoteEnd> end; // released after the lock: what it holds may do anything when it goes
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (isDead_) {
            return;
        }
        isDead_ = true;
        recipients.swap(recipients_);
        end = std::move(end_);
    }
    if (!recipients.empty()) {
        NotifyDeath(std::move(recipients));
    }
}

int IPCObjectProxy::SendRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    if (code > LAST_CALL_TRANSACTION && code != DUMP_TRANSACTION) {
        HILOG_IPC_WARN("code %{public}u is out of range", code);
        return IPC_PROXY_INVALID_CODE_ERR;
    }
    bool dead = false;
    sptr<HostIpc::RemoteEnd> end = End(dead);
    if (dead) {
        return ERR_DEAD_OBJECT;
    }
    if (end == nullptr) {
        return ERR_NULL_OBJECT;
    }
    return end->Transact(code, data, reply, option);
}

bool IPCObjectProxy::IsObjectDead() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return isDead_;
}

int32_t IPCObjectProxy::GetObjectRefCount()
{
    MessageParcel reply;
    if (SendFrameworkRequest(SYNCHRONIZE_REFERENCE, reply) != ERR_NONE) {
        return 0;
    }
    return reply.ReadInt32();
}

int IPCObjectProxy::Dump(int fd, const std::vector<std::u16string> &args)
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    if (!data.WriteFileDescriptor(fd) || !data.WriteString16Vector(args)) {
        return ERR_FLATTEN_OBJECT;
    }
    return SendRequest(DUMP_TRANSACTION, data, reply, option);
}

bool IPCObjectProxy::AddDeathRecipient(const sptr<DeathRecipient> &recipient)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (recipient == nullptr || isDead_) {
        return false;
    }
    recipients_.push_back(recipient);
    return true;
}

bool IPCObjectProxy::RemoveDeathRecipient(const sptr<DeathRecipient> &recipient)
{
    sptr<DeathRecipient> removed; // the last reference may go here; not under the lock
    std::lock_guard<std::mutex> lock(mutex_);
    if (recipient == nullptr || isDead_) {
        return false;
    }
    for (auto it = recipients_.begin(); it != recipients_.end(); ++it) {
        if (*it == recipient) {
            removed = std::move(*it);
            recipients_.erase(it);
            return true;
        }
    }
    return false;
}

// Framework codes bypass the range check that guards user codes.
int IPCObjectProxy::SendFrameworkRequest(uint32_t code, MessageParcel &reply)
{
    bool dead = false;
    sptr<HostIpc::RemoteEnd> end = End(dead);
    if (dead) {
        return ERR_DEAD_OBJECT;
    }
    if (end == nullptr) {
        return ERR_NULL_OBJECT;
    }
    MessageParcel data;
    MessageOption option;
    return end->Transact(code, data, reply, option);
}

std::u16string IPCObjectProxy::GetInterfaceDescriptor()
{
    if (named_) {
        return descriptor_;
    }
    MessageParcel reply;
    if (SendFrameworkRequest(INTERFACE_TRANSACTION, reply) != ERR_NONE) {
        return std::u16string();
    }
    return reply.ReadString16();
}

uint32_t IPCObjectProxy::GetHandle()
{
    return static_cast<uint32_t>(handle_);
}

int IPCObjectProxy::GetProto() const
{
    return proto_;
}

HostIpc::FlatObject HostIpc::FlattenRemoteObject(IRemoteObject &object)
{
    auto *proxy = object.IsProxyObject() ? dynamic_cast<IPCObjectProxy *>(&object) : nullptr;
    if (proxy != nullptr) {
        FlatObject flat = MakeFlat(TYPE_HANDLE, 0);
        flat.handle = proxy->GetHandle();
        return flat;
    }
    auto address = reinterpret_cast<uintptr_t>(&object);
    return MakeFlat(TYPE_BINDER, address, address);
}
} // namespace OHOS
