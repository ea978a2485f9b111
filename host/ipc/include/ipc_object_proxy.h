// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_IPC_IPC_OBJECT_PROXY_H
#define OHOS_IPC_IPC_OBJECT_PROXY_H

#include <mutex>
#include <vector>

#include "iremote_object.h"

namespace OHOS {
namespace HostIpc {
class ObjectRegistry;
class RemoteEnd;
} // namespace HostIpc

// Stands for an object of another process. Requests cross the process boundary; the proxy learns when the
// other side dies and tells its death recipients.
class IPCObjectProxy : public IRemoteObject {
public:
    // Without a descriptor the proxy is named "IPCObjectProxy<handle>", as the runtime names the proxies it makes.
    explicit IPCObjectProxy(int handle, std::u16string descriptor = std::u16string(), int proto = IF_PROT_DEFAULT);
    ~IPCObjectProxy() override;

    // Codes above LAST_CALL_TRANSACTION give IPC_PROXY_INVALID_CODE_ERR, a dead proxy ERR_DEAD_OBJECT.
    int SendRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    bool IsProxyObject() const override
    {
        return true;
    }
    bool IsObjectDead() const override;
    // The strong count the other side reports (SYNCHRONIZE_REFERENCE); 0 when it cannot answer.
    int32_t GetObjectRefCount() override;
    int Dump(int fd, const std::vector<std::u16string> &args) override;
    // The recipient is held until the death is reported or it is removed; false if null or already dead.
    bool AddDeathRecipient(const sptr<DeathRecipient> &recipient) override;
    // False if null, dead, or never added.
    bool RemoveDeathRecipient(const sptr<DeathRecipient> &recipient) override;
    // The descriptor the proxy was made with; a proxy the runtime made without one asks the other side.
    std::u16string GetInterfaceDescriptor() override;

    uint32_t GetHandle();
    int GetProto() const;

private:
    friend class HostIpc::ObjectRegistry;

    // Binds the proxy to the end that reaches the other side.
    void Attach(const sptr<HostIpc::RemoteEnd> &end);
    // The other side died: later requests fail and every recipient is told once, on an IPC thread.
    void MarkDead();
    void NotifyDeath(std::vector<sptr<DeathRecipient>> recipients);
    sptr<HostIpc::RemoteEnd> End(bool &dead);
    int SendFrameworkRequest(uint32_t code, MessageParcel &reply);

    const int handle_;
    const int proto_;
    const bool named_; // made with a descriptor of its own
    mutable std::mutex mutex_;
    bool isDead_ = false;
    sptr<HostIpc::RemoteEnd> end_;
    std::vector<sptr<DeathRecipient>> recipients_;
};
} // namespace OHOS

#endif // OHOS_IPC_IPC_OBJECT_PROXY_H
