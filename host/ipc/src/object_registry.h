// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_OBJECT_REGISTRY_H
#define OHOS_HOST_IPC_OBJECT_REGISTRY_H

#include <functional>
#include <map>
#include <mutex>

#include "boundary.h"
#include "ipc_object_proxy.h"

namespace OHOS::HostIpc {
// One proxy per remote object while anybody holds it, and which objects were killed. An entry is keyed by what
// the proxy stands for (a local object of the in-process boundary, or a socket end) and checked against a weak
// reference, so an address reused by a new object never inherits an old entry. Above the seam: both boundaries
// keep their proxies here.
//
// Threads: any. Locks: mutex_, taken after a waiter's or a table's; proxies are marked dead and released after it.
class ObjectRegistry {
public:
    static ObjectRegistry &Get();

    // The shared proxy for `key` (held alive by the caller), bound to the end `makeEnd` gives when a new proxy is
    // needed. A killed key yields a dead proxy.
    sptr<IRemoteObject> ProxyFor(RefBase *key, const std::function<sptr<RemoteEnd>()> &makeEnd);
    // The proxy of `key` dies, and so does every later one of it.
    void Kill(RefBase *key);
    bool IsKilled(RefBase *key);
    // The end a proxy is bound to; null for a local object or a dead proxy.
    static sptr<RemoteEnd> EndOf(const sptr<IRemoteObject> &object);

private:
    struct Entry {
        wptr<RefBase> key;
        wptr<IPCObjectProxy> proxy;
        bool killed = false;
    };

    ObjectRegistry() = default;
    // The live entry for `key`, created when missing; a stale entry left by a dead key is replaced.
    Entry &EntryForLocked(RefBase *key);
    // Drops the entries nobody needs any more (their key gone, or their proxy gone and no death to remember), once
    // the table has doubled since the last time: proxies never call back into the registry.
    void PruneLocked();

    std::mutex mutex_;
    std::map<const RefBase *, Entry> entries_;
    int nextHandle_ = 1;
    size_t pruneAt_ = 64;
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_OBJECT_REGISTRY_H
