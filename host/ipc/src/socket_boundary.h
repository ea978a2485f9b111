// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_SOCKET_BOUNDARY_H
#define OHOS_HOST_IPC_SOCKET_BOUNDARY_H

#include "boundary.h"

namespace OHOS::HostIpc {
// The socket boundary: processes joined by Unix-domain sockets. Every proxy, also one to an object of this very
// process, carries its requests over a socket (the process's connection to itself).
//
// Threads: any. Locks: none of its own (the connections and the registry keep theirs).
class SocketBoundary : public Boundary {
public:
    static SocketBoundary &Get();
    sptr<IRemoteObject> ProxyFor(const sptr<IRemoteObject> &object) override;
    void Kill(const sptr<IRemoteObject> &object) override;

private:
    SocketBoundary() = default;
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_SOCKET_BOUNDARY_H
