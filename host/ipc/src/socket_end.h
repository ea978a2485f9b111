// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_SOCKET_END_H
#define OHOS_HOST_IPC_SOCKET_END_H

#include <atomic>
#include <memory>

#include "boundary.h"

namespace OHOS::HostIpc {
class Connection;

// What a proxy of the socket boundary is bound to: this process's end of an object of the peer process. When the
// last proxy goes, the peer is told how many references this process held.
class SocketEnd : public RemoteEnd {
public:
    SocketEnd(std::shared_ptr<Connection> connection, uint64_t handle);
    ~SocketEnd() override;

    int Transact(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    // The exported object of this process behind an end of the process's connection to itself.
    sptr<IRemoteObject> LocalObject() override;

    const std::shared_ptr<Connection> &GetConnection() const
    {
        return connection_;
    }
    uint64_t Handle() const
    {
        return handle_;
    }
    void MarkDead()
    {
        dead_ = true;
    }
    bool IsDead() const
    {
        return dead_;
    }

    uint64_t acquired_ = 0; // references the peer counted for this end; guarded by the connection's handle table

private:
    const std::shared_ptr<Connection> connection_;
    const uint64_t handle_;
    std::atomic<bool> dead_{false}; // the peer said the object died, or the connection did: nothing to release
};

// The socket boundary: processes joined by Unix-domain sockets. Every proxy, also one to an object of this very
// process, carries its requests over a socket (the process's connection to itself).
class SocketBoundary : public Boundary {
public:
    static SocketBoundary &Get();
    sptr<IRemoteObject> ProxyFor(const sptr<IRemoteObject> &object) override;
    void Kill(const sptr<IRemoteObject> &object) override;
    // The shared proxy for `end`, dead when `end` is.
    static sptr<IRemoteObject> ProxyOf(const sptr<SocketEnd> &end);

private:
    SocketBoundary() = default;
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_SOCKET_END_H
