// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_INBOUND_BUDGET_H
#define OHOS_HOST_IPC_INBOUND_BUDGET_H

#include <cstdint>
#include <mutex>

namespace OHOS::HostIpc {
// What one connection may have waiting in this process (requests read but not yet served, and the bytes of their
// parcels, mapped or copied), within what the whole process may have waiting. A request that does not fit is
// refused: a synchronous one is answered as the driver answers a failed transaction, a one-way one is dropped.
// One connection's flood therefore never grows the process, nor takes the room another connection needs.
//
// Threads: any. Locks: mutex_ of the connection's budget, then the process's; both leaves.
class InboundBudget {
public:
    static constexpr uint64_t MAX_REQUESTS = 256;
    static constexpr uint64_t MAX_BYTES = 64ULL * 1024 * 1024;
    static constexpr uint64_t PROCESS_MAX_REQUESTS = 4096;
    static constexpr uint64_t PROCESS_MAX_BYTES = 1024ULL * 1024 * 1024;

    // Room for one request of `bytes`; a connection with nothing waiting always has room for one frame, however
    // large, as long as the process has.
    [[nodiscard]] bool Charge(uint64_t bytes);
    void Refund(uint64_t bytes);
    uint64_t Requests();
    // What waits in all connections of the process: requests, and the bytes of their parcels.
    static uint64_t ProcessRequests();
    static uint64_t ProcessBytes();

private:
    std::mutex mutex_;
    uint64_t requests_ = 0;
    uint64_t bytes_ = 0;
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_INBOUND_BUDGET_H
