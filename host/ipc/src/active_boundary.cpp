// SPDX-License-Identifier: Apache-2.0
// Which boundary this process uses, and the host-only controls that act on it.
#include "boundary.h"

#include "connection.h"
#include "host_ipc.h"
#include "host_ipc_proxy.h"
#include "in_process_boundary.h"
#include "socket_boundary.h"

namespace OHOS::HostIpc {
Boundary &Boundary::Active()
{
    if (CrossProcessDirectory().empty()) {
        return InProcessBoundary::Get();
    }
    return SocketBoundary::Get();
}

// The host-only controls that act on whichever boundary is active.
sptr<IRemoteObject> GetProxy(const sptr<IRemoteObject> &object)
{
    return Boundary::Active().ProxyFor(object);
}

void KillObject(const sptr<IRemoteObject> &object)
{
    Boundary::Active().Kill(object);
}
} // namespace OHOS::HostIpc
