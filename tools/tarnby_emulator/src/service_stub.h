// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EMULATOR_SERVICE_STUB_H
#define TARNBY_EMULATOR_SERVICE_STUB_H

// The service object registered under the Tarnby id. It hands every request to its owner until it is detached;
// a detached object (a stopped or dead service) refuses everything, so it may outlive the owner safely.
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "ipc_object_stub.h"

namespace OHOS::TarnbyEmulator {
class RequestSink {
public:
    virtual ~RequestSink() = default;
    virtual int HandleRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
};

class ServiceStub : public IPCObjectStub {
public:
    explicit ServiceStub(RequestSink *sink);
    ~ServiceStub() override = default;

    int OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    // No request reaches the sink after this returns: it waits for those being handled, except one handled on the
    // calling thread itself (a callback that stops the service from inside a request).
    void Detach();

private:
    // The sink, read under the lock that Detach() takes, with the request counted; null once detached.
    RequestSink *Enter();
    void Leave();

    std::mutex mutex_;
    std::condition_variable idle_;
    RequestSink *sink_;
    size_t active_ = 0;
};
} // namespace OHOS::TarnbyEmulator

#endif // TARNBY_EMULATOR_SERVICE_STUB_H
