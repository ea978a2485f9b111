// SPDX-License-Identifier: Apache-2.0
#include "inbound_budget.h"

namespace OHOS::HostIpc {
namespace {
struct ProcessBudget {
    std::mutex mutex;
    uint64_t requests = 0;
    uint64_t bytes = 0;
};

ProcessBudget &Process()
{
    static ProcessBudget *budget = new ProcessBudget();
    return *budget;
}

bool ChargeProcess(uint64_t bytes)
{
    ProcessBudget &process = Process();
    std::lock_guard<std::mutex> lock(process.mutex);
    if (process.requests >= InboundBudget::PROCESS_MAX_REQUESTS ||
        process.bytes + bytes > InboundBudget::PROCESS_MAX_BYTES) {
        return false;
    }
    process.requests++;
    process.bytes += bytes;
    return true;
}
} // namespace

bool InboundBudget::Charge(uint64_t bytes)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (requests_ >= MAX_REQUESTS || (requests_ != 0 && bytes_ + bytes > MAX_BYTES) || !ChargeProcess(bytes)) {
        return false;
    }
    requests_++;
    bytes_ += bytes;
    return true;
}

void InboundBudget::Refund(uint64_t bytes)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        requests_--;
        bytes_ -= bytes;
    }
    ProcessBudget &process = Process();
    std::lock_guard<std::mutex> lock(process.mutex);
    process.requests--;
    process.bytes -= bytes;
}

uint64_t InboundBudget::Requests()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

uint64_t InboundBudget::ProcessRequests()
{
    ProcessBudget &process = Process();
    std::lock_guard<std::mutex> lock(process.mutex);
    return process.requests;
}

uint64_t InboundBudget::ProcessBytes()
{
    ProcessBudget &process = Process();
    std::lock_guard<std::mutex> lock(process.mutex);
    return process.bytes;
}
} // namespace OHOS::HostIpc
