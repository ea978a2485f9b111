// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_PROXY_H
#define OHOS_HOST_IPC_PROXY_H

// Host-only: lets the host samgr hand out the same proxies a parcel would carry. Never included by the library.
#include "iremote_object.h"

namespace OHOS::HostIpc {
// The one shared proxy for `object` as another process sees it (the object itself if it already is a proxy).
// A proxy to a killed object reports IsObjectDead(). Null for a null object.
sptr<IRemoteObject> GetProxy(const sptr<IRemoteObject> &object);
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_PROXY_H
