#ifndef OHOS_HOST_IPC_OBJECT_REGISTRY_H
#define OHOS_HOST_IPC_OBJECT_REGISTRY_H

#include <map>
#include <mutex>

#include "ipc_object_proxy.h"

namespace OHOS::HostIpc {
// Which local objects other "processes" hold proxies to, and which of them were killed. One proxy is shared per
// object while anybody holds it; entries are keyed by address and checked against a weak reference, so an
// address reused by a new object never inherits an old entry.
class ObjectRegistry {
public:
    static ObjectRegistry &Get();

    // The shared proxy for `object`; a proxy passes through unchanged. A killed object yields a dead proxy.
    sptr<IRemoteObject> ProxyFor(const sptr<IRemoteObject> &object);
    void Kill(const sptr<IRemoteObject> &object);
    bool IsKilled(const sptr<IRemoteObject> &object);
    // What a proxy stands for (null once it died); any other object is its own target.
    static sptr<IRemoteObject> TargetOf(const sptr<IRemoteObject> &object);
    // Called by a proxy that is being destroyed.
    void Forget(const IRemoteObject *key, const IPCObjectProxy *proxy);

private:
    struct Entry {
        wptr<IRemoteObject> target;
        const IPCObjectProxy *proxyAddress = nullptr;
        wptr<IPCObjectProxy> proxy;
        bool killed = false;
    };

    ObjectRegistry() = default;
    // The live entry for `object`, created when missing; a stale entry left by a dead object is replaced.
    Entry &EntryForLocked(const sptr<IRemoteObject> &object);
    sptr<IPCObjectProxy> NewProxyLocked(const sptr<IRemoteObject> &object, Entry &entry);

    std::mutex mutex_;
    std::map<const IRemoteObject *, Entry> entries_;
    int nextHandle_ = 1;
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_OBJECT_REGISTRY_H
