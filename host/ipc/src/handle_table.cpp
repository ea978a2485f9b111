// SPDX-License-Identifier: Apache-2.0
#include "handle_table.h"

#include <algorithm>

namespace OHOS::HostIpc {
uint64_t HandleTable::Export(const sptr<IRemoteObject> &object)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto [slot, added] = exportHandles_.try_emplace(object.GetRefPtr(), nextHandle_);
    if (added) {
        nextHandle_++;
        exports_[slot->second].object = object;
    }
    exports_[slot->second].count++;
    return slot->second;
}

void HandleTable::Unexport(const std::vector<uint64_t> &handles, std::vector<sptr<IRemoteObject>> &released)
{
    std::lock_guard<std::mutex> lock(mutex_);
    for (uint64_t handle : handles) {
        auto found = exports_.find(handle);
        if (found == exports_.end() || --found->second.count != 0) {
            continue;
        }
        exportHandles_.erase(found->second.object.GetRefPtr());
        released.push_back(std::move(found->second.object));
        exports_.erase(found);
    }
}

sptr<IRemoteObject> HandleTable::Exported(uint64_t handle)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = exports_.find(handle);
    return found == exports_.end() ? nullptr : found->second.object;
}

bool HandleTable::IsRetired(uint64_t handle)
{
    std::lock_guard<std::mutex> lock(mutex_);
    return std::find(retired_.begin(), retired_.end(), handle) != retired_.end();
}

HandleTable::Release HandleTable::Drop(uint64_t handle, uint64_t count, sptr<IRemoteObject> &released)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = exports_.find(handle);
    if (found == exports_.end()) {
        bool retired = std::find(retired_.begin(), retired_.end(), handle) != retired_.end();
        return retired ? Release::RETIRED : Release::UNKNOWN; // it died while the peer let go of it
    }
    if (count > found->second.count) {
        return Release::TOO_MANY;
    }
    found->second.count -= count;
    if (found->second.count == 0) {
        released = std::move(found->second.object);
        exportHandles_.erase(released.GetRefPtr());
        exports_.erase(found);
    }
    return Release::DONE;
}

uint64_t HandleTable::Retire(const IRemoteObject *object, sptr<IRemoteObject> &released)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = exportHandles_.find(object);
    if (found == exportHandles_.end()) {
        return 0;
    }
    uint64_t handle = found->second;
    released = std::move(exports_[handle].object);
    exports_.erase(handle);
    exportHandles_.erase(found);
    retired_.push_back(handle);
    return handle;
}

uint64_t HandleTable::ForgetImport(uint64_t handle, const RefBase *end, const uint64_t &acquired)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = imports_.find(handle);
    if (found != imports_.end() && found->second.address == end) {
        imports_.erase(found);
    }
    return acquired;
}

wptr<RefBase> HandleTable::TakeImport(uint64_t handle)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = imports_.find(handle);
    if (found == imports_.end()) {
        return nullptr;
    }
    wptr<RefBase> end = found->second.end;
    imports_.erase(found);
    return end;
}

void HandleTable::TakeAll(std::vector<sptr<IRemoteObject>> &exports, std::vector<wptr<RefBase>> &imports)
{
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto &[handle, slot] : exports_) {
        exports.push_back(std::move(slot.object));
    }
    exports_.clear();
    exportHandles_.clear();
    for (auto &[handle, slot] : imports_) {
        imports.push_back(slot.end);
    }
    imports_.clear();
}

bool HandleTable::IsEmpty()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return exports_.empty() && imports_.empty();
}
} // namespace OHOS::HostIpc
