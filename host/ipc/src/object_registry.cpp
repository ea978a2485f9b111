#include "object_registry.h"

#include <sys/socket.h>

#include <new>

#include "connection.h"

#include "host_ipc.h"
#include "host_ipc_proxy.h"

namespace OHOS::HostIpc {
// Never destroyed: proxies may outlive every other static and still unregister themselves.
ObjectRegistry &ObjectRegistry::Get()
{
    static ObjectRegistry *registry = new ObjectRegistry();
    return *registry;
}

ObjectRegistry::Entry &ObjectRegistry::EntryForLocked(const sptr<IRemoteObject> &object)
{
    Entry &entry = entries_[object.GetRefPtr()];
    // The caller holds `object`, so an entry of this very object promotes; one of a dead predecessor does not.
    if (entry.target.promote() != object) {
        entry = Entry();
        entry.target = object;
    }
    return entry;
}

sptr<IPCObjectProxy> ObjectRegistry::NewProxyLocked(const sptr<IRemoteObject> &object, Entry &entry)
{
    sptr<IPCObjectProxy> proxy = new (std::nothrow) IPCObjectProxy(nextHandle_++);
    if (proxy == nullptr) {
        return nullptr;
    }
    proxy->Attach(entry.killed ? nullptr : object, object.GetRefPtr());
    if (entry.killed) {
        proxy->MarkDead(); // nobody could have added a recipient yet, so nothing is dispatched
    }
    entry.proxyAddress = proxy.GetRefPtr();
    entry.proxy = proxy;
    return proxy;
}

sptr<IRemoteObject> ObjectRegistry::ProxyFor(const sptr<IRemoteObject> &object)
{
    if (object == nullptr || dynamic_cast<IPCObjectProxy *>(object.GetRefPtr()) != nullptr) {
        return object;
    }
    sptr<IPCObjectProxy> proxy; // released after the lock: a last release re-enters through Forget
    std::lock_guard<std::mutex> lock(mutex_);
    Entry &entry = EntryForLocked(object);
    proxy = entry.proxy.promote();
    if (proxy == nullptr) {
        proxy = NewProxyLocked(object, entry);
    }
    return proxy;
}

void ObjectRegistry::Kill(const sptr<IRemoteObject> &object)
{
    auto *given = object == nullptr ? nullptr : dynamic_cast<IPCObjectProxy *>(object.GetRefPtr());
    if (given != nullptr) {
        // Given a proxy, the object behind it dies; a proxy bound to nothing just dies itself.
        bool dead = false;
        sptr<IRemoteObject> target = given->Target(dead);
        if (target == nullptr) {
            given->MarkDead();
            return;
        }
        return Kill(target);
    }
    if (object == nullptr) {
        return;
    }
    sptr<IPCObjectProxy> proxy;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        Entry &entry = EntryForLocked(object);
        entry.killed = true;
        proxy = entry.proxy.promote();
    }
    if (proxy != nullptr) {
        proxy->MarkDead();
    }
}

bool ObjectRegistry::IsKilled(const sptr<IRemoteObject> &object)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = entries_.find(object.GetRefPtr());
    return found != entries_.end() && found->second.killed && found->second.target.promote() == object;
}

void ObjectRegistry::Forget(const IRemoteObject *key, const IPCObjectProxy *proxy)
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

sptr<IRemoteObject> ObjectRegistry::TargetOf(const sptr<IRemoteObject> &object)
{
    auto *proxy = object == nullptr ? nullptr : dynamic_cast<IPCObjectProxy *>(object.GetRefPtr());
    if (proxy == nullptr) {
        return object;
    }
    bool dead = false;
    return proxy->Target(dead);
}

sptr<IRemoteObject> GetProxy(const sptr<IRemoteObject> &object)
{
    if (CrossProcessDirectory().empty() || object == nullptr || object->IsProxyObject() ||
        ObjectRegistry::Get().IsKilled(object)) {
        return ObjectRegistry::Get().ProxyFor(object);
    }
    const auto &exporter = Connection::LoopbackExporter();
    if (exporter == nullptr) {
        return nullptr;
    }
    return Connection::LoopbackImporter()->Import(exporter->Export(object));
}

void KillObject(const sptr<IRemoteObject> &object)
{
    sptr<IRemoteObject> target = ObjectRegistry::TargetOf(object);
    if (auto *remote = dynamic_cast<RemoteHandle *>(target.GetRefPtr())) {
        sptr<IRemoteObject> local = remote->GetConnection() == Connection::LoopbackImporter()
                                        ? Connection::LoopbackExporter()->Exported(remote->Handle())
                                        : nullptr;
        return local != nullptr ? KillObject(local) : ObjectRegistry::Get().Kill(object);
    }
    ObjectRegistry::Get().Kill(object);
    if (target == nullptr) {
        return;
    }
    for (const auto &connection : Connection::All()) {
        uint64_t handle = connection->KillExport(target.GetRefPtr());
        if (handle != 0 && connection == Connection::LoopbackExporter()) {
            Connection::LoopbackImporter()->ImportDied(handle); // at once, as the simulated boundary does
        }
    }
}
} // namespace OHOS::HostIpc
