// Objects across a real process boundary: handle tables, reference counts, requests, replies and death.
#include "connection.h"

#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <thread>

#include "flat_object.h"
#include "host_transport.h"
#include "ipc_log.h"
#include "ipc_object_proxy.h"
#include "ipc_thread_pool.h"
#include "object_registry.h"

namespace OHOS::HostIpc {
namespace {
struct Flat {
    uint32_t type;
    uint32_t flags;
    uint64_t handle;
    uint64_t cookie;
};
constexpr size_t FLAT_SIZE = sizeof(Flat);
constexpr size_t ALIGNMENT = 4;
constexpr uint64_t DEAD_AT_BIRTH = 2; // cookie of an object that died before it was sent

std::mutex g_allMutex;
std::vector<std::weak_ptr<Connection>> g_all;

bool IsAsync(uint32_t flags)
{
    return (flags & MessageOption::TF_ASYNC) != 0;
}

// A private, writable view of a memfd's data: flat objects are rewritten in place without touching the sender's.
struct MappedData {
    void *address = MAP_FAILED;
    size_t size = 0;
    ~MappedData()
    {
        if (address != MAP_FAILED) {
            munmap(address, size);
        }
    }
};
} // namespace

RemoteHandle::RemoteHandle(std::shared_ptr<Connection> connection, uint64_t handle) :
    connection_(std::move(connection)), handle_(handle)
{
}

RemoteHandle::~RemoteHandle()
{
    connection_->DropImport(*this);
}

int RemoteHandle::SendRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    return connection_->Transact(handle_, code, data, reply, option);
}

int32_t RemoteHandle::GetObjectRefCount()
{
    return GetSptrRefCount();
}

bool RemoteHandle::AddDeathRecipient(const sptr<DeathRecipient> &recipient)
{
    return false;
}

bool RemoteHandle::RemoveDeathRecipient(const sptr<DeathRecipient> &recipient)
{
    return false;
}

int RemoteHandle::Dump(int fd, const std::vector<std::u16string> &args)
{
    return ERR_NONE;
}

Connection::Connection(int socket) : socket_(socket) {}

Connection::~Connection()
{
    close(socket_);
}

std::shared_ptr<Connection> Connection::Open(int socket, const sptr<IRemoteObject> &root)
{
    std::shared_ptr<Connection> connection(new (std::nothrow) Connection(socket));
    if (connection == nullptr) {
        close(socket);
        return nullptr;
    }
    ucred credentials{};
    socklen_t length = sizeof(credentials);
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) {
        HILOG_IPC_ERROR("no peer credentials: errno %{public}d", errno);
        return nullptr;
    }
    connection->peer_ = Identity{credentials.pid, static_cast<pid_t>(credentials.uid)};
    if (root != nullptr) {
        connection->Export(root); // before the reader runs: the peer may release it at once
    }
    try {
        std::thread([connection] { connection->ReadLoop(); }).detach();
    } catch (const std::system_error &error) {
        HILOG_IPC_ERROR("no reader thread: %{public}s", error.what());
        return nullptr;
    }
    std::lock_guard<std::mutex> lock(g_allMutex);
    g_all.erase(std::remove_if(g_all.begin(), g_all.end(), [](auto &item) { return item.expired(); }), g_all.end());
    g_all.push_back(connection);
    return connection;
}

std::vector<std::shared_ptr<Connection>> Connection::All()
{
    std::vector<std::shared_ptr<Connection>> all;
    std::lock_guard<std::mutex> lock(g_allMutex);
    for (auto &item : g_all) {
        if (auto connection = item.lock()) {
            all.push_back(std::move(connection));
        }
    }
    return all;
}

uint64_t Connection::Export(const sptr<IRemoteObject> &object)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto [slot, added] = exportHandles_.try_emplace(object.GetRefPtr(), nextHandle_);
    if (added) {
        nextHandle_++;
        exports_[slot->second].object = object;
    }
    exports_[slot->second].count++;
    return slot->second;
}

sptr<IRemoteObject> Connection::Exported(uint64_t handle)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = exports_.find(handle);
    return found == exports_.end() ? nullptr : found->second.object;
}

sptr<RemoteHandle> Connection::ImportHandle(uint64_t handle)
{
    std::lock_guard<std::mutex> lock(mutex_);
    ImportSlot &slot = imports_[handle];
    sptr<RemoteHandle> remote = slot.handle.promote();
    if (remote == nullptr) {
        remote = new (std::nothrow) RemoteHandle(shared_from_this(), handle);
        if (remote == nullptr) {
            imports_.erase(handle);
            return nullptr;
        }
        slot.address = remote.GetRefPtr();
        slot.handle = remote;
        remote->dead_ = dead_;
    }
    remote->acquired_++;
    return remote;
}

sptr<IRemoteObject> Connection::Import(uint64_t handle)
{
    sptr<RemoteHandle> remote = ImportHandle(handle);
    return remote == nullptr ? nullptr : ObjectRegistry::Get().ProxyFor(remote);
}

const Connection::LoopbackPair &Connection::TheLoopback()
{
    static const LoopbackPair *loopback = [] {
        auto *made = new LoopbackPair();
        int sockets[2];
        if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets) != 0) {
            return made;
        }
        made->exporter = Connection::Open(sockets[0]);
        made->importer = Connection::Open(sockets[1]);
        if (made->exporter == nullptr || made->importer == nullptr) {
            made->exporter = nullptr;
            made->importer = nullptr;
            return made;
        }
        made->exporter->loopback_ = true;
        made->importer->loopback_ = true;
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

// Within the process every object crossing its own connection arrives as the one shared proxy, as across the
// simulated boundary: the exporting end counts it, the importing end holds it. 0: it arrives dead.
uint64_t Connection::ExportForLoopback(const sptr<IRemoteObject> &object, const sptr<IRemoteObject> &target)
{
    sptr<IRemoteObject> local = target;
    auto *remote = dynamic_cast<RemoteHandle *>(target.GetRefPtr());
    if (remote != nullptr) {
        local = remote->GetConnection() == LoopbackImporter() ? LoopbackExporter()->Exported(remote->Handle()) : object;
    }
    if (local == nullptr || local->IsObjectDead() || ObjectRegistry::Get().IsKilled(local)) {
        return 0;
    }
    return LoopbackExporter()->Export(local);
}

void Connection::DropImport(RemoteHandle &handle)
{
    FrameHeader release = NewHeader(FrameKind::RELEASE);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = imports_.find(handle.handle_);
        if (found != imports_.end() && found->second.address == &handle) {
            imports_.erase(found);
        }
        if (handle.dead_ || dead_) {
            return;
        }
        release.handle = handle.handle_;
        release.code = handle.acquired_;
    }
    Send(release, nullptr);
    std::lock_guard<std::mutex> lock(mutex_);
    CloseIfIdleLocked();
}

// Nothing left to call in either direction: the connection has done its work.
void Connection::CloseIfIdleLocked()
{
    if (!dead_ && !loopback_ && imports_.empty() && exports_.empty()) {
        shutdown(socket_, SHUT_RDWR);
    }
}

uint64_t Connection::KillExport(const IRemoteObject *object)
{
    FrameHeader dead = NewHeader(FrameKind::OBJECT_DEAD);
    sptr<IRemoteObject> released;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = exportHandles_.find(object);
        if (found == exportHandles_.end()) {
            return 0;
        }
        dead.handle = found->second;
        released = std::move(exports_[found->second].object);
        exports_.erase(found->second);
        exportHandles_.erase(found);
        retired_.push_back(dead.handle);
    }
    Send(dead, nullptr);
    return dead.handle;
}

bool Connection::IsDead()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return dead_;
}

void Connection::Close()
{
    shutdown(socket_, SHUT_RDWR);
    Die();
}

void Connection::ReadLoop()
{
    std::vector<uint8_t> message;
    std::string why;
    for (;;) {
        ReceivedFds fds;
        size_t length;
        int received = ReceiveMessage(socket_, message, length, fds);
        if (received == 0 || received == -1) {
            break;
        }
        if (received == -2) {
            why = "a message or its descriptors were cut off";
        }
        std::function<void()> serveHere;
        if (received == -2 || !HandleFrame(message.data(), length, fds, why, serveHere)) {
            HILOG_IPC_ERROR("malformed frame from pid %{public}d: %{public}s; connection closed", peer_.pid,
                            why.c_str());
            shutdown(socket_, SHUT_RDWR);
            break;
        }
        if (!serveHere) {
            continue;
        }
        if (!PassReading()) {
            IpcThreadPool::Get().GiveBackThread();
            IpcThreadPool::Get().Submit(std::move(serveHere));
            continue;
        }
        serveHere();
        serveHere = nullptr;
        ResetThreadIdentity();
        IpcThreadPool::Get().GiveBackThread();
        if (!AwaitReading()) {
            return;
        }
    }
    Die();
    EndReading();
}

bool Connection::PassReading()
{
    bool offered;
    {
        std::lock_guard<std::mutex> lock(readingMutex_);
        offered = readingOffered_ = parkedReaders_ > 0;
    }
    if (offered) {
        readingTurn_.notify_one(); // outside the lock: the parked reader takes it at once
        return true;
    }
    try {
        std::thread([connection = shared_from_this()] { connection->ReadLoop(); }).detach();
    } catch (const std::system_error &error) {
        HILOG_IPC_ERROR("no reader thread: %{public}s", error.what());
        return false;
    }
    return true;
}

bool Connection::AwaitReading()
{
    auto parkedSince = std::chrono::steady_clock::now();
    std::unique_lock<std::mutex> lock(readingMutex_);
    parkedReaders_++;
    // The idle time is read on every wake-up, so a shortened one takes effect for readers already parked.
    for (;;) {
        auto idleUntil = parkedSince + IpcThreadPool::Get().IdleTime();
        if (readingOffered_ || readingOver_ || std::chrono::steady_clock::now() >= idleUntil) {
            break;
        }
        readingTurn_.wait_until(lock, idleUntil);
    }
    parkedReaders_--;
    bool offered = readingOffered_;
    readingOffered_ = false;
    return offered;
}

size_t Connection::ParkedReaders()
{
    size_t parked = 0;
    for (auto &connection : All()) {
        std::lock_guard<std::mutex> lock(connection->readingMutex_);
        parked += connection->parkedReaders_;
    }
    return parked;
}

void Connection::WakeParkedReaders()
{
    for (auto &connection : All()) {
        std::lock_guard<std::mutex> lock(connection->readingMutex_);
        connection->readingTurn_.notify_all();
    }
}

void Connection::EndReading()
{
    {
        std::lock_guard<std::mutex> lock(readingMutex_);
        readingOver_ = true;
    }
    readingTurn_.notify_all();
}

bool Connection::HandleFrame(uint8_t *message, size_t length, ReceivedFds &fds, std::string &why,
                             std::function<void()> &serveHere)
{
    Incoming frame;
    if (length < sizeof(FrameHeader)) {
        why = "shorter than a header";
        return false;
    }
    std::memcpy(&frame.header, message, sizeof(FrameHeader));
    const FrameHeader &header = frame.header;
    uint64_t tableSize = static_cast<uint64_t>(header.objectCount) * sizeof(uint64_t);
    uint64_t inlineSize = header.dataInMemfd != 0 ? 0 : header.dataSize;
    if (header.magic != FRAME_MAGIC || header.dataInMemfd > 1 || header.dataSize > MAX_FRAME_DATA) {
        why = "bad magic, flag or data size";
        return false;
    }
    if (sizeof(FrameHeader) + tableSize + inlineSize != length) {
        why = "lengths disagree with the message size";
        return false;
    }
    if (fds.fds.size() != header.fdCount + header.dataInMemfd) {
        why = "descriptor count differs from the header";
        return false;
    }
    frame.table = message + sizeof(FrameHeader);
    frame.data = message + sizeof(FrameHeader) + tableSize;
    frame.fds = &fds;
    switch (static_cast<FrameKind>(header.kind)) {
        case FrameKind::REQUEST:
            return HandleRequest(frame, why, serveHere);
        case FrameKind::REPLY:
            return HandleReply(frame, why);
        case FrameKind::RELEASE:
            return HandleRelease(header, why);
        case FrameKind::OBJECT_DEAD:
            ImportDied(header.handle);
            return true;
        default:
            why = "unknown frame kind";
            return false;
    }
}

bool Connection::Decode(Incoming &frame, MessageParcel &to, bool adoptMapping, std::string &why)
{
    const FrameHeader &header = frame.header;
    MappedData mapped;
    uint8_t *data = frame.data;
    if (header.dataInMemfd != 0) {
        int memfd = frame.fds->fds[0];
        if (!IsSealedOfSize(memfd, header.dataSize)) {
            why = "data memfd not sealed or of another size";
            return false;
        }
        if (header.dataSize != 0) {
            mapped.size = header.dataSize;
            mapped.address = mmap(nullptr, mapped.size, PROT_READ | PROT_WRITE, MAP_PRIVATE, memfd, 0);
            if (mapped.address == MAP_FAILED) {
                why = "data memfd cannot be mapped";
                return false;
            }
            data = static_cast<uint8_t *>(mapped.address);
        }
    }
    frame.data = data;
    std::vector<TableEntry> entries(header.objectCount);
    std::vector<sptr<RemoteHandle>> imported;
    size_t fdIndex = header.dataInMemfd;
    size_t previousEnd = 0;
    for (uint32_t i = 0; i < header.objectCount; i++) {
        uint64_t offset;
        std::memcpy(&offset, frame.table + i * sizeof(uint64_t), sizeof(offset));
        if (offset % ALIGNMENT != 0 || offset < previousEnd || offset > header.dataSize ||
            header.dataSize - offset < FLAT_SIZE) {
            why = "object offset out of order or outside the data";
            return false;
        }
        previousEnd = offset + FLAT_SIZE;
        if (!DecodeEntry(frame, offset, fdIndex, entries[i], imported, why)) {
            return false;
        }
    }
    if (fdIndex != frame.fds->fds.size()) {
        why = "more descriptors than fd objects";
        return false;
    }
    for (auto &entry : entries) {
        auto found = std::find_if(imported.begin(), imported.end(), [&entry](const sptr<RemoteHandle> &remote) {
            return remote.GetRefPtr() == entry.object.GetRefPtr();
        });
        if (found != imported.end()) {
            entry.object = ObjectRegistry::Get().ProxyFor(entry.object);
            auto *proxy = static_cast<IPCObjectProxy *>(entry.object.GetRefPtr());
            Flat flat{TYPE_HANDLE, FLAT_FLAGS, proxy == nullptr ? 0 : proxy->GetHandle(), 0};
            std::memcpy(data + entry.offset, &flat, FLAT_SIZE);
        }
    }
    if (header.maxCapacity > to.GetMaxCapacity()) {
        to.SetMaxCapacity(header.maxCapacity); // the sender's raised limit travels with the parcel, as in-process
    }
    if (adoptMapping && mapped.address != MAP_FAILED &&
        ParcelCrossing::AdoptMapping(to, mapped.address, mapped.size, entries)) {
        mapped.address = MAP_FAILED; // the parcel's now
        return true;
    }
    if (!ParcelCrossing::Adopt(to, data, header.dataSize, entries)) {
        why = "the parcel cannot hold the data";
        return false;
    }
    return true;
}

bool Connection::DecodeEntry(Incoming &frame, size_t offset, size_t &fdIndex, TableEntry &entry,
                             std::vector<sptr<RemoteHandle>> &imported, std::string &why)
{
    Flat flat;
    std::memcpy(&flat, frame.data + offset, FLAT_SIZE);
    entry.offset = offset;
    if (flat.type == TYPE_FD) {
        if (flat.handle != fdIndex || fdIndex >= frame.fds->fds.size()) {
            why = "fd object without its descriptor";
            return false;
        }
        entry.fd = frame.fds->Take(fdIndex++);
        flat = Flat{TYPE_FD, FLAT_FLAGS, static_cast<uint64_t>(entry.fd), FD_OWNED_COOKIE};
    } else if (flat.type == TYPE_HANDLE) {
        entry.object = Exported(flat.handle); // one of ours coming home
        if (entry.object == nullptr) {
            why = "unknown handle " + std::to_string(flat.handle);
            return false;
        }
        uint64_t address = reinterpret_cast<uintptr_t>(entry.object.GetRefPtr());
        flat = Flat{TYPE_BINDER, FLAT_FLAGS, address, address};
    } else if (flat.type == TYPE_BINDER && flat.cookie == DEAD_AT_BIRTH) {
        sptr<RemoteHandle> remote = new (std::nothrow) RemoteHandle(shared_from_this(), 0);
        if (remote == nullptr) {
            why = "no memory for a proxy";
            return false;
        }
        remote->dead_ = true;
        ObjectRegistry::Get().Kill(remote);
        entry.object = remote;
        imported.push_back(remote);
        return true;
    } else if (flat.type == TYPE_BINDER) {
        sptr<RemoteHandle> remote = (loopback_ ? LoopbackImporter() : shared_from_this())->ImportHandle(flat.handle);
        if (remote == nullptr) {
            why = "no memory for a proxy";
            return false;
        }
        entry.object = remote;
        imported.push_back(remote);
        return true;
    } else {
        why = "unknown flat object type";
        return false;
    }
    std::memcpy(frame.data + offset, &flat, FLAT_SIZE);
    return true;
}

bool Connection::HandleRequest(Incoming &frame, std::string &why, std::function<void()> &serveHere)
{
    const FrameHeader header = frame.header;
    auto request = std::make_shared<MessageParcel>();
    if (!Decode(frame, *request, true, why)) {
        return false;
    }
    sptr<IRemoteObject> target = Exported(header.handle);
    bool async = IsAsync(header.flags);
    if (target == nullptr) {
        bool retired;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            retired = std::find(retired_.begin(), retired_.end(), header.handle) != retired_.end();
        }
        HILOG_IPC_WARN("request %{public}u to handle %{public}llu that pid %{public}d does not hold", header.code,
                       static_cast<unsigned long long>(header.handle), peer_.pid);
        if (!async) {
            MessageParcel empty;
            SendReply(header.callId, retired ? ERR_DEAD_OBJECT : TRANSPORT_FAILED_REPLY, empty);
        }
        return true;
    }
    std::weak_ptr<Connection> self = weak_from_this();
    std::function<void()> task = [self, target, header, request, peer = peer_]() mutable {
        std::shared_ptr<Connection> connection = self.lock();
        if (connection == nullptr) {
            return;
        }
        MessageParcel reply;
        MessageOption option(static_cast<int>(header.flags), static_cast<int>(header.waitTime));
        int result;
        {
            CallingIdentityScope identity(peer);
            ServingScope serving(ServingContext{{}, connection, header.senderThread});
            result = target->SendRequest(header.code, *request, reply, option);
        }
        request.reset();
        target = nullptr;
        if (!IsAsync(header.flags)) {
            connection->SendReply(header.callId, result, reply);
        }
    };
    if (header.targetThread != 0) {
        if (IpcThreadPool::Get().TrySubmitNow(task)) {
            return true;
        }
        std::shared_ptr<CallWaiter> waiter;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            for (auto &[id, call] : pending_) {
                if (call.waiter->Token() == header.targetThread) {
                    waiter = call.waiter;
                }
            }
        }
        if (waiter == nullptr || !waiter->Deliver(task)) {
            IpcThreadPool::Get().Submit(std::move(task));
        }
        return true;
    }
    if (!async && IpcThreadPool::Get().TryBorrowThread()) {
        serveHere = std::move(task);
    } else {
        IpcThreadPool::Get().Submit(std::move(task));
    }
    return true;
}

bool Connection::HandleReply(Incoming &frame, std::string &why)
{
    PendingCall call;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = pending_.find(frame.header.callId);
        if (found != pending_.end()) {
            call = found->second;
            pending_.erase(found);
        }
    }
    bool decoded = true;
    auto finish = [&](bool waiting, int &) {
        MessageParcel late;
        decoded = Decode(frame, waiting ? *call.reply : late, false, why);
    };
    int result = static_cast<int>(frame.header.code);
    if (call.waiter == nullptr) {
        finish(false, result); // the caller gave up: the late reply is read and dropped, its references released
        return decoded;
    }
    call.waiter->Complete(result, finish);
    return decoded;
}

bool Connection::HandleRelease(const FrameHeader &header, std::string &why)
{
    sptr<IRemoteObject> released;
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = exports_.find(header.handle);
    if (found == exports_.end()) {
        if (std::find(retired_.begin(), retired_.end(), header.handle) != retired_.end()) {
            return true; // the object died while the peer let go of it
        }
        why = "release of unknown handle " + std::to_string(header.handle);
        return false;
    }
    if (header.code > found->second.count) {
        why = "releases more references than it holds";
        return false;
    }
    found->second.count -= header.code;
    if (found->second.count == 0) {
        released = std::move(found->second.object);
        exportHandles_.erase(released.GetRefPtr());
        exports_.erase(found);
        CloseIfIdleLocked();
    }
    return true;
}

void Connection::ImportDied(uint64_t handle)
{
    sptr<RemoteHandle> remote;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = imports_.find(handle);
        if (found == imports_.end()) {
            return;
        }
        remote = found->second.handle.promote();
        imports_.erase(found);
        if (remote != nullptr) {
            remote->dead_ = true;
        }
    }
    if (remote != nullptr) {
        ObjectRegistry::Get().Kill(remote);
    }
}

void Connection::Die()
{
    std::map<uint64_t, ExportSlot> exports;
    std::map<uint64_t, PendingCall> pending;
    std::vector<sptr<RemoteHandle>> imports;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (dead_) {
            return;
        }
        dead_ = true;
        exports.swap(exports_);
        exportHandles_.clear();
        pending.swap(pending_);
        for (auto &[handle, slot] : imports_) {
            if (sptr<RemoteHandle> remote = slot.handle.promote()) {
                remote->dead_ = true;
                imports.push_back(std::move(remote));
            }
        }
        imports_.clear();
    }
    for (auto &[id, call] : pending) {
        call.waiter->Complete(ERR_DEAD_OBJECT);
    }
    for (auto &remote : imports) {
        ObjectRegistry::Get().Kill(remote);
    }
}

bool Connection::Encode(FrameHeader header, const MessageParcel &parcel, std::vector<uint8_t> &message,
                        std::vector<int> &fds, int &memfd)
{
    std::vector<TableEntry> table = ParcelCrossing::Table(parcel);
    size_t dataSize = parcel.GetDataSize();
    header.dataSize = dataSize;
    header.maxCapacity = static_cast<uint32_t>(std::min<size_t>(parcel.GetMaxCapacity(), UINT32_MAX));
    header.objectCount = static_cast<uint32_t>(table.size());
    size_t tableSize = table.size() * sizeof(uint64_t);
    header.dataInMemfd = sizeof(FrameHeader) + tableSize + dataSize > MAX_MESSAGE ? 1 : 0;
    std::vector<std::pair<size_t, Flat>> flats;
    uint32_t fdCount = 0;
    for (const TableEntry &entry : table) {
        Flat flat{TYPE_BINDER, FLAT_FLAGS, 0, 0};
        if (entry.fd >= 0) {
            flat = Flat{TYPE_FD, FLAT_FLAGS, fdCount + header.dataInMemfd, 0};
            fds.push_back(entry.fd);
            fdCount++;
        } else {
            sptr<IRemoteObject> object = entry.object;
            sptr<IRemoteObject> target = ObjectRegistry::TargetOf(object);
            auto *remote = dynamic_cast<RemoteHandle *>(target.GetRefPtr());
            if (loopback_) {
                flat.handle = ExportForLoopback(object, target);
                flat.cookie = flat.handle == 0 ? DEAD_AT_BIRTH : 0;
            } else if (remote != nullptr && remote->GetConnection().get() == this) {
                flat = Flat{TYPE_HANDLE, FLAT_FLAGS, remote->Handle(), 0}; // back to the process that owns it
            } else if (object->IsObjectDead() || ObjectRegistry::Get().IsKilled(object)) {
                flat.cookie = DEAD_AT_BIRTH; // nothing to call: it arrives as a dead proxy
            } else {
                // A local object, or a proxy to a third process that this one forwards to.
                flat.handle = Export(remote == nullptr && target != nullptr ? target : object);
            }
        }
        flats.emplace_back(entry.offset, flat);
    }
    header.fdCount = fdCount;
    if (fds.size() + header.dataInMemfd > MAX_FRAME_FDS || sizeof(FrameHeader) + tableSize > MAX_MESSAGE) {
        return false;
    }
    // Small data travels in the message itself, copied once straight from the parcel and patched there.
    size_t inlineSize = header.dataInMemfd != 0 ? 0 : dataSize;
    message.resize(sizeof(FrameHeader) + tableSize + inlineSize);
    std::memcpy(message.data(), &header, sizeof(header));
    for (size_t i = 0; i < flats.size(); i++) {
        uint64_t offset = flats[i].first;
        std::memcpy(message.data() + sizeof(FrameHeader) + i * sizeof(uint64_t), &offset, sizeof(offset));
    }
    uint8_t *inlineData = message.data() + sizeof(FrameHeader) + tableSize;
    if (inlineSize != 0) {
        std::memcpy(inlineData, reinterpret_cast<const void *>(parcel.GetData()), inlineSize);
        for (const auto &[offset, flat] : flats) {
            std::memcpy(inlineData + offset, &flat, FLAT_SIZE);
        }
        return true;
    }
    if (header.dataInMemfd != 0) {
        memfd = CreateSealedMemfd(
            reinterpret_cast<const void *>(parcel.GetData()), dataSize, "host-ipc-frame", [&flats](int fd) {
                for (const auto &[offset, flat] : flats) {
                    if (pwrite(fd, &flat, FLAT_SIZE, static_cast<off_t>(offset)) != static_cast<ssize_t>(FLAT_SIZE)) {
                        return false;
                    }
                }
                return true;
            });
        if (memfd < 0) {
            return false;
        }
        fds.insert(fds.begin(), memfd);
    }
    return true;
}

bool Connection::Send(const FrameHeader &header, const MessageParcel *parcel)
{
    std::vector<uint8_t> message;
    std::vector<int> fds;
    int memfd = -1;
    bool encoded = true;
    if (parcel != nullptr) {
        encoded = Encode(header, *parcel, message, fds, memfd);
    } else {
        message.assign(reinterpret_cast<const uint8_t *>(&header),
                       reinterpret_cast<const uint8_t *>(&header) + sizeof(header));
    }
    bool sent = encoded && SendMessage(socket_, message, fds);
    if (!encoded) {
        HILOG_IPC_ERROR("a parcel of %{public}zu bytes cannot be framed", parcel->GetDataSize());
    }
    if (memfd >= 0) {
        close(memfd);
    }
    return sent;
}

void Connection::SendReply(uint64_t callId, int result, MessageParcel &reply)
{
    FrameHeader header = NewHeader(FrameKind::REPLY);
    header.callId = callId;
    // As over the driver: a reply with data wins over the handler's own result.
    header.code = static_cast<uint32_t>(reply.GetDataSize() != 0 ? ERR_NONE : result);
    if (!Send(header, &reply) && reply.GetDataSize() != 0) {
        MessageParcel empty;
        header.code = TRANSPORT_FAILED_REPLY;
        Send(header, &empty);
    }
}

int Connection::Transact(uint64_t handle, uint32_t code, MessageParcel &data, MessageParcel &reply,
                         MessageOption &option)
{
    FrameHeader header = NewHeader(FrameKind::REQUEST);
    header.code = code;
    header.flags = static_cast<uint32_t>(option.GetFlags());
    header.handle = handle;
    header.waitTime = static_cast<uint32_t>(option.GetWaitTime());
    bool async = IsAsync(header.flags);
    std::shared_ptr<CallWaiter> waiter;
    if (!async) {
        waiter = std::make_shared<CallWaiter>(ThreadToken());
        header.callId = nextCall_.fetch_add(1);
        header.senderThread = waiter->Token();
        const ServingContext &serving = CurrentServing();
        if (serving.connection.lock().get() == this) {
            header.targetThread = serving.peerThread;
        }
        std::lock_guard<std::mutex> lock(mutex_);
        if (dead_) {
            return ERR_DEAD_OBJECT;
        }
        pending_[header.callId] = PendingCall{waiter, &reply};
    }
    if (!Send(header, &data)) {
        bool dead = IsDead() || errno == EPIPE || errno == ECONNRESET;
        std::lock_guard<std::mutex> lock(mutex_);
        pending_.erase(header.callId);
        return dead ? ERR_DEAD_OBJECT : TRANSPORT_FAILED_REPLY;
    }
    if (async) {
        return ERR_NONE;
    }
    if (!waiter->Wait(DeadlineOf(option))) {
        std::lock_guard<std::mutex> lock(mutex_);
        pending_.erase(header.callId);
        HILOG_IPC_WARN("request %{public}u got no reply within %{public}d s", code, option.GetWaitTime());
        return ERR_TIMED_OUT;
    }
    return waiter->Result();
}

const std::string &CrossProcessDirectory()
{
    static const std::string directory = [] {
        const char *value = getenv("OHOS_HOST_IPC_DIR");
        std::string path = value == nullptr ? "" : value;
        if (path.empty()) {
            return path;
        }
        struct stat info {};
        for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
            mkdir(path.substr(0, slash).c_str(), S_IRWXU); // missing parents too, private as well
        }
        if (mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
            HILOG_IPC_ERROR("registry directory %{public}s cannot be created: errno %{public}d", path.c_str(), errno);
        } else if (lstat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) || info.st_uid != getuid()) {
            HILOG_IPC_ERROR("registry directory %{public}s is not a directory of this user", path.c_str());
        } else if ((info.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
            chmod(path.c_str(), S_IRWXU); // private to the user, whoever created it
        }
        return path;
    }();
    return directory;
}
} // namespace OHOS::HostIpc
