#ifndef TARNBY_TEST_FAKE_TARNBY_SERVICE_H
#define TARNBY_TEST_FAKE_TARNBY_SERVICE_H

// A stand-in for the Tarnby service, registered under its system ability id with the host samgr. It reads the
// envelope of every request itself (token, the five service-code fields) and hands the body to a handler that the
// test scripts; the handler decodes the body field by field, never with the library's readers.
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "ipc_object_stub.h"
#include "message_option.h"
#include "message_parcel.h"

namespace OHOS::TarnbyTest {
inline constexpr int32_t TARNBY_SERVICE_ID = 70633;
inline const std::u16string SERVICE_TOKEN = u"ohos.ITarnby.ITarnbyService";
inline const std::u16string CALLBACK_TOKEN = u"ohos.ITarnby.ITarnbyCallback";

// What the fake read at the head of a request, and how the request came.
struct RequestEnvelope {
    uint32_t code = 0;
    int flags = -1;
    int waitTime = -1;
    std::u16string token;
    uint32_t serviceType = 0;
    uint32_t subServiceType = 0;
    uint32_t operateCode = 0;
    uint32_t subOperateCode = 0;
    uint32_t command = 0;
    pid_t callingPid = 0;
    pid_t callingUid = 0;
};

// Decodes the body of `data` (positioned after the service code) and fills `reply`; returns the stub's result.
using RequestHandler = std::function<int(const RequestEnvelope &envelope, MessageParcel &data, MessageParcel &reply)>;

class FakeTarnbyService : public IPCObjectStub {
public:
    FakeTarnbyService();
    ~FakeTarnbyService() override = default;

    int OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override;

    // The handler of one operation; a later call replaces it.
    void On(uint32_t serviceType, uint32_t subServiceType, RequestHandler handler);
    // The handler of every operation without its own. Without one the fake replies int32 0 and returns 0.
    void OnAny(RequestHandler handler);

    std::vector<RequestEnvelope> Requests() const;
    size_t RequestCount() const;
    // Waits until `count` requests have been handled (for requests sent from threads other than the test's).
    bool WaitForRequests(size_t count, std::chrono::milliseconds timeout) const;

    // Registers this object under the Tarnby id with the host system ability manager.
    bool Register();
    // Marks this object dead as if the service's process had exited.
    void Kill();

    // A handler that replies one int32.
    static RequestHandler ReplyInt32(int32_t value);

private:
    RequestHandler FindHandler(uint32_t serviceType, uint32_t subServiceType) const;

    mutable std::mutex mutex_;
    mutable std::condition_variable handled_;
    std::map<std::pair<uint32_t, uint32_t>, RequestHandler> handlers_;
    RequestHandler defaultHandler_;
    std::vector<RequestEnvelope> requests_;
};

// Calls a callback object the way the service does: writes the callback token, lets `fill` write the rest, and sends
// it synchronously with `code`. Returns SendRequest's result; the reply lands in `reply` when given.
int SendCallback(const sptr<IRemoteObject> &callback, uint32_t code, const std::function<void(MessageParcel &)> &fill,
                 MessageParcel *reply = nullptr);
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_FAKE_TARNBY_SERVICE_H
