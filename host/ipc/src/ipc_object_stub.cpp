// SPDX-License-Identifier: Apache-2.0
#include "ipc_object_stub.h"

#include <unistd.h>

#include <chrono>

#include "ipc_log.h"
#include "message_parcel.h"
#include "thread_identity.h"

namespace OHOS {
namespace {
uint64_t SteadyMilliseconds()
{
    auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}
} // namespace

// A fresh stub's last request time is its creation time, as if it had just been asked.
IPCObjectStub::IPCObjectStub(std::u16string descriptor, bool serialInvokeFlag) :
    IRemoteObject(std::move(descriptor)), lastRequestTime_(SteadyMilliseconds()), serialInvokeFlag_(serialInvokeFlag)
{
}

int32_t IPCObjectStub::GetObjectRefCount()
{
    return GetSptrRefCount();
}

int IPCObjectStub::Dump(int fd, const std::vector<std::u16string> &args)
{
    return ERR_NONE;
}

int IPCObjectStub::SendRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    lastRequestTime_.store(SteadyMilliseconds(), std::memory_order_relaxed);
    bool handled = false;
    int result = HandleFrameworkCode(code, data, reply, option, handled);
    if (handled) {
        return result;
    }
    if (serialInvokeFlag_) {
        std::lock_guard<std::recursive_mutex> lock(serialRecursiveMutex_);
        return OnRemoteRequest(code, data, reply, option);
    }
    return OnRemoteRequest(code, data, reply, option);
}

// The reserved codes a stub answers itself; every answer that carries data writes it into `reply`.
int IPCObjectStub::HandleFrameworkCode(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option,
                                       bool &handled)
{
    handled = true;
    bool written = true;
    switch (code) {
        case PING_TRANSACTION:
            written = reply.WriteInt32(ERR_NONE);
            break;
        case INTERFACE_TRANSACTION:
            written = reply.WriteString16(descriptor_);
            break;
        case DUMP_TRANSACTION:
            return OnRemoteDump(code, data, reply, option);
        case SYNCHRONIZE_REFERENCE:
            written = reply.WriteInt32(GetObjectRefCount());
            break;
        case GET_PROTO_INFO:
            written = reply.WriteUint32(IF_PROT_BINDER) && reply.WriteString16(descriptor_);
            break;
        case INVOKE_LISTEN_THREAD: // no distributed binder on the host: no session thread to start
            return IPC_STUB_INVOKE_THREAD_ERR;
        case DBINDER_DECREFS_TRANSACTION:
        case DBINDER_ADD_COMMAUTH:
        case GET_SESSION_NAME_PID_UID:
            return IPC_STUB_INVALID_DATA_ERR; // nothing a stub that is not distributed could take from the data
        case GET_SESSION_NAME:
            return ERR_NONE; // no session, so no name
        default:
            handled = false;
            break;
    }
    return written ? ERR_NONE : IPC_STUB_WRITE_PARCEL_ERR;
}

int IPCObjectStub::OnRemoteDump(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    int fd = data.ReadFileDescriptor();
    if (fd < 0) {
        return IPC_STUB_INVALID_DATA_ERR;
    }
    std::vector<std::u16string> args;
    int result = data.ReadString16Vector(&args) ? Dump(fd, args) : IPC_STUB_INVALID_DATA_ERR;
    close(fd);
    return result;
}

uint64_t IPCObjectStub::GetLastRequestTime()
{
    return lastRequestTime_.load(std::memory_order_relaxed);
}

int IPCObjectStub::OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    HILOG_IPC_WARN("unknown code %{public}u", code);
    return IPC_STUB_UNKNOW_TRANS_ERR;
}

bool IPCObjectStub::AddDeathRecipient(const sptr<DeathRecipient> &recipient)
{
    return false;
}

bool IPCObjectStub::RemoveDeathRecipient(const sptr<DeathRecipient> &recipient)
{
    return false;
}

int32_t IPCObjectStub::GetCallingPid()
{
    return HostIpc::CallerOrSelf().pid;
}

int32_t IPCObjectStub::GetCallingUid()
{
    return HostIpc::CallerOrSelf().uid;
}

uint32_t IPCObjectStub::GetCallingTokenID()
{
    return static_cast<uint32_t>(HostIpc::CallerOrSelf().fullTokenId);
}

uint64_t IPCObjectStub::GetCallingFullTokenID()
{
    return HostIpc::CallerOrSelf().fullTokenId;
}
} // namespace OHOS
