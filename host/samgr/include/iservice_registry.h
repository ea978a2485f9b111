// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_SAMGR_ISERVICE_REGISTRY_H
#define OHOS_SAMGR_ISERVICE_REGISTRY_H

#include <mutex>

// Standard headers the platform's own header brings in: device code uses what they declare after including
// only this one, so the host header brings at least the same.
#include <memory>
#include <string>

#include "if_system_ability_manager.h"

namespace OHOS {
// The process's way to the system ability manager.
class SystemAbilityManagerClient {
public:
    static SystemAbilityManagerClient &GetInstance();

    // nullptr when the manager cannot be reached.
    sptr<ISystemAbilityManager> GetSystemAbilityManager();
    // Drops the cached manager; the next GetSystemAbilityManager reaches it again.
    void DestroySystemAbilityManagerObject();

private:
    SystemAbilityManagerClient() = default;
    ~SystemAbilityManagerClient() = default;
    SystemAbilityManagerClient(const SystemAbilityManagerClient &) = delete;
    SystemAbilityManagerClient &operator=(const SystemAbilityManagerClient &) = delete;

    std::mutex systemAbilityManagerLock_;
    sptr<ISystemAbilityManager> systemAbilityManager_;
};
} // namespace OHOS

#endif // OHOS_SAMGR_ISERVICE_REGISTRY_H
