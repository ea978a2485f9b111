// SPDX-License-Identifier: Apache-2.0
// IPCSkeleton: the calling identity of the request a thread serves, and the process-wide IPC settings.
#include "ipc_skeleton.h"

#include <unistd.h>

#include <atomic>
#include <mutex>

#include "ipc_thread_pool.h"
#include "thread_identity.h"

namespace OHOS {
namespace {
// The host has no remote devices: a caller is always on this device, whose network id is empty.
const std::string LOCAL_DEVICE_ID;

struct ContextHolder {
    std::mutex mutex;
    sptr<IRemoteObject> object;
};

// Never destroyed: the object may be asked for while other statics go away.
ContextHolder &Context()
{
    static auto *holder = new ContextHolder();
    return *holder;
}

HostIpc::Identity Caller()
{
    return HostIpc::CallerOrSelf();
}
} // namespace

pid_t IPCSkeleton::GetCallingPid()
{
    return Caller().pid;
}

pid_t IPCSkeleton::GetCallingUid()
{
    return Caller().uid;
}

uint32_t IPCSkeleton::GetCallingTokenID()
{
    return static_cast<uint32_t>(GetCallingFullTokenID());
}

uint64_t IPCSkeleton::GetCallingFullTokenID()
{
    return Caller().fullTokenId;
}

uint32_t IPCSkeleton::GetSelfTokenID()
{
    return static_cast<uint32_t>(GetSelfFullTokenID());
}

uint64_t IPCSkeleton::GetSelfFullTokenID()
{
    return HostIpc::HOST_SELF_TOKEN_ID;
}

std::string IPCSkeleton::GetCallingDeviceID()
{
    return GetLocalDeviceID();
}

std::string IPCSkeleton::GetLocalDeviceID()
{
    return LOCAL_DEVICE_ID;
}

bool IPCSkeleton::IsLocalCalling()
{
    return true;
}

bool IPCSkeleton::SetMaxWorkThreadNum(int maxThreadNum)
{
    return maxThreadNum > 0 && HostIpc::IpcThreadPool::Get().SetMaxThreads(static_cast<size_t>(maxThreadNum));
}

sptr<IRemoteObject> IPCSkeleton::GetContextObject()
{
    std::lock_guard<std::mutex> lock(Context().mutex);
    return Context().object;
}

bool IPCSkeleton::SetContextObject(sptr<IRemoteObject> &object)
{
    if (object == nullptr) {
        return false;
    }
    sptr<IRemoteObject> previous; // released after the lock: its destructor may do anything
    std::lock_guard<std::mutex> lock(Context().mutex);
    previous = std::move(Context().object);
    Context().object = object;
    return true;
}
} // namespace OHOS
