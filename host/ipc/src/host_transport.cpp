// The simulated process boundary: parcels are copied the way the driver would deliver them, and every handler
// runs on one of the host's IPC threads.
#include "host_transport.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>

#include "call_waiter.h"
#include "connection.h"
#include "flat_object.h"
#include "ipc_log.h"
#include "ipc_object_proxy.h"
#include "ipc_thread_pool.h"
#include "object_registry.h"
#include "thread_identity.h"

namespace OHOS::HostIpc {
namespace {
constexpr size_t ALIGNMENT = 4;

// One request in flight inside this process. The handler's thread drops the request side before it reports
// completion; the reply is copied to the caller under the waiter's lock, so a caller that gave up never sees it.
struct Call {
    sptr<IRemoteObject> target;
    uint32_t code = 0;
    MessageOption option;
    Identity sender{};
    std::unique_ptr<MessageParcel> request;
    std::shared_ptr<CallWaiter> waiter;
};

void Serve(Call &call, MessageParcel *callerReply)
{
    MessageParcel reply;
    int result;
    {
        CallingIdentityScope scope(call.sender);
        ServingScope serving(ServingContext{call.waiter, {}, 0});
        result = call.target->SendRequest(call.code, *call.request, reply, call.option);
    }
    call.request.reset();
    call.target = nullptr;
    if (call.waiter == nullptr) {
        return; // nobody waits for a one-way reply
    }
    if (reply.GetDataSize() != 0) {
        result = ERR_NONE; // as over the driver: a reply with data wins over the handler's own result
    }
    call.waiter->Complete(result, [&reply, callerReply](bool waiting, int &result) {
        if (waiting && reply.GetDataSize() != 0 && !ParcelCrossing::Cross(reply, *callerReply)) {
            result = TRANSPORT_FAILED_REPLY;
        }
    });
}

std::shared_ptr<Call> PrepareCall(const sptr<IRemoteObject> &target, uint32_t code, const MessageParcel &data,
                                  const MessageOption &option)
{
    std::shared_ptr<Call> call(new (std::nothrow) Call());
    if (call == nullptr) {
        return nullptr;
    }
    call->request.reset(new (std::nothrow) MessageParcel());
    if (call->request == nullptr || !ParcelCrossing::Cross(data, *call->request)) {
        return nullptr;
    }
    call->target = target;
    call->code = code;
    call->option = option;
    call->sender = SenderIdentity();
    return call;
}

// A nested request that finds no free IPC thread goes to the thread that waits for the request being served here,
// as the driver does, so nesting never deadlocks at the pool's maximum.
bool Dispatch(std::function<void()> task)
{
    if (IpcThreadPool::Get().TrySubmitNow(task)) {
        return true;
    }
    std::shared_ptr<CallWaiter> caller = CurrentServing().localCaller.lock();
    if (caller != nullptr && caller->Deliver(task)) {
        return true;
    }
    return IpcThreadPool::Get().Submit(std::move(task));
}
} // namespace

std::vector<TableEntry> ParcelCrossing::Table(const MessageParcel &parcel)
{
    std::vector<TableEntry> table;
    for (const auto &[offset, entry] : parcel.objects_) {
        if (offset + sizeof(MessageParcel::FlatObject) <= parcel.GetDataSize()) {
            table.push_back(TableEntry{offset, entry.object, entry.fd});
        }
    }
    return table;
}

bool ParcelCrossing::Adopt(MessageParcel &to, const uint8_t *bytes, size_t size, std::vector<TableEntry> &entries)
{
    size_t needed = to.GetWritePosition() + size + ALIGNMENT;
    if (to.GetMaxCapacity() < needed) {
        to.SetMaxCapacity(needed);
    }
    size_t base = to.GetWritePosition();
    if (size != 0 && !AppendBytes(to, bytes, size)) {
        return false;
    }
    RecordEntries(to, base, entries);
    return true;
}

namespace {
// Storage of a parcel that reads a mapping it was given: it never grows, and letting go of it unmaps it.
class MappingAllocator : public Allocator {
public:
    explicit MappingAllocator(size_t size) : size_(size) {}
    void *Alloc(size_t) override
    {
        return nullptr;
    }
    void *Realloc(void *, size_t) override
    {
        return nullptr;
    }
    void Dealloc(void *data) override
    {
        munmap(data, size_);
    }

private:
    size_t size_;
};
} // namespace

bool ParcelCrossing::AdoptMapping(MessageParcel &to, void *mapping, size_t size, std::vector<TableEntry> &entries)
{
    if (to.GetDataSize() != 0 || size == 0 || !to.SetAllocator(new (std::nothrow) MappingAllocator(size)) ||
        !to.ParseFrom(reinterpret_cast<uintptr_t>(mapping), size)) {
        return false;
    }
    RecordEntries(to, 0, entries);
    return true;
}

void ParcelCrossing::RecordEntries(MessageParcel &to, size_t base, std::vector<TableEntry> &entries)
{
    for (TableEntry &entry : entries) {
        to.objects_[base + entry.offset] = MessageParcel::ObjectEntry{std::move(entry.object), entry.fd};
        entry.fd = -1;
    }
}

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
    if (!AppendBytes(to, bytes.data(), bytes.size())) {
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
bool ParcelCrossing::AppendBytes(MessageParcel &to, const uint8_t *bytes, size_t size)
{
    size_t needed = to.GetWritePosition() + size + ALIGNMENT;
    if (to.GetDataCapacity() < needed && !to.SetDataCapacity(needed)) {
        return false;
    }
    size_t aligned = size - size % ALIGNMENT;
    if (aligned != 0 && !to.WriteBuffer(bytes, aligned)) {
        return false;
    }
    for (size_t i = aligned; i < size; i++) {
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
    if (auto *remote = dynamic_cast<RemoteHandle *>(target.GetRefPtr())) {
        return remote->SendRequest(code, data, reply, option);
    }
    std::shared_ptr<Call> call = PrepareCall(target, code, data, option);
    if (call == nullptr) {
        HILOG_IPC_ERROR("request %{public}u cannot be carried", code);
        return TRANSPORT_FAILED_REPLY;
    }
    bool async = (static_cast<uint32_t>(option.GetFlags()) & MessageOption::TF_ASYNC) != 0;
    if (async) {
        return IpcThreadPool::Get().Submit([call] { Serve(*call, nullptr); }) ? ERR_NONE : TRANSPORT_FAILED_REPLY;
    }
    call->waiter = std::make_shared<CallWaiter>(ThreadToken());
    MessageParcel *callerReply = &reply;
    if (!Dispatch([call, callerReply] { Serve(*call, callerReply); })) {
        return TRANSPORT_FAILED_REPLY;
    }
    if (!call->waiter->Wait(DeadlineOf(option))) {
        HILOG_IPC_WARN("request %{public}u got no reply within %{public}d s", code, option.GetWaitTime());
        return ERR_TIMED_OUT;
    }
    return call->waiter->Result();
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
