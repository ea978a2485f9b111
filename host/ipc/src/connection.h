#ifndef OHOS_HOST_IPC_CONNECTION_H
#define OHOS_HOST_IPC_CONNECTION_H

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "call_waiter.h"
#include "iremote_object.h"
#include "message_parcel.h"
#include "socket_frame.h"
#include "thread_identity.h"

namespace OHOS::HostIpc {
class Connection;
struct TableEntry;

// This process's end of an object of the peer process: what a proxy received over a connection is bound to.
// When the last proxy goes, the peer is told how many references this process held.
class RemoteHandle : public IRemoteObject {
public:
    RemoteHandle(std::shared_ptr<Connection> connection, uint64_t handle);
    ~RemoteHandle() override;

    int SendRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    int32_t GetObjectRefCount() override;
    bool AddDeathRecipient(const sptr<DeathRecipient> &recipient) override;
    bool RemoveDeathRecipient(const sptr<DeathRecipient> &recipient) override;
    int Dump(int fd, const std::vector<std::u16string> &args) override;

    const std::shared_ptr<Connection> &GetConnection() const
    {
        return connection_;
    }
    uint64_t Handle() const
    {
        return handle_;
    }

private:
    friend class Connection;
    const std::shared_ptr<Connection> connection_;
    const uint64_t handle_;
    uint32_t acquired_ = 0; // references the peer counted for us; guarded by the connection's lock
    bool dead_ = false;     // the peer said the object died, or the connection did: nothing to release
};

// One end of a connection between two processes. Each end exports its local objects by handle (counting the
// references the peer holds) and imports the peer's ones as RemoteHandles; a reader thread receives the peer's
// frames in order and answers replies to the waiting callers. A synchronous request it serves itself, counted as
// one of the IPC threads, once it has passed the reading on to another thread of the connection (so the request
// reaches its handler with one wake-up, as over the driver); the others go to the IPC thread pool or, when they are
// nested in one of our synchronous requests, to the thread that waits for it.
class Connection : public std::enable_shared_from_this<Connection> {
public:
    static constexpr uint64_t ROOT_HANDLE = 1;

    // Takes `socket` (a connected SOCK_SEQPACKET socket), exports `root` (if any) as ROOT_HANDLE and starts the
    // reader; nullptr on failure (socket closed).
    static std::shared_ptr<Connection> Open(int socket, const sptr<IRemoteObject> &root = nullptr);
    // The process's connection to itself: every proxy to an object of this process is imported through it, so
    // that requests between objects of one process also cross a socket. Both ends are null if it cannot be made.
    static const std::shared_ptr<Connection> &LoopbackExporter();
    static const std::shared_ptr<Connection> &LoopbackImporter();
    ~Connection();

    // Counts one more reference of the peer to `object` and gives its handle.
    uint64_t Export(const sptr<IRemoteObject> &object);
    // The proxy for the peer's object `handle`, counting one reference received.
    sptr<IRemoteObject> Import(uint64_t handle);
    // The local object exported as `handle`, or nullptr.
    sptr<IRemoteObject> Exported(uint64_t handle);
    int Transact(uint64_t handle, uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option);
    // The peer's proxies to `object` die; its handle is retired.
    // Returns the retired handle, 0 when the object was not exported here.
    uint64_t KillExport(const IRemoteObject *object);
    bool IsDead();
    // Ends the connection as if the peer had gone: everything imported dies, everything exported is released.
    void Close();

    // The peer said its object `handle` died: the proxies to it die (the recipients are told on an IPC thread).
    void ImportDied(uint64_t handle);
    // Every live connection of the process, for KillObject.
    static std::vector<std::shared_ptr<Connection>> All();
    // Parked readers of every connection; waking them makes them look at the idle time again.
    static size_t ParkedReaders();
    static void WakeParkedReaders();

private:
    struct ExportSlot {
        sptr<IRemoteObject> object;
        uint64_t count = 0;
    };
    struct ImportSlot {
        RemoteHandle *address = nullptr;
        wptr<RemoteHandle> handle;
    };
    struct PendingCall {
        std::shared_ptr<CallWaiter> waiter;
        MessageParcel *reply = nullptr;
    };
    struct Incoming {
        FrameHeader header{};
        const uint8_t *table = nullptr;
        uint8_t *data = nullptr;
        ReceivedFds *fds = nullptr;
    };

    struct LoopbackPair {
        std::shared_ptr<Connection> exporter;
        std::shared_ptr<Connection> importer;
    };
    static const LoopbackPair &TheLoopback();

    explicit Connection(int socket);
    sptr<RemoteHandle> ImportHandle(uint64_t handle);
    uint64_t ExportForLoopback(const sptr<IRemoteObject> &object, const sptr<IRemoteObject> &target);
    void ReadLoop();
    // Hands the reading to a parked reader of the connection, or to a new one; false if none could be started.
    bool PassReading();
    // Parks a reader that has served its request until the reading comes back to it; false once reading is over
    // or when it stayed parked for the IPC threads' idle time (it then ends).
    bool AwaitReading();
    void EndReading();
    // False (with `why`) for a frame that breaks the rules: the connection is then closed. A request the reader
    // should serve itself, holding a borrowed IPC thread, is left in `serveHere`.
    bool HandleFrame(uint8_t *message, size_t length, ReceivedFds &fds, std::string &why,
                     std::function<void()> &serveHere);
    bool HandleRequest(Incoming &frame, std::string &why, std::function<void()> &serveHere);
    bool HandleReply(Incoming &frame, std::string &why);
    bool HandleRelease(const FrameHeader &header, std::string &why);
    // Builds the parcel the frame carries into `to`: the peer's objects as proxies, ours as themselves. With
    // `adoptMapping` an empty `to` reads data that came in a memfd where it is mapped (a request's parcel).
    bool Decode(Incoming &frame, MessageParcel &to, bool adoptMapping, std::string &why);
    bool DecodeEntry(Incoming &frame, size_t offset, size_t &fdIndex, TableEntry &entry,
                     std::vector<sptr<RemoteHandle>> &imported, std::string &why);
    bool Encode(FrameHeader header, const MessageParcel &parcel, std::vector<uint8_t> &message, std::vector<int> &fds,
                int &memfd);
    bool Send(const FrameHeader &header, const MessageParcel *parcel);
    void SendReply(uint64_t callId, int result, MessageParcel &reply);
    void DropImport(RemoteHandle &handle);
    void CloseIfIdleLocked();
    void Die();

    friend class RemoteHandle;
    const int socket_;
    Identity peer_{};
    std::mutex mutex_;
    bool dead_ = false;
    bool loopback_ = false; // one end of the process's connection to itself: never closed for idleness
    std::map<uint64_t, ExportSlot> exports_;
    std::map<const IRemoteObject *, uint64_t> exportHandles_;
    std::map<uint64_t, ImportSlot> imports_;
    std::map<uint64_t, PendingCall> pending_;
    std::vector<uint64_t> retired_;
    uint64_t nextHandle_ = ROOT_HANDLE;
    std::atomic<uint64_t> nextCall_{1};
    // The readers that take turns: one reads, the others serve a request or are parked (at most as many as
    // requests were served at once; they end with the connection or after the IPC threads' idle time).
    std::mutex readingMutex_;
    std::condition_variable readingTurn_;
    size_t parkedReaders_ = 0;
    bool readingOffered_ = false;
    bool readingOver_ = false;
};

// The directory of the cross-process registry, from OHOS_HOST_IPC_DIR (created 0700 when missing); empty in the
// simulated mode.
const std::string &CrossProcessDirectory();
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_CONNECTION_H
