// SPDX-License-Identifier: Apache-2.0
// A connection's life: who may be at the other end, the objects it shares, and its death.
#include "connection.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <new>

#include "ipc_log.h"
#include "ipc_thread_pool.h"
#include "object_registry.h"

namespace OHOS::HostIpc {
namespace {
// A connection lives until it dies. Never destroyed: IPC threads may still end connections while the process exits.
struct LiveConnections {
    std::mutex mutex;
    std::vector<std::shared_ptr<Connection>> all;
};

LiveConnections &Live()
{
    static LiveConnections *live = new LiveConnections();
    return *live;
}

// Who may be at the other end, from the kernel's credentials of the peer (never from anything it sends). A client
// talks only to a service of its own user: a service of another user, root included, could be anyone's, and the
// requests carry the client's callbacks and data. A service accepts its own user and root: root reads and writes
// the user's files and processes anyway, so refusing it would protect nothing, while it would keep root tools from
// the user's services.
bool PeerAllowed(uid_t peer, Connection::Side side)
{
    if (side == Connection::Side::LOOPBACK || peer == geteuid()) {
        return true;
    }
    return side == Connection::Side::ACCEPTED && peer == 0;
}
} // namespace

Connection::Connection(int socket, Side side, const Identity &peer) :
    socket_(socket), side_(side), peer_(peer), turn_([this] { Reactor::Get().Arm(readKey_, socket_, EPOLLIN); },
                                                     [this] { Reactor::Get().Arm(readKey_, socket_, 0); })
{
}

Connection::~Connection()
{
    close(socket_);
}

std::shared_ptr<Connection> Connection::Open(int socket, Side side, const sptr<IRemoteObject> &root)
{
    ucred credentials{};
    socklen_t length = sizeof(credentials);
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) {
        HILOG_IPC_ERROR("no peer credentials: errno %{public}d", errno);
        close(socket);
        return nullptr;
    }
    if (!PeerAllowed(credentials.uid, side)) {
        HILOG_IPC_ERROR("refused pid %{public}d of uid %{public}u: not of this user (uid %{public}u)", credentials.pid,
                        credentials.uid, geteuid());
        close(socket);
        return nullptr;
    }
    int flags = fcntl(socket, F_GETFL);
    Identity peer{credentials.pid, static_cast<pid_t>(credentials.uid), 0};
    std::shared_ptr<Connection> connection(flags < 0 || fcntl(socket, F_SETFL, flags | O_NONBLOCK) != 0
                                               ? nullptr
                                               : new (std::nothrow) Connection(socket, side, peer));
    if (connection == nullptr) {
        close(socket);
        return nullptr;
    }
    return connection->Start(root) ? connection : nullptr;
}

bool Connection::Start(const sptr<IRemoteObject> &root)
{
    std::weak_ptr<Connection> self = weak_from_this();
    outbox_ = std::make_shared<Outbox>(socket_, [self](const char *why) {
        if (auto connection = self.lock()) {
            HILOG_IPC_ERROR("pid %{public}d stopped reading: %{public}s; connection closed", connection->peer_.pid,
                            why);
            connection->Die();
        }
    });
    if (root != nullptr) {
        table_.Export(root); // before the reading starts: the peer may release it at once
    }
    {
        std::lock_guard<std::mutex> lock(Live().mutex);
        Live().all.push_back(shared_from_this());
    }
    if (!Reactor::Get().Add(socket_, shared_from_this(), EPOLLIN | EPOLLONESHOT, readKey_)) {
        Die();
        return false;
    }
    IpcThreadPool::Get().EnsureReader();
    return true;
}

std::vector<std::shared_ptr<Connection>> Connection::All()
{
    std::lock_guard<std::mutex> lock(Live().mutex);
    return Live().all;
}

const Connection::LoopbackPair &Connection::TheLoopback()
{
    static const LoopbackPair *loopback = [] {
        auto *made = new LoopbackPair();
        int sockets[2];
        if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets) != 0) {
            return made;
        }
        made->exporter = Connection::Open(sockets[0], Side::LOOPBACK);
        made->importer = Connection::Open(sockets[1], Side::LOOPBACK);
        if (made->exporter == nullptr || made->importer == nullptr) {
            made->exporter = nullptr;
            made->importer = nullptr;
        }
        return made;
    }();
    return *loopback;
}

const std::shared_ptr<Connection> &Connection::LoopbackExporter()
{
    return TheLoopback().exporter;
}

const std::shared_ptr<Connection> &Connection::LoopbackImporter()
{
    return TheLoopback().importer;
}

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

const std::shared_ptr<Connection> &Connection::Partner() const
{
    static const std::shared_ptr<Connection> none;
    if (side_ != Side::LOOPBACK) {
        return none;
    }
    return LoopbackExporter().get() == this ? LoopbackImporter() : LoopbackExporter();
}

uint64_t Connection::Export(const sptr<IRemoteObject> &object)
{
    return table_.Export(object);
}

sptr<IRemoteObject> Connection::Exported(uint64_t handle)
{
    return table_.Exported(handle);
}

sptr<SocketEnd> Connection::ImportEnd(uint64_t handle)
{
    auto make = [this, handle] {
        sptr<SocketEnd> end = new (std::nothrow) SocketEnd(shared_from_this(), handle);
        if (end != nullptr && IsDead()) {
            end->MarkDead();
        }
        return end;
    };
    return table_.Import<SocketEnd>(handle, make, &SocketEnd::acquired_);
}

sptr<IRemoteObject> Connection::ImportProxy(uint64_t handle)
{
    return ProxyOf(ImportEnd(handle));
}

sptr<IRemoteObject> Connection::ProxyOf(const sptr<SocketEnd> &end)
{
    if (end == nullptr) {
        return nullptr;
    }
    if (end->IsDead()) {
        ObjectRegistry::Get().Kill(end.GetRefPtr());
    }
    return ObjectRegistry::Get().ProxyFor(end.GetRefPtr(), [&end] { return sptr<RemoteEnd>(end); });
}

// Within the process every object crossing its own connection arrives as the one shared proxy, as across the
// in-process boundary: the exporting end counts it, the importing end holds it. 0: it arrives dead.
uint64_t Connection::ExportForLoopback(const sptr<IRemoteObject> &object, const sptr<IRemoteObject> &local)
{
    sptr<IRemoteObject> exported = object->IsProxyObject() ? local : object;
    if (exported == nullptr || exported->IsObjectDead() || ObjectRegistry::Get().IsKilled(exported.GetRefPtr())) {
        return 0;
    }
    return LoopbackExporter()->Export(exported);
}

void Connection::DropImport(SocketEnd &end)
{
    uint64_t count = table_.ForgetImport(end.Handle(), &end, end.acquired_);
    if (end.IsDead() || IsDead()) {
        return;
    }
    FrameHeader release = NewHeader(FrameKind::RELEASE);
    release.handle = end.Handle();
    release.code = static_cast<uint32_t>(count);
    (void)Send(release, nullptr); // a connection that cannot carry it is ending: the peer drops everything then
    CloseIfIdle();
}

// Nothing left to call in either direction: the connection has done its work.
void Connection::CloseIfIdle()
{
    if (side_ != Side::LOOPBACK && table_.IsEmpty()) {
        shutdown(socket_, SHUT_RDWR);
    }
}

uint64_t Connection::KillExport(const IRemoteObject *object)
{
    sptr<IRemoteObject> released;
    FrameHeader dead = NewHeader(FrameKind::OBJECT_DEAD);
    dead.handle = table_.Retire(object, released);
    if (dead.handle != 0) {
        (void)Send(dead, nullptr); // nor this: a peer that does not hear of the death hears of the connection's
    }
    return dead.handle;
}

void Connection::ImportDied(uint64_t handle)
{
    sptr<RefBase> live = table_.TakeImport(handle).promote();
    sptr<SocketEnd> end = live == nullptr ? nullptr : dynamic_cast<SocketEnd *>(live.GetRefPtr());
    if (end != nullptr) {
        end->MarkDead();
        ObjectRegistry::Get().Kill(end.GetRefPtr());
    }
}

bool Connection::IsDead()
{
    std::lock_guard<std::mutex> lock(callsMutex_);
    return dead_;
}

void Connection::Close()
{
    Die();
}

void Connection::Die()
{
    std::shared_ptr<Connection> self = shared_from_this(); // whoever called may hold the last reference
    std::map<uint64_t, PendingCall> pending;
    {
        std::lock_guard<std::mutex> lock(callsMutex_);
        if (dead_) {
            return;
        }
        dead_ = true;
        pending.swap(pending_);
    }
    std::vector<sptr<IRemoteObject>> exports;
    std::vector<wptr<RefBase>> imports;
    table_.TakeAll(exports, imports);
    Reactor::Get().Remove(readKey_, socket_);
    outbox_->Close();
    shutdown(socket_, SHUT_RDWR);
    for (auto &[id, call] : pending) {
        call.waiter->Complete(ERR_DEAD_OBJECT);
    }
    for (auto &weak : imports) {
        sptr<RefBase> live = weak.promote();
        if (auto *end = live == nullptr ? nullptr : dynamic_cast<SocketEnd *>(live.GetRefPtr())) {
            end->MarkDead();
            ObjectRegistry::Get().Kill(end);
        }
    }
    std::lock_guard<std::mutex> lock(Live().mutex);
    Live().all.erase(std::remove(Live().all.begin(), Live().all.end(), self), Live().all.end());
}
} // namespace OHOS::HostIpc
