// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_CONNECTION_H
#define OHOS_HOST_IPC_CONNECTION_H

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "boundary.h"
#include "call_waiter.h"
#include "frame_codec.h"
#include "handle_table.h"
#include "inbound_budget.h"
#include "outbox.h"
#include "parcel_crossing.h"
#include "reactor.h"
#include "reading_turn.h"
#include "thread_identity.h"

namespace OHOS::HostIpc {
class Connection;

// What a proxy of the socket boundary is bound to: this process's end of an object of the peer process. When the
// last proxy goes, the peer is told how many references this process held.
//
// Threads: any. Locks: none of its own; its count of references is guarded by the connection's handle table.
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

// One end of a connection between two processes, over a non-blocking SOCK_SEQPACKET socket. Each end exports its
// local objects by handle and imports the peer's as SocketEnds (HandleTable); frames go out through the Outbox,
// which never blocks; frames come in on whichever thread holds the reading turn (ReadingTurn): an IPC thread woken
// by the reactor, which then serves the request it read itself, or a synchronous caller, which reads its own reply
// and serves the nested requests meant for it. What a peer can make this process hold is bounded: decoded frames
// by the codec, waiting requests by the InboundBudget, unread replies by the Outbox. A frame that breaks a rule
// closes the connection with one log line; every call pending on it then fails as with a dead peer.
//
// Wake-ups per synchronous round trip between two processes: two, as over the driver and as for a socketpair
// ping-pong: the service's IPC thread woken by the request (it reads and serves it), and the caller woken by its
// reply (it polls its own socket while it waits). A reply read by another thread, or a request read by a caller
// that waits for something else, costs one more.
//
// Threads: any. Locks (the order of the folder is in boundary.h): callsMutex_ (pending calls, death) is a leaf; a
// reply is taken apart under its waiter's lock, which takes the handle table's and the registry's. No lock is held
// while a handler, a waiter or a send runs.
class Connection : public Reactor::Source, public std::enable_shared_from_this<Connection> {
public:
    enum class Side {
        CONNECTING, // this process connected: the peer must be of our user
        ACCEPTED,   // the peer connected to us: our user or root
        LOOPBACK,   // the process's connection to itself
    };

    // Takes `socket` (a connected SOCK_SEQPACKET socket), checks who is at the other end, exports `root` (if any) as
    // the first handle and starts reading; nullptr (socket closed) when the peer is refused or nothing could be set
    // up.
    static std::shared_ptr<Connection> Open(int socket, Side side, const sptr<IRemoteObject> &root = nullptr);
    // The process's connection to itself: every proxy to an object of this process is imported through it, so
    // that requests between objects of one process also cross a socket. Both ends are null if it cannot be made.
    static const std::shared_ptr<Connection> &LoopbackExporter();
    static const std::shared_ptr<Connection> &LoopbackImporter();
    // Every live connection of the process.
    static std::vector<std::shared_ptr<Connection>> All();
    ~Connection() override;

    uint64_t Export(const sptr<IRemoteObject> &object);
    sptr<IRemoteObject> Exported(uint64_t handle);
    // The shared proxy for the peer's object `handle`, counting one reference received.
    sptr<IRemoteObject> ImportProxy(uint64_t handle);
    // The shared proxy for `end`, dead when `end` is.
    static sptr<IRemoteObject> ProxyOf(const sptr<SocketEnd> &end);
    // The peer's proxies to `object` die; its handle is retired. The retired handle, 0 when not exported here.
    uint64_t KillExport(const IRemoteObject *object);
    // The peer said its object `handle` died: the proxies to it die (the recipients are told on an IPC thread).
    void ImportDied(uint64_t handle);
    // Called by a SocketEnd that goes: the peer is told how many references this process held.
    void DropImport(SocketEnd &end);

    int Transact(uint64_t handle, uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option);
    bool IsDead();
    // Ends the connection as if the peer had gone: everything imported dies, everything exported is released.
    void Close();
    // The socket is readable (an IPC thread woken by the reactor).
    void OnReady(uint32_t events) override;
    const Identity &Peer() const
    {
        return peer_;
    }

private:
    struct PendingCall {
        std::shared_ptr<CallWaiter> waiter;
        MessageParcel *reply = nullptr;
    };
    // Where a frame was read: by an IPC thread, or by a caller waiting for its reply.
    struct Reader {
        CallWaiter *caller = nullptr;
        std::function<void()> serveHere; // a request for this thread to serve once the turn is given back
    };
    struct LoopbackPair {
        std::shared_ptr<Connection> exporter;
        std::shared_ptr<Connection> importer;
    };

    Connection(int socket, Side side, const Identity &peer);
    static const LoopbackPair &TheLoopback();
    bool Start(const sptr<IRemoteObject> &root);

    // connection.cpp: objects and death
    sptr<SocketEnd> ImportEnd(uint64_t handle);
    // The other end of the process's connection to itself; null for any other connection.
    const std::shared_ptr<Connection> &Partner() const;
    uint64_t ExportForLoopback(const sptr<IRemoteObject> &object, const sptr<IRemoteObject> &local);
    void CloseIfIdle();
    void Die();

    // connection_inbound.cpp: the reading turn and the frames that come in
    [[nodiscard]] bool ReadOne(Reader &reader);
    bool HandleFrame(DecodedFrame &frame, Reader &reader, std::string &why);
    bool HandleRequest(DecodedFrame &frame, Reader &reader, std::string &why);
    bool HandleReply(DecodedFrame &frame, std::string &why);
    bool HandleRelease(const FrameHeader &header, std::string &why);
    void Route(const FrameHeader &header, const sptr<IRemoteObject> &target, std::function<void()> task, uint64_t bytes,
               Reader &reader);
    void RouteOneWay(const sptr<IRemoteObject> &target, std::function<void()> task, uint64_t bytes, Reader &reader);
    std::function<void()> Charged(std::function<void()> task, uint64_t bytes);
    // The innermost call `token` waits for on this connection (or, within the process, on its other end).
    std::shared_ptr<CallWaiter> FindWaiter(uint64_t token);
    std::shared_ptr<CallWaiter> FindOwnWaiter(uint64_t token);
    // Builds the parcel the frame carries into `to`: the peer's objects as proxies, ours as themselves. With
    // `adoptMapping` an empty `to` reads data that came in a memfd where it is mapped (a request's parcel).
    [[nodiscard]] bool Materialize(DecodedFrame &frame, MessageParcel &to, bool adoptMapping, std::string &why);
    [[nodiscard]] bool MaterializeObject(FrameObject &object, TableEntry &entry, FlatObject &flat, std::string &why);

    // connection_outbound.cpp: frames that go out, and the wait for a reply
    [[nodiscard]] bool Encode(FrameHeader header, const MessageParcel &parcel, EncodedFrame &frame,
                              std::vector<std::pair<HandleTable *, uint64_t>> &exported);
    [[nodiscard]] bool FlatFor(const sptr<IRemoteObject> &object, FlatObject &flat,
                               std::vector<std::pair<HandleTable *, uint64_t>> &exported);
    [[nodiscard]] bool Send(const FrameHeader &header, const MessageParcel *parcel);
    void SendReply(uint64_t callId, int result, MessageParcel &reply);
    bool AwaitReply(const std::shared_ptr<CallWaiter> &waiter, CallWaiter::Clock::time_point deadline);
    bool AwaitLoopbackReply(CallWaiter &waiter, CallWaiter::Clock::time_point deadline);
    // Polls the socket as the holder of the reading turn until the reply came, the deadline passed, or a nested
    // request for this thread arrived (left in `nested`, to serve once the turn is given back).
    void ReadForCaller(CallWaiter &waiter, CallWaiter::Clock::time_point deadline, std::function<void()> &nested);

    friend class SocketEnd;
    const int socket_;
    const Side side_;
    const Identity peer_;
    HandleTable table_;
    InboundBudget budget_;
    std::shared_ptr<Outbox> outbox_;
    ReadingTurn turn_;
    uint64_t readKey_ = 0;
    std::mutex callsMutex_;
    bool dead_ = false;
    std::map<uint64_t, PendingCall> pending_;
    std::atomic<uint64_t> nextCall_{1};
};

// The directory of the cross-process registry, from OHOS_HOST_IPC_DIR (created 0700 when missing); empty in the
// in-process mode.
const std::string &CrossProcessDirectory();
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_CONNECTION_H
