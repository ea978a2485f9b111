// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_IN_PROCESS_BOUNDARY_H
#define OHOS_HOST_IPC_IN_PROCESS_BOUNDARY_H

#include "boundary.h"

namespace OHOS::HostIpc {
// The process boundary played inside one process: a request is copied the way the driver would deliver it (fresh
// parcel, every object as its shared proxy, descriptors duplicated) and its handler runs on an IPC thread, never
// on the caller's.
//
// Threads: any; handlers run on IPC threads, nested ones on the waiting caller. Locks: none of its own.
class InProcessBoundary : public Boundary {
public:
    static InProcessBoundary &Get();
    sptr<IRemoteObject> ProxyFor(const sptr<IRemoteObject> &object) override;
    void Kill(const sptr<IRemoteObject> &object) override;

private:
    InProcessBoundary() = default;
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_IN_PROCESS_BOUNDARY_H
