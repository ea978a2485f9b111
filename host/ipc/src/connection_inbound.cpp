// SPDX-License-Identifier: Apache-2.0
// What a connection receives: the thread that holds the reading turn reads one frame, takes it apart, and either
// serves it itself or hands it to the thread it is meant for.
#include <cstring>

#include "connection.h"
#include "ipc_log.h"
#include "ipc_object_proxy.h"
#include "ipc_thread_pool.h"
#include "object_registry.h"
#include "request_serving.h"

namespace OHOS::HostIpc {
namespace {
bool IsAsync(uint32_t flags)
{
    return (flags & MessageOption::TF_ASYNC) != 0;
}

// A frame is taken apart before its thread reads again, so one buffer per thread serves every connection it reads.
std::vector<uint8_t> &ReceiveBuffer()
{
    thread_local std::vector<uint8_t> buffer;
    return buffer;
}
} // namespace

void Connection::OnReady(uint32_t events)
{
    if (!turn_.TakeForReactor()) {
        return; // a caller reads its own reply
    }
    Reader reader;
    if (ReadOne(reader)) {
        turn_.GiveBack();
    }
    if (reader.serveHere) {
        reader.serveHere();
    }
}

bool Connection::ReadOne(Reader &reader)
{
    std::vector<uint8_t> &buffer = ReceiveBuffer();
    ReceivedFds fds;
    size_t length = 0;
    ReceiveResult received = ReceiveMessage(socket_, buffer, length, fds);
    if (received == ReceiveResult::NOTHING) {
        return true;
    }
    if (received == ReceiveResult::END) {
        Die();
        return false;
    }
    DecodedFrame frame;
    FrameFault fault =
        received == ReceiveResult::TRUNCATED ? FrameFault::TRUNCATED : DecodeFrame(buffer.data(), length, fds, frame);
    std::string why = FaultText(fault);
    if (fault == FrameFault::NONE && HandleFrame(frame, reader, why)) {
        return true;
    }
    HILOG_IPC_ERROR("malformed frame from pid %{public}d: %{public}s; connection closed", peer_.pid, why.c_str());
    reader.serveHere = nullptr;
    Die();
    return false;
}

bool Connection::HandleFrame(DecodedFrame &frame, Reader &reader, std::string &why)
{
    switch (frame.Kind()) {
        case FrameKind::REQUEST:
            return HandleRequest(frame, reader, why);
        case FrameKind::REPLY:
            return HandleReply(frame, why);
        case FrameKind::RELEASE:
            return HandleRelease(frame.header, why);
        case FrameKind::OBJECT_DEAD:
            ImportDied(frame.header.handle);
            return true;
    }
    return false;
}

bool Connection::HandleRequest(DecodedFrame &frame, Reader &reader, std::string &why)
{
    const FrameHeader header = frame.header;
    auto request = std::make_shared<MessageParcel>();
    if (!Materialize(frame, *request, true, why)) {
        return false;
    }
    sptr<IRemoteObject> target = table_.Exported(header.handle);
    if (target == nullptr) {
        HILOG_IPC_WARN("request %{public}u to handle %{public}llu that pid %{public}d does not hold", header.code,
                       static_cast<unsigned long long>(header.handle), peer_.pid);
        if (!IsAsync(header.flags)) {
            MessageParcel empty;
            SendReply(header.callId, table_.IsRetired(header.handle) ? ERR_DEAD_OBJECT : TRANSPORT_FAILED_REPLY, empty);
        }
        return true;
    }
    std::weak_ptr<Connection> self = weak_from_this();
    auto task = [self, target, header, request, peer = peer_]() mutable {
        std::shared_ptr<Connection> connection = self.lock();
        if (connection == nullptr) {
            return;
        }
        MessageParcel reply;
        MessageOption option(static_cast<int>(header.flags), static_cast<int>(header.waitTime));
        int result = ServeRequest(target, header.code, *request, reply, option, peer,
                                  ServingContext{{}, connection, header.senderThread});
        request.reset();
        target = nullptr;
        if (!IsAsync(header.flags)) {
            connection->SendReply(header.callId, result, reply);
        }
    };
    Route(header, target, std::move(task), header.dataSize, reader);
    return true;
}

// A request the reading IPC thread can serve itself is served there, with no hand-off; a nested one goes to the
// thread that waits for it; everything else waits, within the connection's budget, for a thread or its lane.
void Connection::Route(const FrameHeader &header, const sptr<IRemoteObject> &target, std::function<void()> task,
                       uint64_t bytes, Reader &reader)
{
    bool async = IsAsync(header.flags);
    if (header.targetThread != 0 && reader.caller != nullptr && reader.caller->Token() == header.targetThread) {
        reader.serveHere = std::move(task);
        return;
    }
    std::shared_ptr<CallWaiter> waiter = header.targetThread == 0 ? nullptr : FindWaiter(header.targetThread);
    if (waiter == nullptr && async) {
        return RouteOneWay(target, std::move(task), bytes, reader);
    }
    if (waiter == nullptr && reader.caller == nullptr) {
        reader.serveHere = std::move(task);
        return;
    }
    std::function<void()> charged = Charged(std::move(task), bytes);
    if (!charged) {
        HILOG_IPC_WARN("request %{public}u of pid %{public}d refused: too much waits", header.code, peer_.pid);
        MessageParcel empty;
        return async ? void() : SendReply(header.callId, TRANSPORT_FAILED_REPLY, empty);
    }
    if (waiter != nullptr && waiter->Deliver(charged)) {
        return;
    }
    if (reader.caller == nullptr) {
        reader.serveHere = std::move(charged);
    } else {
        IpcThreadPool::Get().Submit(std::move(charged));
    }
}

void Connection::RouteOneWay(const sptr<IRemoteObject> &target, std::function<void()> task, uint64_t bytes,
                             Reader &reader)
{
    std::function<void()> charged = Charged(std::move(task), bytes);
    if (!charged) {
        HILOG_IPC_WARN("one-way request of pid %{public}d dropped: too much waits", peer_.pid);
        return;
    }
    std::function<void()> runNow;
    OneWayLanes::Get().Enter(target.GetRefPtr(), std::move(charged), runNow);
    if (!runNow) {
        return;
    }
    if (reader.caller == nullptr) {
        reader.serveHere = std::move(runNow);
    } else {
        IpcThreadPool::Get().Submit(std::move(runNow));
    }
}

// The request counts against the budget until it starts; the wrapper keeps the connection (and its budget) alive.
std::function<void()> Connection::Charged(std::function<void()> task, uint64_t bytes)
{
    if (!budget_.Charge(bytes)) {
        return nullptr;
    }
    return [self = shared_from_this(), bytes, task = std::move(task)]() mutable {
        self->budget_.Refund(bytes);
        self = nullptr;
        task();
    };
}

std::shared_ptr<CallWaiter> Connection::FindWaiter(uint64_t token)
{
    std::shared_ptr<CallWaiter> waiter = FindOwnWaiter(token);
    return waiter != nullptr || Partner() == nullptr ? waiter : Partner()->FindOwnWaiter(token);
}

// The innermost call of that thread: a thread that waits inside a nested request waits for the newest one.
std::shared_ptr<CallWaiter> Connection::FindOwnWaiter(uint64_t token)
{
    std::lock_guard<std::mutex> lock(callsMutex_);
    for (auto call = pending_.rbegin(); call != pending_.rend(); ++call) {
        if (call->second.waiter->Token() == token) {
            return call->second.waiter;
        }
    }
    return nullptr;
}

bool Connection::HandleReply(DecodedFrame &frame, std::string &why)
{
    PendingCall call;
    {
        std::lock_guard<std::mutex> lock(callsMutex_);
        auto found = pending_.find(frame.header.callId);
        if (found != pending_.end()) {
            call = found->second;
            pending_.erase(found);
        }
    }
    if (call.waiter == nullptr) {
        MessageParcel late; // the caller gave up: the reply is read and dropped, its references released
        return Materialize(frame, late, false, why);
    }
    bool decoded = true;
    call.waiter->Complete(static_cast<int>(frame.header.code), [&](bool waiting, int &result) {
        MessageParcel late;
        decoded = Materialize(frame, waiting ? *call.reply : late, false, why);
        result = decoded ? result : ERR_DEAD_OBJECT; // the connection closes for that reply
    });
    return decoded;
}

bool Connection::HandleRelease(const FrameHeader &header, std::string &why)
{
    sptr<IRemoteObject> released;
    switch (table_.Drop(header.handle, header.code, released)) {
        case HandleTable::Release::DONE:
            if (released != nullptr) {
                CloseIfIdle();
            }
            return true;
        case HandleTable::Release::RETIRED:
            return true; // the object died while the peer let go of it
        case HandleTable::Release::UNKNOWN:
            why = "release of unknown handle " + std::to_string(header.handle);
            return false;
        case HandleTable::Release::TOO_MANY:
            why = "releases more references than it holds";
            return false;
    }
    return false;
}

bool Connection::Materialize(DecodedFrame &frame, MessageParcel &to, bool adoptMapping, std::string &why)
{
    std::vector<TableEntry> entries(frame.objects.size());
    for (size_t i = 0; i < frame.objects.size(); i++) {
        FlatObject flat{};
        if (!MaterializeObject(frame.objects[i], entries[i], flat, why)) {
            return false;
        }
        std::memcpy(frame.data + frame.objects[i].offset, &flat, sizeof(flat));
    }
    if (frame.header.maxCapacity > to.GetMaxCapacity()) {
        to.SetMaxCapacity(frame.header.maxCapacity); // the sender's raised limit travels with the parcel
    }
    bool adopted = adoptMapping && frame.mapping.Size() != 0 &&
                   ParcelCrossing::AdoptMapping(to, frame.mapping.Address(), frame.mapping.Size(), entries);
    if (adopted) {
        frame.mapping.Release(); // the parcel's now
    } else if (!ParcelCrossing::Adopt(to, frame.data, frame.header.dataSize, entries)) {
        why = "the parcel cannot hold the data";
        return false;
    }
    for (FrameObject &object : frame.objects) {
        object.fd = -1; // the parcel owns the descriptors now
    }
    return true;
}

bool Connection::MaterializeObject(FrameObject &object, TableEntry &entry, FlatObject &flat, std::string &why)
{
    entry.offset = object.offset;
    if (object.kind == FrameObject::Kind::DESCRIPTOR) {
        entry.fd = object.fd;
        flat = MakeFlat(TYPE_FD, static_cast<uint64_t>(object.fd), FD_OWNED_COOKIE);
        return true;
    }
    if (object.kind == FrameObject::Kind::OWN) {
        entry.object = table_.Exported(object.handle); // one of ours coming home
        if (entry.object == nullptr) {
            why = "unknown handle " + std::to_string(object.handle);
            return false;
        }
        uint64_t address = reinterpret_cast<uintptr_t>(entry.object.GetRefPtr());
        flat = MakeFlat(TYPE_BINDER, address, address);
        return true;
    }
    sptr<SocketEnd> end;
    if (object.kind == FrameObject::Kind::DEAD) {
        end = new (std::nothrow) SocketEnd(shared_from_this(), 0); // nothing to call: it arrives as a dead proxy
        if (end != nullptr) {
            end->MarkDead();
        }
    } else {
        end = (side_ == Side::LOOPBACK ? LoopbackImporter() : shared_from_this())->ImportEnd(object.handle);
    }
    entry.object = ProxyOf(end);
    auto *proxy = static_cast<IPCObjectProxy *>(entry.object.GetRefPtr());
    if (proxy == nullptr) {
        why = "no memory for a proxy";
        return false;
    }
    flat = MakeFlat(TYPE_HANDLE, proxy->GetHandle());
    return true;
}
} // namespace OHOS::HostIpc
