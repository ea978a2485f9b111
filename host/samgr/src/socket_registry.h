// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_SAMGR_SOCKET_REGISTRY_H
#define OHOS_HOST_SAMGR_SOCKET_REGISTRY_H

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "iremote_object.h"

namespace OHOS::HostSamgr {
// The cross-process registry: a directory of sockets (OHOS_HOST_IPC_DIR), one "sa-<id>" socket per registered
// ability, listened on by the process that registered it. A lookup connects to the socket; a socket whose process
// died refuses the connection, so the ability is simply not there until it registers again.
class SocketRegistry {
public:
    static SocketRegistry &Get();
    bool Enabled() const;
    bool Add(int32_t systemAbilityId, const sptr<IRemoteObject> &ability);
    bool Remove(int32_t systemAbilityId);
    sptr<IRemoteObject> Find(int32_t systemAbilityId);
    // Withdraws every registration of this process and forgets the proxies it found.
    void Clear();

private:
    struct Found {
        uint64_t inode = 0;
        wptr<IRemoteObject> proxy;
    };
    SocketRegistry() = default;
    std::string PathOf(int32_t systemAbilityId) const;

    std::mutex mutex_;
    std::map<int32_t, int> served_;
    std::map<int32_t, Found> found_;
};
} // namespace OHOS::HostSamgr

#endif // OHOS_HOST_SAMGR_SOCKET_REGISTRY_H
