// SPDX-License-Identifier: Apache-2.0
#include "object_registry.h"

#include <new>

namespace OHOS::HostIpc {
// Never destroyed: proxies may outlive every other static and still unregister themselves.
ObjectRegistry &ObjectRegistry::Get()
{
    static ObjectRegistry *registry = new ObjectRegistry();
    return *registry;
}

ObjectRegistry::Entry &ObjectRegistry::EntryForLocked(RefBase *key)
{
    Entry &entry = entries_[key];
    // The caller holds `key`, so an entry of this very key promotes; one of a dead predecessor does not.
    if (entry.key.promote().GetRefPtr() != key) {
        entry = Entry();
        entry.key = key;
    }
    return entry;
}

sptr<IRemoteObject> ObjectRegistry::ProxyFor(RefBase *key, const std::function<sptr<RemoteEnd>()> &makeEnd)
{
    sptr<IPCObjectProxy> proxy; // released after the lock: a last release re-enters through Forget
    std::lock_guard<std::mutex> lock(mutex_);
    Entry &entry = EntryForLocked(key);
    proxy = entry.proxy.promote();
    if (proxy != nullptr) {
        return proxy;
    }
    proxy = new (std::nothrow) IPCObjectProxy(nextHandle_++);
    sptr<RemoteEnd> end = entry.killed ? nullptr : makeEnd();
    if (proxy == nullptr || (end == nullptr && !entry.killed)) {
        return nullptr;
    }
    proxy->Attach(end, key);
    if (entry.killed) {
        proxy->MarkDead(); // nobody could have added a recipient yet, so nothing is dispatched
    }
    entry.proxyAddress = proxy.GetRefPtr();
    entry.proxy = proxy;
    return proxy;
}

void ObjectRegistry::Kill(RefBase *key)
{
    if (key == nullptr) {
        return;
    }
    sptr<IPCObjectProxy> proxy;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        Entry &entry = EntryForLocked(key);
        entry.killed = true;
        proxy = entry.proxy.promote();
    }
    if (proxy != nullptr) {
        proxy->MarkDead();
    }
}

bool ObjectRegistry::IsKilled(RefBase *key)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = entries_.find(key);
    return found != entries_.end() && found->second.killed && found->second.key.promote().GetRefPtr() == key;
}

void ObjectRegistry::Forget(const RefBase *key, const IPCObjectProxy *proxy)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = entries_.find(key);
    if (found == entries_.end() || found->second.proxyAddress != proxy) {
        return;
    }
    if (found->second.killed) {
        found->second.proxyAddress = nullptr; // the death is remembered for later proxies
    } else {
        entries_.erase(found);
    }
}

sptr<RemoteEnd> ObjectRegistry::EndOf(const sptr<IRemoteObject> &object)
{
    auto *proxy = object == nullptr ? nullptr : dynamic_cast<IPCObjectProxy *>(object.GetRefPtr());
    if (proxy == nullptr) {
        return nullptr;
    }
    bool dead = false;
    return proxy->End(dead);
}
} // namespace OHOS::HostIpc
