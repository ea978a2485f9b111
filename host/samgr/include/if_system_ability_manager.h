// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_SAMGR_IF_SYSTEM_ABILITY_MANAGER_H
#define OHOS_SAMGR_IF_SYSTEM_ABILITY_MANAGER_H

#include <cstdint>
#include <string>

#include "iremote_broker.h"
#include "iremote_object.h"

namespace OHOS {
static inline const std::u16string SAMANAGER_INTERFACE_TOKEN = u"ohos.samgr.accessToken";

// The system ability manager: the registry through which processes find each other's services by id.
class ISystemAbilityManager : public IRemoteBroker {
public:
    static constexpr unsigned int DUMP_FLAG_PRIORITY_CRITICAL = 1 << 0;
    static constexpr unsigned int DUMP_FLAG_PRIORITY_HIGH = 1 << 1;
    static constexpr unsigned int DUMP_FLAG_PRIORITY_NORMAL = 1 << 2;
    static constexpr unsigned int DUMP_FLAG_PRIORITY_DEFAULT = 1 << 3;
    static constexpr unsigned int DUMP_FLAG_PRIORITY_ALL =
        DUMP_FLAG_PRIORITY_CRITICAL | DUMP_FLAG_PRIORITY_HIGH | DUMP_FLAG_PRIORITY_NORMAL | DUMP_FLAG_PRIORITY_DEFAULT;
    static constexpr unsigned int DUMP_FLAG_PROTO = 1 << 4;

    struct SAExtraProp {
        SAExtraProp() = default;
        SAExtraProp(bool isDistributed, unsigned int dumpFlags, const std::u16string &capability,
                    const std::u16string &permission) :
            isDistributed(isDistributed),
            dumpFlags(dumpFlags), capability(capability), permission(permission)
        {
        }

        bool isDistributed = false;
        unsigned int dumpFlags = DUMP_FLAG_PRIORITY_DEFAULT;
        std::u16string capability;
        std::u16string permission;
    };

    DECLARE_INTERFACE_DESCRIPTOR(u"OHOS.ISystemAbilityManager");

    // The ability as this process may call it (a proxy), or nullptr when it is not registered.
    virtual sptr<IRemoteObject> GetSystemAbility(int32_t systemAbilityId) = 0;
    // An empty device id means this device.
    virtual sptr<IRemoteObject> GetSystemAbility(int32_t systemAbilityId, const std::string &deviceId) = 0;
    virtual sptr<IRemoteObject> CheckSystemAbility(int32_t systemAbilityId) = 0;
    // Ids outside 0..0x00ffffff and null abilities are refused. ERR_OK on success.
    virtual int32_t AddSystemAbility(int32_t systemAbilityId, const sptr<IRemoteObject> &ability,
                                     const SAExtraProp &extraProp = SAExtraProp(false, DUMP_FLAG_PRIORITY_DEFAULT, u"",
                                                                                u"")) = 0;
    virtual int32_t RemoveSystemAbility(int32_t systemAbilityId) = 0;
};
} // namespace OHOS

#endif // OHOS_SAMGR_IF_SYSTEM_ABILITY_MANAGER_H
