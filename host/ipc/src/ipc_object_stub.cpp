#include "ipc_object_stub.h"

#include <unistd.h>

#include "ipc_log.h"
#include "ipc_skeleton.h"
#include "message_parcel.h"

namespace OHOS {
IPCObjectStub::IPCObjectStub(std::u16string descriptor, bool serialInvokeFlag) :
    IRemoteObject(std::move(descriptor)), serialInvokeFlag_(serialInvokeFlag)
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
    bool handled = false;
    int result = HandleFrameworkCode(code, data, reply, handled);
    if (handled) {
        return result;
    }
    if (serialInvokeFlag_) {
        std::lock_guard<std::recursive_mutex> lock(serialRecursiveMutex_);
        return OnRemoteRequest(code, data, reply, option);
    }
    return OnRemoteRequest(code, data, reply, option);
}

int IPCObjectStub::HandleFrameworkCode(uint32_t code, MessageParcel &data, MessageParcel &reply, bool &handled)
{
    handled = true;
    switch (code) {
        case PING_TRANSACTION:
            return ERR_NONE;
        case INTERFACE_TRANSACTION:
            return reply.WriteString16(descriptor_) ? ERR_NONE : IPC_STUB_WRITE_PARCEL_ERR;
        case DUMP_TRANSACTION: {
            int fd = data.ReadFileDescriptor();
            std::vector<std::u16string> args;
            data.ReadString16Vector(&args);
            int result = Dump(fd, args);
            if (fd >= 0) {
                close(fd);
            }
            return result;
        }
        default:
            handled = false;
            return ERR_NONE;
    }
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
    return IPCSkeleton::GetCallingPid();
}

int32_t IPCObjectStub::GetCallingUid()
{
    return IPCSkeleton::GetCallingUid();
}
} // namespace OHOS
