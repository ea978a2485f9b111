// SPDX-License-Identifier: Apache-2.0
// Host system ability manager: a plain local object in this process that hands out the shared proxies of the
// registered abilities, as if each ability lived in a process of its own; in the cross-process mode the
// registrations also go to the socket directory that every process of the user shares.
#include <atomic>
#include <map>
#include <mutex>
#include <new>

#include "hilog/log.h"
#include "host_ipc_proxy.h"
#include "host_samgr.h"
#include "iservice_registry.h"
#include "socket_registry.h"

namespace OHOS {
namespace {
constexpr int32_t LAST_SYSTEM_ABILITY_ID = 0x00ffffff;
constexpr int32_t ERR_INVALID_VALUE = 22; // what the manager answers for a bad id or a missing ability
constexpr unsigned int LOG_DOMAIN_SAMGR = 0xD001800;
constexpr const char *LOG_TAG_SAMGR = "HostSamgr";

bool IsValidId(int32_t systemAbilityId)
{
    return systemAbilityId >= 0 && systemAbilityId <= LAST_SYSTEM_ABILITY_ID;
}

// Registrations outlive any one manager object, as the real manager outlives its clients' handles to it.
class AbilityTable {
public:
    static AbilityTable &Get()
    {
        static AbilityTable *table = new AbilityTable();
        return *table;
    }

    int32_t Add(int32_t systemAbilityId, const sptr<IRemoteObject> &ability)
    {
        if (!IsValidId(systemAbilityId) || ability == nullptr) {
            HiLogPrint(LOG_CORE, LOG_ERROR, LOG_DOMAIN_SAMGR, LOG_TAG_SAMGR, "AddSystemAbility refused id %{public}d",
                       systemAbilityId);
            return ERR_INVALID_VALUE;
        }
        if (HostSamgr::SocketRegistry::Get().Enabled() &&
            !HostSamgr::SocketRegistry::Get().Add(systemAbilityId, ability)) {
            return ERR_INVALID_VALUE;
        }
        std::lock_guard<std::mutex> lock(mutex_);
        abilities_[systemAbilityId] = ability;
        return ERR_OK;
    }

    int32_t Remove(int32_t systemAbilityId)
    {
        sptr<IRemoteObject> removed; // released after the lock
        if (HostSamgr::SocketRegistry::Get().Enabled()) {
            HostSamgr::SocketRegistry::Get().Remove(systemAbilityId);
        }
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = abilities_.find(systemAbilityId);
        if (!IsValidId(systemAbilityId) || found == abilities_.end()) {
            return ERR_INVALID_VALUE;
        }
        removed = std::move(found->second);
        abilities_.erase(found);
        return ERR_OK;
    }

    // Never blocks: an ability that is not registered now is simply not there. A killed ability is forgotten,
    // as the real manager forgets abilities whose process died.
    sptr<IRemoteObject> Find(int32_t systemAbilityId)
    {
        lookups_++;
        sptr<IRemoteObject> ability = Registered(systemAbilityId);
        if (ability == nullptr && HostSamgr::SocketRegistry::Get().Enabled()) {
            // Registered by another process. One of this process goes through its connection to itself.
            return IsValidId(systemAbilityId) ? HostSamgr::SocketRegistry::Get().Find(systemAbilityId) : nullptr;
        }
        sptr<IRemoteObject> proxy = HostIpc::GetProxy(ability);
        if (proxy != nullptr && proxy->IsObjectDead()) {
            Forget(systemAbilityId, ability);
            return nullptr;
        }
        return proxy;
    }

    void Clear()
    {
        std::map<int32_t, sptr<IRemoteObject>> dropped;
        HostSamgr::SocketRegistry::Get().Clear();
        std::lock_guard<std::mutex> lock(mutex_);
        dropped.swap(abilities_);
        lookups_ = 0;
    }

    uint32_t Lookups() const
    {
        return lookups_;
    }

private:
    AbilityTable() = default;

    sptr<IRemoteObject> Registered(int32_t systemAbilityId)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = abilities_.find(systemAbilityId);
        return found == abilities_.end() ? nullptr : found->second;
    }

    // Only the registration that was found dead goes; one added again meanwhile stays.
    void Forget(int32_t systemAbilityId, const sptr<IRemoteObject> &ability)
    {
        sptr<IRemoteObject> removed;
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = abilities_.find(systemAbilityId);
        if (found != abilities_.end() && found->second == ability) {
            removed = std::move(found->second);
            abilities_.erase(found);
            if (HostSamgr::SocketRegistry::Get().Enabled()) {
                HostSamgr::SocketRegistry::Get().Remove(systemAbilityId);
            }
        }
    }

    std::mutex mutex_;
    std::map<int32_t, sptr<IRemoteObject>> abilities_;
    std::atomic<uint32_t> lookups_{0};
};

class SystemAbilityManager : public ISystemAbilityManager {
public:
    sptr<IRemoteObject> AsObject() override
    {
        return nullptr; // a plain local object: there is no remote object behind it
    }

    sptr<IRemoteObject> GetSystemAbility(int32_t systemAbilityId) override
    {
        return AbilityTable::Get().Find(systemAbilityId);
    }

    // The host is a single device, so every device id names it.
    sptr<IRemoteObject> GetSystemAbility(int32_t systemAbilityId, const std::string &deviceId) override
    {
        return AbilityTable::Get().Find(systemAbilityId);
    }

    sptr<IRemoteObject> CheckSystemAbility(int32_t systemAbilityId) override
    {
        return AbilityTable::Get().Find(systemAbilityId);
    }

    int32_t AddSystemAbility(int32_t systemAbilityId, const sptr<IRemoteObject> &ability,
                             const SAExtraProp &extraProp) override
    {
        return AbilityTable::Get().Add(systemAbilityId, ability);
    }

    int32_t RemoveSystemAbility(int32_t systemAbilityId) override
    {
        return AbilityTable::Get().Remove(systemAbilityId);
    }
};

std::atomic<bool> g_managerAvailable{true};
} // namespace

SystemAbilityManagerClient &SystemAbilityManagerClient::GetInstance()
{
    static SystemAbilityManagerClient *instance = new SystemAbilityManagerClient();
    return *instance;
}

sptr<ISystemAbilityManager> SystemAbilityManagerClient::GetSystemAbilityManager()
{
    if (!g_managerAvailable) {
        return nullptr;
    }
    std::lock_guard<std::mutex> lock(systemAbilityManagerLock_);
    if (systemAbilityManager_ == nullptr) {
        systemAbilityManager_ = new (std::nothrow) SystemAbilityManager();
    }
    return systemAbilityManager_;
}

void SystemAbilityManagerClient::DestroySystemAbilityManagerObject()
{
    sptr<ISystemAbilityManager> dropped;
    std::lock_guard<std::mutex> lock(systemAbilityManagerLock_);
    dropped = std::move(systemAbilityManager_);
}

namespace HostSamgr {
void SetManagerAvailable(bool available)
{
    g_managerAvailable = available;
}

uint32_t GetSystemAbilityCallCount()
{
    return AbilityTable::Get().Lookups();
}

void Reset()
{
    AbilityTable::Get().Clear();
    g_managerAvailable = true;
}
} // namespace HostSamgr
} // namespace OHOS
