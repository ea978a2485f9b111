// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_HANDLE_TABLE_H
#define OHOS_HOST_IPC_HANDLE_TABLE_H

#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

#include "iremote_object.h"

namespace OHOS::HostIpc {
// The objects one connection shares in each direction: this process's objects the peer holds (exports, counted by
// the references the peer was given) and the handles of the peer's objects this process holds (imports, each
// bound to one end while it lives). Handles of exports that died are remembered, so a late release or request for
// one is told from a forged handle.
//
// Threads: any. Locks: its own mutex, a leaf (nothing is called while it is held); released objects are handed to
// the caller to drop after the lock.
class HandleTable {
public:
    static constexpr uint64_t ROOT_HANDLE = 1;

    // Counts one more reference of the peer to `object` and gives its handle.
    uint64_t Export(const sptr<IRemoteObject> &object);
    // Takes back references counted by Export for a frame that was never sent.
    void Unexport(const std::vector<uint64_t> &handles, std::vector<sptr<IRemoteObject>> &released);
    // The local object exported as `handle`, or nullptr.
    sptr<IRemoteObject> Exported(uint64_t handle);
    bool IsRetired(uint64_t handle);

    enum class Release { DONE, RETIRED, UNKNOWN, TOO_MANY };
    // The peer dropped `count` references to `handle`; an object it no longer holds lands in `released`.
    [[nodiscard]] Release Drop(uint64_t handle, uint64_t count, sptr<IRemoteObject> &released);
    // The export of `object` dies: its handle is retired (0 when it was not exported).
    uint64_t Retire(const IRemoteObject *object, sptr<IRemoteObject> &released);

    // The end bound to the peer's `handle`, made by `make` when none lives; counts one more reference received
    // through `acquired` (the end's own counter: references the peer counted for that very end).
    template <typename End, typename Make>
    sptr<End> Import(uint64_t handle, Make make, uint64_t End::*acquired)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ImportSlot &slot = imports_[handle];
        sptr<RefBase> live = slot.end.promote();
        sptr<End> end = live == nullptr ? nullptr : dynamic_cast<End *>(live.GetRefPtr());
        if (end == nullptr) {
            end = make();
            if (end == nullptr) {
                imports_.erase(handle);
                return nullptr;
            }
            slot.address = end.GetRefPtr();
            slot.end = static_cast<RefBase *>(end.GetRefPtr());
        }
        (end.GetRefPtr()->*acquired)++;
        return end;
    }
    // Forgets the import of `handle` if `end` is still the one bound to it; the references the peer counted for
    // `end` (read under the lock).
    uint64_t ForgetImport(uint64_t handle, const RefBase *end, const uint64_t &acquired);
    // The end bound to `handle`, taken out of the table (the peer said it died).
    wptr<RefBase> TakeImport(uint64_t handle);
    // Everything, for a connection that died: exports to drop, ends to kill.
    void TakeAll(std::vector<sptr<IRemoteObject>> &exports, std::vector<wptr<RefBase>> &imports);
    bool IsEmpty();

private:
    struct ExportSlot {
        sptr<IRemoteObject> object;
        uint64_t count = 0;
    };
    struct ImportSlot {
        const RefBase *address = nullptr;
        wptr<RefBase> end;
    };

    std::mutex mutex_;
    std::map<uint64_t, ExportSlot> exports_;
    std::map<const IRemoteObject *, uint64_t> exportHandles_;
    std::map<uint64_t, ImportSlot> imports_;
    std::vector<uint64_t> retired_;
    uint64_t nextHandle_ = ROOT_HANDLE;
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_HANDLE_TABLE_H
