// SPDX-License-Identifier: Apache-2.0
#include "socket_boundary.h"

#include <new>

#include "connection.h"
#include "in_process_boundary.h"
#include "object_registry.h"

namespace OHOS::HostIpc {
SocketBoundary &SocketBoundary::Get()
{
    static SocketBoundary *boundary = new SocketBoundary();
    return *boundary;
}

// An object of this process is reached through the process's connection to itself, as another process would reach
// it; one killed already gets a dead proxy without a socket.
sptr<IRemoteObject> SocketBoundary::ProxyFor(const sptr<IRemoteObject> &object)
{
    if (object == nullptr || object->IsProxyObject() || ObjectRegistry::Get().IsKilled(object.GetRefPtr())) {
        return InProcessBoundary::Get().ProxyFor(object);
    }
    const auto &exporter = Connection::LoopbackExporter();
    if (exporter == nullptr) {
        return nullptr;
    }
    return Connection::LoopbackImporter()->ImportProxy(exporter->Export(object));
}

void SocketBoundary::Kill(const sptr<IRemoteObject> &object)
{
    if (object == nullptr) {
        return;
    }
    if (object->IsProxyObject()) {
        sptr<RemoteEnd> end = ObjectRegistry::EndOf(object);
        sptr<IRemoteObject> local = end == nullptr ? nullptr : end->LocalObject();
        return local != nullptr ? Kill(local) : ObjectRegistry::Get().Kill(end.GetRefPtr());
    }
    ObjectRegistry::Get().Kill(object.GetRefPtr());
    for (const auto &connection : Connection::All()) {
        uint64_t handle = connection->KillExport(object.GetRefPtr());
        if (handle != 0 && connection == Connection::LoopbackExporter()) {
            Connection::LoopbackImporter()->ImportDied(handle); // at once, as the in-process boundary does
        }
    }
}
} // namespace OHOS::HostIpc
