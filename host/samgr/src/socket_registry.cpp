// SPDX-License-Identifier: Apache-2.0
#include "socket_registry.h"

#include <sys/stat.h>

#include "host_xproc.h"

namespace OHOS::HostSamgr {
SocketRegistry &SocketRegistry::Get()
{
    static SocketRegistry *registry = new SocketRegistry();
    return *registry;
}

bool SocketRegistry::Enabled() const
{
    return !HostIpc::CrossProcessDirectory().empty();
}

std::string SocketRegistry::PathOf(int32_t systemAbilityId) const
{
    return HostIpc::CrossProcessDirectory() + "/sa-" + std::to_string(systemAbilityId);
}

bool SocketRegistry::Add(int32_t systemAbilityId, const sptr<IRemoteObject> &ability)
{
    int id = HostIpc::ServeAt(PathOf(systemAbilityId), ability);
    if (id < 0) {
        return false;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    auto [slot, added] = served_.try_emplace(systemAbilityId, id);
    if (!added) {
        HostIpc::StopServing(slot->second); // the new socket already replaced the old one's name
        slot->second = id;
    }
    return true;
}

bool SocketRegistry::Remove(int32_t systemAbilityId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = served_.find(systemAbilityId);
    if (found == served_.end()) {
        return false;
    }
    HostIpc::StopServing(found->second);
    served_.erase(found);
    return true;
}

// One proxy per registration while it lives: the socket's inode tells a new registration from the old one.
sptr<IRemoteObject> SocketRegistry::Find(int32_t systemAbilityId)
{
    std::string path = PathOf(systemAbilityId);
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) {
        return nullptr;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    Found &found = found_[systemAbilityId];
    sptr<IRemoteObject> proxy = found.proxy.promote();
    if (proxy != nullptr && found.inode == info.st_ino && !proxy->IsObjectDead()) {
        return proxy;
    }
    proxy = HostIpc::ConnectTo(path);
    found.inode = info.st_ino;
    found.proxy = proxy;
    return proxy;
}

void SocketRegistry::Clear()
{
    std::lock_guard<std::mutex> lock(mutex_);
    for (const auto &[systemAbilityId, id] : served_) {
        HostIpc::StopServing(id);
    }
    served_.clear();
    found_.clear();
}
} // namespace OHOS::HostSamgr
