// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_IPC_IPC_SKELETON_H
#define OHOS_IPC_IPC_SKELETON_H

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "iremote_object.h"

namespace OHOS {
// What a handler may ask about the request it serves, and the process-wide IPC settings.
class IPCSkeleton {
public:
    // While a request from another process is handled on this thread: the sender's pid; otherwise our own.
    static pid_t GetCallingPid();
    // The same rule for the uid.
    static pid_t GetCallingUid();
    // The same rule for the access token: the sender's, otherwise this process's own. The 32-bit id is the low
    // half of the full one.
    static uint32_t GetCallingTokenID();
    static uint64_t GetCallingFullTokenID();
    static uint32_t GetSelfTokenID();
    static uint64_t GetSelfFullTokenID();
    // The network id of the calling device; for a caller on this device (the only kind the host has) the local one.
    static std::string GetCallingDeviceID();
    // The network id of this device; empty when no distributed network is up, as on the host.
    static std::string GetLocalDeviceID();
    // Whether the request being served comes from this device; true outside any request as well.
    static bool IsLocalCalling();
    // The most IPC threads this process runs at once to serve requests (default 16); false outside 1..256.
    static bool SetMaxWorkThreadNum(int maxThreadNum);
    // The context object (the system ability manager's object); null until one is set.
    static sptr<IRemoteObject> GetContextObject();
    // Makes `object` the context object; null gives false.
    static bool SetContextObject(sptr<IRemoteObject> &object);
};
} // namespace OHOS

#endif // OHOS_IPC_IPC_SKELETON_H
