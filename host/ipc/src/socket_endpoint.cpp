// Where connections come from: a listening socket per served object, and connecting to one.
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>

#include "connection.h"
#include "host_xproc.h"
#include "ipc_log.h"
#include "ipc_thread_pool.h"

namespace OHOS::HostIpc {
namespace {
struct Listener {
    int socket = -1;
    std::string path;
    ino_t inode = 0;
};

std::mutex g_listenersMutex;
std::map<int, Listener> g_listeners;
int g_nextListener = 1;

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

void AcceptLoop(int listening, sptr<IRemoteObject> object)
{
    for (;;) {
        int accepted = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
        if (accepted < 0) {
            if (errno == EINTR || errno == ECONNABORTED) {
                continue;
            }
            break; // StopServing shut the socket down
        }
        Connection::Open(accepted, object); // the first handle: what the peer connected for
    }
    close(listening);
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
    int listening = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
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
} // namespace

int ServeAt(const std::string &path, const sptr<IRemoteObject> &object)
{
    if (object == nullptr) {
        return -1;
    }
    Listener listener{-1, path, 0};
    listener.socket = Listen(path, listener.inode);
    if (listener.socket < 0) {
        return -1;
    }
    try {
        std::thread(AcceptLoop, listener.socket, object).detach();
    } catch (const std::system_error &error) {
        close(listener.socket);
        unlink(path.c_str());
        return -1;
    }
    std::lock_guard<std::mutex> lock(g_listenersMutex);
    g_listeners[g_nextListener] = listener;
    return g_nextListener++;
}

void StopServing(int id)
{
    Listener listener;
    {
        std::lock_guard<std::mutex> lock(g_listenersMutex);
        auto found = g_listeners.find(id);
        if (found == g_listeners.end()) {
            return;
        }
        listener = found->second;
        g_listeners.erase(found);
    }
    struct stat info {};
    if (stat(listener.path.c_str(), &info) == 0 && info.st_ino == listener.inode) {
        unlink(listener.path.c_str()); // a later registration in another process renamed over it: leave that one
    }
    shutdown(listener.socket, SHUT_RDWR); // the accept loop ends and closes it
}

sptr<IRemoteObject> ConnectTo(const std::string &path)
{
    sockaddr_un address;
    if (!MakeAddress(path, address)) {
        return nullptr;
    }
    int connected = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (connected < 0) {
        return nullptr;
    }
    if (connect(connected, reinterpret_cast<sockaddr *>(&address), sizeof(address)) != 0) {
        close(connected); // ENOENT: never registered; ECONNREFUSED: its process is gone
        return nullptr;
    }
    std::shared_ptr<Connection> connection = Connection::Open(connected);
    return connection == nullptr ? nullptr : connection->Import(Connection::ROOT_HANDLE);
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
    Connection::WakeParkedReaders();
}

size_t ParkedReaderCount()
{
    return Connection::ParkedReaders();
}
} // namespace OHOS::HostIpc
