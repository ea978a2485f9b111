// SPDX-License-Identifier: Apache-2.0
#include "xproc_peer.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>

#include "host_log.h"
#include "host_xproc.h"
#include "xproc_support.h"

#include "ipc_object_stub.h"
#include "ipc_skeleton.h"
#include "iservice_registry.h"
#include "message_parcel.h"

namespace OHOS::TarnbyTest {
namespace {
void Ready(const char *line)
{
    std::printf("%s\n", line);
    std::fflush(stdout);
}

class TestService : public IPCObjectStub {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override
    {
        switch (code) {
            case ECHO:
                return reply.WriteInt32(data.ReadInt32() + 1) && reply.WriteInt32(IPCSkeleton::GetCallingPid()) ? 0
                                                                                                                : -1;
            case KEEP_CALLBACK: {
                sptr<IRemoteObject> callback = data.ReadRemoteObject();
                if (callback == nullptr || !callback->IsProxyObject() || !callback->AddDeathRecipient(deaths_)) {
                    return -1;
                }
                std::lock_guard<std::mutex> lock(mutex_);
                callbacks_[IPCSkeleton::GetCallingPid()] = callback;
                return 0;
            }
            case CALL_BACK:
                return CallBack(data.ReadInt32(), reply);
            case HANG:
                Ready("hanging");
                for (;;) {
                    pause();
                }
            case CHECK_TRANSFER:
                return CheckTransfer(data, reply);
            case CALLBACK_DEATHS:
                return reply.WriteInt32(deaths_->calls) ? 0 : -1;
            case SLOW:
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                return OnRemoteRequest(ECHO, data, reply, option);
            case FAIL_ACCEPTS:
                HostIpc::FailNextAccepts(data.ReadInt32(), EMFILE);
                return 0;
            case ACCEPT_FAILURES:
                return reply.WriteInt32(acceptFailures) ? 0 : -1;
            case STALLS:
                return reply.WriteInt32(stalledByBound) && reply.WriteInt32(stalledByTime) ? 0 : -1;
            case WAITING:
                return reply.WriteUint64(HostIpc::WaitingRequestCount()) &&
                               reply.WriteUint64(HostIpc::WaitingRequestBytes())
                           ? 0
                           : -1;
            case DRAIN_TIME:
                HostIpc::SetPeerDrainTime(std::chrono::milliseconds(data.ReadInt32()));
                return 0;
            case BIG: {
                std::vector<uint8_t> block(1 << 20, 0x42);
                reply.SetMaxCapacity(2 << 20);
                return reply.WriteUnpadBuffer(block.data(), block.size()) ? 0 : -1;
            }
            default:
                return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
        }
    }

    static inline std::atomic<int32_t> acceptFailures{0};
    static inline std::atomic<int32_t> stalledByBound{0};
    static inline std::atomic<int32_t> stalledByTime{0};

private:
    int CallBack(int32_t value, MessageParcel &reply)
    {
        sptr<IRemoteObject> callback;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            callback = callbacks_[IPCSkeleton::GetCallingPid()];
        }
        MessageParcel request;
        MessageParcel answer;
        MessageOption option;
        request.WriteInt32(value);
        int result = callback == nullptr ? -1 : callback->SendRequest(1, request, answer, option);
        return result == 0 && reply.WriteInt32(answer.ReadInt32()) ? 0 : -1;
    }

    static int CheckTransfer(MessageParcel &data, MessageParcel &reply)
    {
        int fd = data.ReadFileDescriptor();
        uint32_t size = data.ReadUint32();
        const auto *bytes = static_cast<const uint8_t *>(data.ReadRawData(size));
        uint32_t inlineSize = data.ReadUint32();
        const uint8_t *inlineBytes = data.ReadUnpadBuffer(inlineSize);
        char text[64] = {};
        ssize_t got = fd < 0 ? -1 : pread(fd, text, sizeof(text) - 1, 0);
        if (fd >= 0) {
            close(fd);
        }
        if (got < 0 || bytes == nullptr || inlineBytes == nullptr) {
            return -1;
        }
        return reply.WriteString(text) && reply.WriteUint64(SumOf(bytes, size)) &&
                       reply.WriteUint64(SumOf(inlineBytes, inlineSize))
                   ? 0
                   : -1;
    }

    std::mutex mutex_;
    std::map<pid_t, sptr<IRemoteObject>> callbacks_;
    sptr<CountingDeaths> deaths_ = new CountingDeaths();
};

// A client's callback: answers from this process, after asking the service once more when `nested` (so that a
// service whose only IPC thread waits for this answer has to serve the nested request on that thread).
class TestCallback : public IPCObjectStub {
public:
    explicit TestCallback(bool nested) : nested_(nested) {}
    int OnRemoteRequest(uint32_t, MessageParcel &data, MessageParcel &reply, MessageOption &) override
    {
        int32_t value = data.ReadInt32();
        if (nested_) {
            MessageParcel request;
            MessageParcel answer;
            MessageOption option;
            request.WriteInt32(value);
            if (Ask(FindService(), ECHO, request, answer) != 0) {
                return -1;
            }
            value = answer.ReadInt32() - 1;
        }
        return reply.WriteInt32(CallbackAnswer(value, getpid())) ? 0 : -1;
    }

private:
    bool nested_;
};

sptr<IRemoteObject> KeepCallback(bool nested)
{
    sptr<IRemoteObject> service = FindService();
    MessageParcel data;
    MessageParcel reply;
    data.WriteRemoteObject(new TestCallback(nested));
    return Ask(service, KEEP_CALLBACK, data, reply) == 0 ? service : nullptr;
}

// Asks the service to call this client back, many times, while another client does the same.
int RunClient()
{
    IPCSkeleton::SetMaxWorkThreadNum(1);
    sptr<IRemoteObject> service = KeepCallback(true);
    for (int32_t value = 1; service != nullptr && value <= 50; value++) {
        MessageParcel data;
        MessageParcel reply;
        data.WriteInt32(value);
        if (Ask(service, CALL_BACK, data, reply) != 0 || reply.ReadInt32() != CallbackAnswer(value, getpid())) {
            return 1;
        }
    }
    return service == nullptr ? 1 : 0;
}
} // namespace

sptr<IRemoteObject> FindService()
{
    return SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager()->GetSystemAbility(TEST_SERVICE_ID);
}

int Ask(const sptr<IRemoteObject> &object, uint32_t code, MessageParcel &data, MessageParcel &reply,
        MessageOption option)
{
    return object == nullptr ? -1 : object->SendRequest(code, data, reply, option);
}

uint64_t SumOf(const uint8_t *bytes, size_t size)
{
    uint64_t sum = 0;
    for (size_t i = 0; i < size; i++) {
        sum = sum * 31 + bytes[i];
    }
    return sum;
}

namespace {
int RunService()
{
    const char *threads = getenv(SERVICE_THREADS_VARIABLE);
    IPCSkeleton::SetMaxWorkThreadNum(threads == nullptr ? 1 : atoi(threads));
    HiLogSetSink([](const HiLogRecord &record) {
        TestService::acceptFailures += record.text.find("accept at") != std::string::npos ? 1 : 0;
        TestService::stalledByBound += record.text.find("passed the bound") != std::string::npos ? 1 : 0;
        TestService::stalledByTime += record.text.find("for the drain time") != std::string::npos ? 1 : 0;
    });
    sptr<IRemoteObject> service = new TestService();
    auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (manager->AddSystemAbility(TEST_SERVICE_ID, service) != 0) {
        return 1;
    }
    Ready("ready");
    for (;;) {
        pause();
    }
}

// Registers and looks up in the directory of its environment; tells how many log lines refused the directory, and
// why the last one did.
int ProbeDirectory()
{
    std::mutex mutex;
    int told = 0;
    std::string why = "-";
    HiLogSetSink([&](const HiLogRecord &record) {
        size_t reason = record.text.find("refused: ");
        if (record.text.find("registry directory") != std::string::npos && reason != std::string::npos) {
            std::lock_guard<std::mutex> lock(mutex);
            told++;
            why = record.text.substr(reason + 9);
        }
    });
    auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    int32_t added = manager->AddSystemAbility(TEST_SERVICE_ID, new TestService());
    bool found = manager->GetSystemAbility(TEST_SERVICE_ID) != nullptr;
    std::lock_guard<std::mutex> lock(mutex);
    std::printf("add=%d found=%d told=%d why=%s\n", added, found ? 1 : 0, told, why.c_str());
    std::fflush(stdout);
    HiLogSetSink(nullptr);
    return 0;
}

// As root: binds the foreign service's name, then listens as another user, so the kernel tells that user to
// whoever connects. Says how many bytes the one peer that connects sent before it closed.
int RunForeignService()
{
    int listening = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    sockaddr_un address{AF_UNIX, {}};
    std::string path = ServicePath(FOREIGN_SERVICE_ID);
    strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    if (bind(listening, reinterpret_cast<sockaddr *>(&address), sizeof(address)) != 0 ||
        setresgid(FOREIGN_UID, FOREIGN_UID, FOREIGN_UID) != 0 ||
        setresuid(FOREIGN_UID, FOREIGN_UID, FOREIGN_UID) != 0 || listen(listening, 4) != 0) {
        Ready("failed");
        return 1;
    }
    Ready("ready");
    int peer = accept(listening, nullptr, nullptr);
    char buffer[4096];
    ssize_t total = 0;
    for (ssize_t got = 1; peer >= 0 && got > 0;) {
        got = recv(peer, buffer, sizeof(buffer), 0);
        total += got > 0 ? got : 0;
    }
    std::printf("read %zd\n", total);
    std::fflush(stdout);
    return 0;
}

// As root: becomes another user, then asks the test service as a raw peer; says whether it was answered.
int RunForeignClient()
{
    if (setresgid(FOREIGN_UID, FOREIGN_UID, FOREIGN_UID) != 0 ||
        setresuid(FOREIGN_UID, FOREIGN_UID, FOREIGN_UID) != 0) {
        Ready("failed");
        return 1;
    }
    RawPeer peer(ServicePath());
    bool answered = peer.Connected() && peer.Send(EchoFrame(1, 5)) && !peer.Receive().empty();
    Ready(!peer.Connected() ? "unreachable" : (answered ? "answered" : "closed"));
    return 0;
}
} // namespace

int RunRole(const std::string &role)
{
    if (role == "service") {
        return RunService();
    }
    if (role == "client") {
        return RunClient();
    }
    if (role == "second-service") {
        auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
        Ready(manager->AddSystemAbility(TEST_SERVICE_ID, new TestService()) == 0 ? "registered" : "refused");
        return 0;
    }
    if (role == "directory-probe") {
        return ProbeDirectory();
    }
    if (role == "foreign-service") {
        return RunForeignService();
    }
    if (role == "foreign-client") {
        return RunForeignClient();
    }
    if (role != "holder") {
        return 2;
    }
    sptr<IRemoteObject> service = KeepCallback(false);
    Ready(service == nullptr ? "failed" : "ready");
    for (;;) {
        pause();
    }
}
} // namespace OHOS::TarnbyTest
