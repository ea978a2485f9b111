// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_H
#define OHOS_HOST_IPC_H

// Host-only controls of the simulated process boundary, for tests and tools. Never included by the library.
#include <sys/types.h>

#include <cstdint>

#include "iremote_object.h"

namespace OHOS::HostIpc {
// Marks a local object dead as if its process had exited: every proxy to it then fails SendRequest with
// ERR_DEAD_OBJECT and reports IsObjectDead(); each death recipient added on those proxies is called once, on a
// host IPC thread, with the dead proxy.
void KillObject(const sptr<IRemoteObject> &object);

// The identity that requests sent from the calling thread carry (by default getpid()/getuid() and token 0), so a
// test can play a second process.
void SetThreadIdentity(pid_t pid, pid_t uid, uint64_t fullTokenId = 0);
void ClearThreadIdentity();
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_H
