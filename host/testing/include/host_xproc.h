// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_XPROC_H
#define OHOS_HOST_XPROC_H

// Host-only: the cross-process mode of the host IPC (processes joined by Unix-domain sockets), for the host samgr,
// tests and tools. Never included by the library.
//
// The mode is chosen by the environment: with OHOS_HOST_IPC_DIR set, the directory it names (created 0700 when
// missing) holds one socket per registered system ability, and every proxy - also one to an object of this very
// process - carries its requests over a socket. Without it the process simulates the boundary inside itself.
#include <chrono>
#include <cstddef>
#include <string>

#include "iremote_object.h"

namespace OHOS::HostIpc {
// The registry directory; empty in the simulated mode.
const std::string &CrossProcessDirectory();
// Accepts connections on a socket at `path` (replacing whatever was there) and offers `object` as the first object
// of each. Returns an id for StopServing, or -1.
int ServeAt(const std::string &path, const sptr<IRemoteObject> &object);
// Stops accepting and removes the socket if it is still this one. Connections already made stay.
void StopServing(int id);
// A proxy to the object offered at `path`, or nullptr when nobody serves there (also when its process died).
sptr<IRemoteObject> ConnectTo(const std::string &path);

// The IPC thread pool: threads running now, tasks waiting for a free thread, the most threads that ran at once since
// the last call, and how long an idle thread waits for work before it ends (10 s unless set; the last thread that
// waits for the process's sockets stays).
size_t IpcThreadCount();
size_t IpcQueuedTaskCount();
size_t TakePeakIpcThreadCount();
void SetIpcIdleTime(std::chrono::milliseconds idleTime);
// Requests read from other processes that wait for a thread or for their object's one-way lane, and the bytes of
// their parcels.
size_t WaitingRequestCount();
uint64_t WaitingRequestBytes();
// The next `count` accepts of the process's listeners fail with `error` (EMFILE, say), as when the process runs out
// of descriptors: a fault switch for tests.
void FailNextAccepts(int count, int error);
// How long a peer may leave a message of ours unread before its connection ends (10 s unless set).
void SetPeerDrainTime(std::chrono::milliseconds drainTime);
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_XPROC_H
