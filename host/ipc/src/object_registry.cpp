// SPDX-License-Identifier: Apache-2.0
#include "object_registry.h"

#include <algorithm>
#include <iterator>
#include <new>

namespace OHOS::HostIpc {
// Never destroyed: proxies may outlive every other static and still unregister themselves.
ObjectRegistry &ObjectRegistry::Get()
{
    static ObjectRegistry *registry = new ObjectRegistry();
    return *registry;
}

void ObjectRegistry::PruneLocked()
{
    if (entries_.size() < pruneAt_) {
        return;
    }
    for (auto entry = entries_.begin(); entry != entries_.end();) {
        bool keyGone = entry->second.key.promote() == nullptr;
        bool proxyGone = entry->second.proxy.promote() == nullptr;
        entry = keyGone || (proxyGone && !entry->second.killed) ? entries_.erase(entry) : std::next(entry);
    }
    pruneAt_ = std::max<size_t>(64, entries_.size() * 2);
}

ObjectRegistry::Entry &ObjectRegistry::EntryForLocked(RefBase *key)
{
    PruneLocked();
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
    sptr<IPCObjectProxy> proxy; // released after the lock: the last release of another proxy may run here
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
    proxy->Attach(end);
    if (entry.killed) {
        proxy->MarkDead(); // nobody could have added a recipient yet, so nothing is dispatched
    }
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
