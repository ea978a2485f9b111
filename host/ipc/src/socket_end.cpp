// SPDX-License-Identifier: Apache-2.0
#include "socket_end.h"

#include <new>

#include "connection.h"
#include "in_process_boundary.h"
#include "object_registry.h"

namespace OHOS::HostIpc {
SocketEnd::SocketEnd(std::shared_ptr<Connection> connection, uint64_t handle) :
    connection_(std::move(connection)), handle_(handle)
{
}

SocketEnd::~SocketEnd()
{
    connection_->DropImport(*this);
}

int SocketEnd::Transact(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    return connection_->Transact(handle_, code, data, reply, option);
}

sptr<IRemoteObject> SocketEnd::LocalObject()
{
    const auto &exporter = Connection::LoopbackExporter();
    return connection_ == Connection::LoopbackImporter() && exporter != nullptr ? exporter->Exported(handle_) : nullptr;
}

SocketBoundary &SocketBoundary::Get()
{
    static SocketBoundary *boundary = new SocketBoundary();
    return *boundary;
}

sptr<IRemoteObject> SocketBoundary::ProxyOf(const sptr<SocketEnd> &end)
{
    if (end == nullptr) {
        return nullptr;
    }
    if (end->IsDead()) {
        ObjectRegistry::Get().Kill(end.GetRefPtr());
    }
    return ObjectRegistry::Get().ProxyFor(end.GetRefPtr(), [&end] { return sptr<RemoteEnd>(end); });
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
