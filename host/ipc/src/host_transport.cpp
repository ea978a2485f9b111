// The simulated process boundary: parcels are copied the way the driver would deliver them, and every handler
// runs on one of the host's IPC threads.
#include "host_transport.h"

#include <fcntl.h>
#include <unistd.h>

#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>

#include "flat_object.h"
#include "ipc_log.h"
#include "ipc_object_proxy.h"
#include "ipc_thread_pool.h"
#include "object_registry.h"
#include "thread_identity.h"

namespace OHOS::HostIpc {
namespace {
constexpr size_t ALIGNMENT = 4;

// One request in flight. The handler's thread drops the request side before it reports completion, so the
// caller's thread is the one that reads and frees the reply.
struct Call {
    sptr<IRemoteObject> target;
    uint32_t code = 0;
    MessageOption option;
    Identity sender{};
    std::unique_ptr<MessageParcel> request;
    std::unique_ptr<MessageParcel> reply;
    int result = ERR_NONE;
    bool done = false;
    std::mutex mutex;
    std::condition_variable finished;
};

void Serve(Call &call, bool async)
{
    {
        CallingIdentityScope scope(call.sender);
        call.result = call.target->SendRequest(call.code, *call.request, *call.reply, call.option);
    }
    call.request.reset();
    call.target = nullptr;
    if (async) {
        call.reply.reset(); // nobody waits for a one-way reply
    }
    std::lock_guard<std::mutex> lock(call.mutex);
    call.done = true;
    call.finished.notify_all();
}

std::shared_ptr<Call> PrepareCall(const sptr<IRemoteObject> &target, uint32_t code, const MessageParcel &data,
                                  const MessageOption &option)
{
    std::shared_ptr<Call> call(new (std::nothrow) Call());
    if (call == nullptr) {
        return nullptr;
    }
    call->request.reset(new (std::nothrow) MessageParcel());
    call->reply.reset(new (std::nothrow) MessageParcel());
    if (call->request == nullptr || call->reply == nullptr || !ParcelCrossing::Cross(data, *call->request)) {
        return nullptr;
    }
    call->target = target;
    call->code = code;
    call->option = option;
    call->sender = SenderIdentity();
    return call;
}

int CollectReply(Call &call, MessageParcel &reply)
{
    std::unique_lock<std::mutex> lock(call.mutex);
    call.finished.wait(lock, [&call] { return call.done; });
    lock.unlock();
    int result = call.result;
    if (call.reply->GetDataSize() != 0) {
        // As over the driver: a reply with data wins over the handler's own result.
        result = ParcelCrossing::Cross(*call.reply, reply) ? ERR_NONE : TRANSPORT_FAILED_REPLY;
    }
    call.reply.reset();
    return result;
}
} // namespace

bool ParcelCrossing::Cross(const MessageParcel &from, MessageParcel &to)
{
    if (from.GetMaxCapacity() > to.GetMaxCapacity()) {
        to.SetMaxCapacity(from.GetMaxCapacity());
    }
    size_t size = from.GetDataSize();
    if (size == 0) {
        return true;
    }
    const auto *data = reinterpret_cast<const uint8_t *>(from.GetData());
    std::vector<uint8_t> bytes(data, data + size);
    size_t base = to.GetWritePosition();
    Objects received;
    for (const auto &[offset, entry] : from.objects_) {
        if (!Translate(entry, offset, bytes, base, received)) {
            CloseAll(received);
            return false;
        }
    }
    if (!AppendBytes(to, bytes)) {
        CloseAll(received);
        return false;
    }
    for (auto &[offset, entry] : received) {
        to.objects_[offset] = std::move(entry);
    }
    return true;
}

bool ParcelCrossing::Translate(const MessageParcel::ObjectEntry &entry, size_t offset, std::vector<uint8_t> &bytes,
                               size_t base, Objects &received)
{
    MessageParcel::FlatObject flat{TYPE_HANDLE, FLAT_FLAGS, 0, 0};
    if (offset + sizeof(flat) > bytes.size()) {
        return true; // the bytes under this entry were cut off by a rewind: nothing left to carry
    }
    MessageParcel::ObjectEntry arrived;
    if (entry.object != nullptr) {
        arrived.object = ObjectRegistry::Get().ProxyFor(entry.object);
        auto *proxy = static_cast<IPCObjectProxy *>(arrived.object.GetRefPtr());
        if (proxy == nullptr) {
            return false;
        }
        flat.handle = proxy->GetHandle();
    } else {
        arrived.fd = fcntl(entry.fd, F_DUPFD_CLOEXEC, 0);
        if (arrived.fd < 0) {
            HILOG_IPC_ERROR("descriptor %{public}d cannot cross: errno %{public}d", entry.fd, errno);
            return false;
        }
        flat = MessageParcel::FlatObject{TYPE_FD, FLAT_FLAGS, static_cast<uint64_t>(arrived.fd), FD_OWNED_COOKIE};
    }
    std::memcpy(bytes.data() + offset, &flat, sizeof(flat));
    received[base + offset] = std::move(arrived);
    return true;
}

// Aligned words in one copy, then any unaligned tail byte by byte, so the receiver sees exactly the sent size.
bool ParcelCrossing::AppendBytes(MessageParcel &to, const std::vector<uint8_t> &bytes)
{
    size_t needed = to.GetWritePosition() + bytes.size() + ALIGNMENT;
    if (to.GetDataCapacity() < needed && !to.SetDataCapacity(needed)) {
        return false;
    }
    size_t aligned = bytes.size() - bytes.size() % ALIGNMENT;
    if (aligned != 0 && !to.WriteBuffer(bytes.data(), aligned)) {
        return false;
    }
    for (size_t i = aligned; i < bytes.size(); i++) {
        if (!to.WriteUint8Unaligned(bytes[i])) {
            return false;
        }
    }
    return true;
}

void ParcelCrossing::CloseAll(Objects &objects)
{
    for (auto &[offset, entry] : objects) {
        if (entry.fd >= 0) {
            close(entry.fd);
        }
    }
    objects.clear();
}

int Transact(const sptr<IRemoteObject> &target, uint32_t code, MessageParcel &data, MessageParcel &reply,
             MessageOption &option)
{
    std::shared_ptr<Call> call = PrepareCall(target, code, data, option);
    if (call == nullptr) {
        HILOG_IPC_ERROR("request %{public}u cannot be carried", code);
        return TRANSPORT_FAILED_REPLY;
    }
    bool async = (static_cast<uint32_t>(option.GetFlags()) & MessageOption::TF_ASYNC) != 0;
    if (!IpcThreadPool::Get().Submit([call, async] { Serve(*call, async); })) {
        return TRANSPORT_FAILED_REPLY;
    }
    return async ? ERR_NONE : CollectReply(*call, reply);
}

void NotifyDeath(const sptr<IRemoteObject> &proxy, std::vector<sptr<IRemoteObject::DeathRecipient>> recipients)
{
    auto task = [proxy, recipients = std::move(recipients)] {
        wptr<IRemoteObject> dead(proxy);
        for (const auto &recipient : recipients) {
            recipient->OnRemoteDied(dead);
        }
    };
    if (!IpcThreadPool::Get().Submit(std::move(task))) {
        HILOG_IPC_ERROR("a death cannot be reported: no IPC thread");
    }
}
} // namespace OHOS::HostIpc
