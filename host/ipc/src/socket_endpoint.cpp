// SPDX-License-Identifier: Apache-2.0
// Where connections come from: the registry directory, a listening socket per served object (accepted in the
// reactor, so no thread waits per listener), and connecting to one.
#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <set>

#include "connection.h"
#include "host_xproc.h"
#include "inbound_budget.h"
#include "ipc_log.h"
#include "ipc_thread_pool.h"
#include "outbox.h"
#include "reactor.h"

namespace OHOS::HostIpc {
namespace {
constexpr auto ACCEPT_BACKOFF = std::chrono::milliseconds(50);
constexpr int ACCEPTS_PER_TURN = 16; // then other sockets get their turn
constexpr int CONNECT_TIMEOUT_SECONDS = 2;

bool MakeAddress(const std::string &path, sockaddr_un &address)
{
    address = sockaddr_un{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        HILOG_IPC_ERROR("socket path too long: %{public}s", path.c_str());
        return false;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

std::atomic<int> g_failingAccepts{0};
std::atomic<int> g_acceptError{0};

int Accept(int listening)
{
    if (g_failingAccepts.load() > 0 && g_failingAccepts.fetch_sub(1) > 0) {
        errno = g_acceptError.load();
        return -1;
    }
    return accept4(listening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
}

// Errors that say nothing about the listening socket itself: the process or the system is short of something for
// a moment, or one peer gave up. The socket is tried again after a short pause.
bool IsTransientAcceptError(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM || error == ECONNABORTED ||
           error == EINTR || error == EPROTO;
}

// Why the registry directory must not be used, or nullptr: only a directory of this user that nobody else can
// write to is trusted with sockets that processes of the user find each other by.
const char *DirectoryFault(const std::string &path)
{
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) {
        return "it cannot be read";
    }
    if (S_ISLNK(info.st_mode)) {
        return "it is a symbolic link";
    }
    if (!S_ISDIR(info.st_mode)) {
        return "it is not a directory";
    }
    if (info.st_uid != geteuid()) {
        return "it belongs to another user";
    }
    if ((info.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return "others can write to it";
    }
    return nullptr;
}

// The directory is checked at every use; each reason is told once.
bool DirectoryUsable()
{
    static std::mutex mutex;
    static std::set<std::string> told;
    const std::string &path = CrossProcessDirectory();
    const char *fault = DirectoryFault(path);
    if (fault == nullptr) {
        return true;
    }
    std::lock_guard<std::mutex> lock(mutex);
    if (told.insert(fault).second) {
        HILOG_IPC_ERROR("registry directory %{public}s refused: %{public}s", path.c_str(), fault);
    }
    return false;
}

// The right to a name: a lock on "<name>.lock", held for as long as the name is served and dropped by the kernel
// when its process dies, so a live owner keeps its name and a dead one's is taken over. Lock files stay: removing
// one could let two processes lock two files of the same name.
int LockName(const std::string &path)
{
    std::string lockPath = path + ".lock";
    int fd = open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    if (fd < 0) {
        HILOG_IPC_ERROR("cannot open %{public}s: errno %{public}d", lockPath.c_str(), errno);
        return -1;
    }
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        HILOG_IPC_ERROR("%{public}s is served by a live process (it holds %{public}s): not taken over", path.c_str(),
                        lockPath.c_str());
        close(fd);
        return -1;
    }
    return fd;
}

// Binds under a temporary name, then renames over `path`, so a lookup never sees a socket nobody listens on.
int Listen(const std::string &path, ino_t &inode)
{
    static std::atomic<int> counter{0};
    std::string temporary = path + "." + std::to_string(getpid()) + "." + std::to_string(counter++);
    sockaddr_un address;
    if (!MakeAddress(temporary, address)) {
        return -1;
    }
    int listening = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    struct stat info {};
    if (listening < 0 || bind(listening, reinterpret_cast<sockaddr *>(&address), sizeof(address)) != 0 ||
        listen(listening, SOMAXCONN) != 0 || stat(temporary.c_str(), &info) != 0 ||
        rename(temporary.c_str(), path.c_str()) != 0) {
        HILOG_IPC_ERROR("cannot serve at %{public}s: errno %{public}d", path.c_str(), errno);
        unlink(temporary.c_str());
        if (listening >= 0) {
            close(listening);
        }
        return -1;
    }
    inode = info.st_ino;
    return listening;
}

// A listening socket in the reactor; each accepted peer becomes a connection that offers the served object.
//
// Threads: the IPC thread that takes its event, a timer, the thread that stops it. Locks: nameLockMutex_, a leaf.
class Listener : public Reactor::Source, public std::enable_shared_from_this<Listener> {
public:
    Listener(const std::string &path, const sptr<IRemoteObject> &object) : path_(path), object_(object) {}
    ~Listener() override
    {
        Stop();
        if (socket_ >= 0) {
            close(socket_);
        }
    }

    bool Start(int nameLock)
    {
        nameLock_ = nameLock;
        socket_ = Listen(path_, inode_);
        if (socket_ < 0 || !Reactor::Get().Add(socket_, shared_from_this(), EPOLLIN | EPOLLONESHOT, key_)) {
            return false;
        }
        IpcThreadPool::Get().EnsureReader();
        return true;
    }

    // The first handle of every accepted connection is the served object.
    void OnReady(uint32_t) override
    {
        for (int accepted = 0; accepted < ACCEPTS_PER_TURN; accepted++) {
            int peer = Accept(socket_);
            if (peer >= 0) {
                failing_ = false;
                Connection::Open(peer, Connection::Side::ACCEPTED, object_);
                continue;
            }
            if (errno == EAGAIN || errno == EWOULDBLOCK) {
                break;
            }
            if (!IsTransientAcceptError(errno)) {
                return; // shut down: only StopServing ends the listening
            }
            return BackOff(errno);
        }
        Reactor::Get().Arm(key_, socket_, EPOLLIN);
    }

    // The socket is shut down, not closed: a thread may be accepting on it right now; it closes with the listener.
    void Stop()
    {
        if (socket_ < 0 || stopped_.exchange(true)) {
            return;
        }
        struct stat info {};
        if (stat(path_.c_str(), &info) == 0 && info.st_ino == inode_) {
            unlink(path_.c_str()); // a later registration in another process renamed over it: leave that one
        }
        Reactor::Get().Remove(key_, socket_);
        shutdown(socket_, SHUT_RDWR);
        std::lock_guard<std::mutex> lock(nameLockMutex_);
        if (nameLock_ >= 0) {
            close(nameLock_);
            nameLock_ = -1;
        }
    }

    const std::string &Path() const
    {
        return path_;
    }
    // Another hold of the name's lock, for a registration of the same name that replaces this one; -1 when stopped.
    int ShareNameLock()
    {
        std::lock_guard<std::mutex> lock(nameLockMutex_);
        return nameLock_ < 0 ? -1 : fcntl(nameLock_, F_DUPFD_CLOEXEC, 0);
    }

private:
    void BackOff(int error)
    {
        if (!failing_) {
            HILOG_IPC_ERROR("accept at %{public}s failed: errno %{public}d; trying again", path_.c_str(), error);
            failing_ = true;
        }
        std::weak_ptr<Listener> self = weak_from_this();
        Reactor::Get().RunAt(Reactor::Clock::now() + ACCEPT_BACKOFF, [self] {
            if (auto listener = self.lock()) {
                Reactor::Get().Arm(listener->key_, listener->socket_, EPOLLIN);
            }
        });
    }

    const std::string path_;
    const sptr<IRemoteObject> object_;
    int socket_ = -1;
    std::mutex nameLockMutex_;
    int nameLock_ = -1;
    std::atomic<bool> stopped_{false};
    ino_t inode_ = 0;
    uint64_t key_ = 0;
    bool failing_ = false; // one line per burst of failures
};

// Never destroyed: a listener may still accept on an IPC thread while the process exits.
struct Listeners {
    std::mutex mutex;
    std::map<int, std::shared_ptr<Listener>> byId;
    int nextId = 1;
};

Listeners &AllListeners()
{
    static Listeners *listeners = new Listeners();
    return *listeners;
}

// A name this process serves already keeps its lock while it is served again.
int NameLockFor(const std::string &path)
{
    {
        std::lock_guard<std::mutex> lock(AllListeners().mutex);
        for (const auto &[id, listener] : AllListeners().byId) {
            int shared = listener->Path() == path ? listener->ShareNameLock() : -1;
            if (shared >= 0) {
                return shared;
            }
        }
    }
    return LockName(path);
}
} // namespace

int ServeAt(const std::string &path, const sptr<IRemoteObject> &object)
{
    if (object == nullptr || !DirectoryUsable()) {
        return -1;
    }
    int nameLock = NameLockFor(path);
    if (nameLock < 0) {
        return -1;
    }
    auto listener = std::make_shared<Listener>(path, object);
    if (!listener->Start(nameLock)) {
        return -1;
    }
    Listeners &listeners = AllListeners();
    std::lock_guard<std::mutex> lock(listeners.mutex);
    listeners.byId[listeners.nextId] = listener;
    return listeners.nextId++;
}

void StopServing(int id)
{
    std::shared_ptr<Listener> listener;
    {
        Listeners &listeners = AllListeners();
        std::lock_guard<std::mutex> lock(listeners.mutex);
        auto found = listeners.byId.find(id);
        if (found == listeners.byId.end()) {
            return;
        }
        listener = std::move(found->second);
        listeners.byId.erase(found);
    }
    listener->Stop();
}

sptr<IRemoteObject> ConnectTo(const std::string &path)
{
    sockaddr_un address;
    if (!DirectoryUsable() || !MakeAddress(path, address)) {
        return nullptr;
    }
    int connected = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (connected < 0) {
        return nullptr;
    }
    timeval timeout{CONNECT_TIMEOUT_SECONDS, 0}; // a stopped service with a full backlog does not hold us
    setsockopt(connected, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof(timeout));
    if (connect(connected, reinterpret_cast<sockaddr *>(&address), sizeof(address)) != 0) {
        close(connected); // ENOENT: never registered; ECONNREFUSED: its process is gone
        return nullptr;
    }
    std::shared_ptr<Connection> connection = Connection::Open(connected, Connection::Side::CONNECTING);
    return connection == nullptr ? nullptr : connection->ImportProxy(HandleTable::ROOT_HANDLE);
}

const std::string &CrossProcessDirectory()
{
    static const std::string directory = [] {
        const char *value = getenv("OHOS_HOST_IPC_DIR");
        std::string path = value == nullptr ? "" : value;
        if (path.empty()) {
            return path;
        }
        for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
            mkdir(path.substr(0, slash).c_str(), S_IRWXU); // missing parents too, private as well
        }
        if (mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
            HILOG_IPC_ERROR("registry directory %{public}s cannot be created: errno %{public}d", path.c_str(), errno);
        }
        return path;
    }();
    return directory;
}

size_t IpcThreadCount()
{
    return IpcThreadPool::Get().ThreadCount();
}

size_t IpcQueuedTaskCount()
{
    return IpcThreadPool::Get().QueuedTaskCount();
}

size_t TakePeakIpcThreadCount()
{
    return IpcThreadPool::Get().TakePeakThreadCount();
}

void SetIpcIdleTime(std::chrono::milliseconds idleTime)
{
    IpcThreadPool::Get().SetIdleTime(idleTime);
}

void FailNextAccepts(int count, int error)
{
    g_acceptError = error;
    g_failingAccepts = count;
}

void SetPeerDrainTime(std::chrono::milliseconds drainTime)
{
    Outbox::SetDrainTime(drainTime);
}

size_t WaitingRequestCount()
{
    return static_cast<size_t>(InboundBudget::ProcessRequests());
}

uint64_t WaitingRequestBytes()
{
    return InboundBudget::ProcessBytes();
}
} // namespace OHOS::HostIpc
