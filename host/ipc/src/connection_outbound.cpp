// SPDX-License-Identifier: Apache-2.0
// What a connection sends, and how a synchronous caller waits for its reply: it reads the socket itself while it
// holds the reading turn, so its reply wakes it directly.
#include <poll.h>

#include <algorithm>
#include <cerrno>

#include "connection.h"
#include "ipc_log.h"
#include "object_registry.h"

namespace OHOS::HostIpc {
namespace {
bool IsAsync(uint32_t flags)
{
    return (flags & MessageOption::TF_ASYNC) != 0;
}

int MillisecondsUntil(CallWaiter::Clock::time_point deadline)
{
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - CallWaiter::Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left + 1, 0, INT32_MAX));
}
} // namespace

// A local object travels as a handle of ours, a proxy to the peer's object goes home as the peer's handle, a proxy
// to an object of this process as that object itself, and a proxy to a third process is forwarded through us.
bool Connection::FlatFor(const sptr<IRemoteObject> &object, FlatObject &flat,
                         std::vector<std::pair<HandleTable *, uint64_t>> &exported)
{
    flat = MakeFlat(TYPE_BINDER, 0);
    sptr<IRemoteObject> travelling = object;
    if (object->IsProxyObject()) {
        sptr<RemoteEnd> end = ObjectRegistry::EndOf(object);
        auto *socketEnd = end == nullptr ? nullptr : dynamic_cast<SocketEnd *>(end.GetRefPtr());
        sptr<IRemoteObject> local = end == nullptr ? nullptr : end->LocalObject();
        if (end == nullptr || object->IsObjectDead()) {
            travelling = nullptr;
        } else if (local != nullptr) {
            travelling = local;
        } else if (socketEnd != nullptr && socketEnd->GetConnection().get() == this) {
            flat = MakeFlat(TYPE_HANDLE, socketEnd->Handle());
            return true;
        }
    }
    if (travelling == nullptr || travelling->IsObjectDead() || ObjectRegistry::Get().IsKilled(travelling.GetRefPtr())) {
        flat.cookie = DEAD_AT_BIRTH; // nothing to call: it arrives as a dead proxy
        return true;
    }
    // Across the process's connection to itself the exporting end always counts the object, as ExportForLoopback.
    HandleTable &table = side_ == Side::LOOPBACK ? LoopbackExporter()->table_ : table_;
    flat.binder = table.Export(travelling);
    exported.emplace_back(&table, flat.binder);
    return true;
}

bool Connection::Encode(FrameHeader header, const MessageParcel &parcel, EncodedFrame &frame,
                        std::vector<std::pair<HandleTable *, uint64_t>> &exported)
{
    std::vector<OutgoingObject> objects;
    for (const TableEntry &entry : ParcelCrossing::Table(parcel)) {
        OutgoingObject outgoing{entry.offset, {}, entry.fd};
        if (entry.fd < 0 && !FlatFor(entry.object, outgoing.flat, exported)) {
            return false;
        }
        objects.push_back(outgoing);
    }
    header.maxCapacity = static_cast<uint32_t>(std::min<size_t>(parcel.GetMaxCapacity(), UINT32_MAX));
    return EncodeFrame(header, reinterpret_cast<const uint8_t *>(parcel.GetData()), parcel.GetDataSize(), objects,
                       frame);
}

// A frame that does not go out takes back the references it counted, so nothing stays exported for it.
bool Connection::Send(const FrameHeader &header, const MessageParcel *parcel)
{
    EncodedFrame frame;
    std::vector<std::pair<HandleTable *, uint64_t>> exported;
    bool encoded =
        parcel == nullptr ? EncodeFrame(header, nullptr, 0, {}, frame) : Encode(header, *parcel, frame, exported);
    if (!encoded) {
        HILOG_IPC_ERROR("a parcel of %{public}zu bytes cannot be framed",
                        parcel == nullptr ? 0 : parcel->GetDataSize());
    }
    Outbox::Result result = encoded ? outbox_->Send(std::move(frame)) : Outbox::Result::FAILED;
    if (result == Outbox::Result::SENT || result == Outbox::Result::QUEUED) {
        return true;
    }
    std::vector<sptr<IRemoteObject>> released;
    for (const auto &[table, handle] : exported) {
        table->Unexport({handle}, released);
    }
    return false;
}

void Connection::SendReply(uint64_t callId, int result, MessageParcel &reply)
{
    FrameHeader header = NewHeader(FrameKind::REPLY);
    header.callId = callId;
    header.code = static_cast<uint32_t>(result);
    if (!Send(header, &reply) && reply.GetDataSize() != 0) {
        MessageParcel empty;
        header.code = TRANSPORT_FAILED_REPLY;
        (void)Send(header, &empty); // when even that cannot go, the connection is ending and the caller hears so
    }
}

// The option's wait time bounds the whole call: sending never blocks, and the wait ends at the deadline.
int Connection::Transact(uint64_t handle, uint32_t code, MessageParcel &data, MessageParcel &reply,
                         MessageOption &option)
{
    CallWaiter::Clock::time_point deadline = DeadlineOf(option);
    FrameHeader header = NewHeader(FrameKind::REQUEST);
    header.code = code;
    header.flags = static_cast<uint32_t>(option.GetFlags());
    header.handle = handle;
    header.waitTime = static_cast<uint32_t>(option.GetWaitTime());
    if (IsAsync(header.flags)) {
        return Send(header, &data) ? ERR_NONE : (IsDead() ? ERR_DEAD_OBJECT : TRANSPORT_FAILED_REPLY);
    }
    auto waiter = std::make_shared<CallWaiter>(ThreadToken());
    header.callId = nextCall_.fetch_add(1);
    header.senderThread = waiter->Token();
    std::shared_ptr<Connection> serving = CurrentServing().connection.lock();
    if (serving != nullptr && (serving.get() == this || serving == Partner())) {
        header.targetThread = CurrentServing().peerThread; // nested in the peer's request: its waiting thread serves it
    }
    {
        std::lock_guard<std::mutex> lock(callsMutex_);
        if (dead_) {
            return ERR_DEAD_OBJECT;
        }
        pending_[header.callId] = PendingCall{waiter, &reply};
    }
    bool sent = Send(header, &data);
    if (sent) {
        AwaitReply(waiter, deadline);
    }
    bool done = waiter->Close();
    {
        std::lock_guard<std::mutex> lock(callsMutex_);
        pending_.erase(header.callId);
    }
    if (!sent) {
        return done ? waiter->Result() : (IsDead() ? ERR_DEAD_OBJECT : TRANSPORT_FAILED_REPLY);
    }
    if (!done) {
        HILOG_IPC_WARN("request %{public}u got no reply within %{public}d s", code, option.GetWaitTime());
        return ERR_TIMED_OUT;
    }
    return waiter->Result();
}

bool Connection::AwaitReply(const std::shared_ptr<CallWaiter> &waiter, CallWaiter::Clock::time_point deadline)
{
    if (side_ == Side::LOOPBACK) {
        return AwaitLoopbackReply(*waiter, deadline);
    }
    bool queued = false;
    for (;;) {
        bool reading = false;
        if (!queued) {
            reading = turn_.TakeOrQueue(waiter);
            queued = !reading;
        }
        std::function<void()> nested;
        if (!reading) {
            CallWaiter::Turn turn = waiter->WaitForTurn(deadline, nested);
            if (turn == CallWaiter::Turn::READ) {
                reading = turn_.Accept(waiter);
                queued = queued && !reading;
                if (!reading) { // an offer older than this thread's last withdrawal
                    continue;
                }
            } else {
                if (queued && turn_.Withdraw(waiter)) {
                    turn_.GiveBack(); // the turn came while this thread was about to leave the line
                }
                queued = false;
                if (turn != CallWaiter::Turn::NESTED) {
                    return turn == CallWaiter::Turn::DONE;
                }
            }
        }
        if (reading) {
            // A nested request another thread read before this one took the turn comes first.
            if (!waiter->TakeNested(nested)) {
                ReadForCaller(*waiter, deadline, nested);
            }
            turn_.GiveBack();
        }
        if (nested) {
            nested(); // a nested request for this thread, served where the caller's locks are held
            continue;
        }
        if (waiter->Done() || CallWaiter::Clock::now() >= deadline) {
            return waiter->Done();
        }
    }
}

// Within the process a nested request comes in on the other end of the connection, so the caller does not read
// its own reply: the IPC threads read both ends and hand it what is meant for it.
bool Connection::AwaitLoopbackReply(CallWaiter &waiter, CallWaiter::Clock::time_point deadline)
{
    for (;;) {
        std::function<void()> nested;
        CallWaiter::Turn turn = waiter.WaitForTurn(deadline, nested);
        if (turn != CallWaiter::Turn::NESTED) {
            return turn == CallWaiter::Turn::DONE;
        }
        nested();
    }
}

void Connection::ReadForCaller(CallWaiter &waiter, CallWaiter::Clock::time_point deadline,
                               std::function<void()> &nested)
{
    Reader reader;
    reader.caller = &waiter;
    while (!waiter.Done()) {
        int wait = MillisecondsUntil(deadline);
        pollfd readable{socket_, POLLIN, 0};
        int ready = wait == 0 ? 0 : poll(&readable, 1, wait);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready <= 0 || !ReadOne(reader)) {
            return; // the deadline passed, or the connection ended (every pending call then is done)
        }
        if (reader.serveHere) {
            nested = std::move(reader.serveHere);
            return;
        }
    }
}
} // namespace OHOS::HostIpc
