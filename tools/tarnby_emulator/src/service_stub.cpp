// SPDX-License-Identifier: Apache-2.0
#include "service_stub.h"

#include <algorithm>
#include <vector>

#include "emulator_log.h"
#include "protocol.h"
#include "tarnby_emulator.h"

namespace OHOS::TarnbyEmulator {
namespace {
// The stubs whose requests the current thread is inside, innermost last (a handler may call a client whose hook
// sends the service another request).
thread_local std::vector<const ServiceStub *> g_servingStubs;
} // namespace

ServiceStub::ServiceStub(RequestSink *sink) : IPCObjectStub(SERVICE_TOKEN), sink_(sink) {}

RequestSink *ServiceStub::Enter()
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (sink_ != nullptr) {
        ++active_;
    }
    return sink_;
}

void ServiceStub::Leave()
{
    std::lock_guard<std::mutex> lock(mutex_);
    --active_;
    idle_.notify_all();
}

int ServiceStub::OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    RequestSink *sink = Enter();
    if (sink == nullptr) {
        EMU_LOGE("request code %{public}u refused: the service was stopped", code);
        return EMU_ERR_STOPPED;
    }
    g_servingStubs.push_back(this);
    int result = sink->HandleRequest(code, data, reply, option);
    g_servingStubs.pop_back();
    Leave();
    return result;
}

void ServiceStub::Detach()
{
    auto own = static_cast<size_t>(std::count(g_servingStubs.begin(), g_servingStubs.end(), this));
    std::unique_lock<std::mutex> lock(mutex_);
    sink_ = nullptr;
    idle_.wait(lock, [this, own] { return active_ <= own; });
}
} // namespace OHOS::TarnbyEmulator
