// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_BOUNDARY_H
#define OHOS_HOST_IPC_BOUNDARY_H

// The seam between the objects of the IPC layer (proxies, stubs, the registry, the thread pool) and the two process
// boundaries of the host: the in-process one, where another "process" is played by IPC threads of this one, and
// the socket one, where it is a real process at the other end of a Unix-domain socket. Nothing above the seam knows
// which of the two carries a request.
//
// Lock order of the whole host IPC (a thread that holds one lock may take the ones after it, never one before):
// a CallWaiter's (a reply is taken apart under it) -> a connection's HandleTable, the ObjectRegistry -> an
// IPCObjectProxy's; the IpcThreadPool's -> the Reactor's; an Outbox's -> the Reactor's; a connection's budget -> the
// process's budget; the listeners' -> a listener's name lock. Every other lock is a leaf (a connection's calls and
// reading turn, the live connections, the one-way lanes, a call's). No lock is held while a handler, a death
// recipient, a task, a source or a timer runs.
#include <cstdint>

#include "iremote_object.h"
#include "message_parcel.h"

namespace OHOS::HostIpc {
// What a proxy is bound to: one object on the other side of the boundary.
class RemoteEnd : public virtual RefBase {
public:
    // Carries one request to the object. A synchronous one waits for the reply, at most the option's wait time
    // (then ERR_TIMED_OUT); the handler's result comes back only when its reply is empty, as over the driver.
    virtual int Transact(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    // The object of this process that the end reaches, if it reaches one (null for another process's object).
    virtual sptr<IRemoteObject> LocalObject() = 0;
};

// A process boundary: how this process hands out its objects to others, and how one of them dies.
class Boundary {
public:
    // The socket boundary with OHOS_HOST_IPC_DIR set, the in-process one otherwise.
    static Boundary &Active();
    virtual ~Boundary() = default;
    // The one shared proxy through which another process reaches the local `object`; a proxy passes through.
    virtual sptr<IRemoteObject> ProxyFor(const sptr<IRemoteObject> &object) = 0;
    // `object` (or the object behind a proxy) dies as if its process had exited.
    virtual void Kill(const sptr<IRemoteObject> &object) = 0;
};

// What the driver answers when it cannot carry a parcel (BR_FAILED_REPLY).
constexpr int TRANSPORT_FAILED_REPLY = 0x7211;
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_BOUNDARY_H
