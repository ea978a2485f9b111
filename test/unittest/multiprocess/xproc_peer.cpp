#include "xproc_peer.h"

#include <unistd.h>

#include <cstdio>
#include <map>
#include <mutex>
#include <thread>

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
            default:
                return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
        }
    }

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

int RunRole(const std::string &role)
{
    if (role == "service") {
        IPCSkeleton::SetMaxWorkThreadNum(1);
        sptr<IRemoteObject> service = new TestService();
        if (SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager()->AddSystemAbility(TEST_SERVICE_ID,
                                                                                                  service) != 0) {
            return 1;
        }
        Ready("ready");
    } else if (role == "client") {
        return RunClient();
    } else if (role == "holder") {
        sptr<IRemoteObject> service = KeepCallback(false);
        Ready(service == nullptr ? "failed" : "ready");
    } else {
        return 2;
    }
    for (;;) {
        pause();
    }
}
} // namespace OHOS::TarnbyTest
