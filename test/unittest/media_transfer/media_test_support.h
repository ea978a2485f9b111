#ifndef TARNBY_TEST_MEDIA_TEST_SUPPORT_H
#define TARNBY_TEST_MEDIA_TEST_SUPPORT_H

// Shared pieces of the media transfer tests: a fixture whose fake service decodes the audio and surface requests, a
// callback that records its events, field builders for the decoded requests, and a check of a request's envelope.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "callback_skeleton.h"
#include "media_requests.h"
#include "service_test_base.h"
#include "surface_transfer_ability.h"

namespace OHOS::TarnbyTest {
inline constexpr int32_t SEND_FAILED = 0x1B8003F5;
// More than a request parcel may hold (200 KiB).
inline const std::string OVERSIZED(210000, 'x');
inline const std::string DEVICE_BLOCK = "hello";

class MediaServiceTest : public ServiceTestBase {
protected:
    void SetUp() override
    {
        ServiceTestBase::SetUp();
        requests_ = MediaRequestLog::Teach(*service_);
    }

    std::shared_ptr<MediaRequestLog> requests_;
};

// A remote device with a distinct value in every field and a five-byte block.
inline std::shared_ptr<Tarnby::RemoteDevice> MakeDevice()
{
    auto device = std::make_shared<Tarnby::RemoteDevice>();
    device->firstText = "a";
    device->secondText = "bb";
    device->thirdText = "ccc";
    device->fourthText = "dddd";
    device->value = -7;
    device->dataLen = static_cast<uint32_t>(DEVICE_BLOCK.size());
    device->data = DEVICE_BLOCK.data();
    return device;
}

inline void PrintTo(const RemoteObjectField &field, std::ostream *os)
{
    *os << (field.present ? "<remote object>" : "<no remote object>");
}

inline WireValue I32(int32_t value)
{
    return value;
}
inline WireValue U32(uint32_t value)
{
    return value;
}
inline WireValue Str(const std::string &value)
{
    return value;
}
inline WireValue Buf(const std::string &value)
{
    return Bytes(value.begin(), value.end());
}
inline WireValue RemoteObject()
{
    return RemoteObjectField{true};
}

struct Event {
    uint32_t code = 0;
    uint32_t eventId = 0;
    std::string extra;
    std::thread::id thread;
};

// Records every OnEvent (the service's events and the death notification) and answers `answer`.
class EventRecorder : public Tarnby::CallbackSkeleton {
public:
    explicit EventRecorder(int32_t answer = 0) : answer_(answer) {}

    int32_t OnEvent(uint32_t code, uint32_t eventId, std::string &extra) override
    {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            events_.push_back({code, eventId, extra, std::this_thread::get_id()});
        }
        arrived_.notify_all();
        return answer_;
    }

    std::vector<Event> Events() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return events_;
    }

    // Waits (bounded) until `count` events arrived, for events delivered on IPC threads.
    bool WaitForEvents(size_t count) const
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return arrived_.wait_for(lock, std::chrono::seconds(5), [this, count] { return events_.size() >= count; });
    }

private:
    const int32_t answer_;
    mutable std::mutex mutex_;
    mutable std::condition_variable arrived_;
    std::vector<Event> events_;
};

inline testing::AssertionResult EnvelopeIs(const RequestEnvelope &envelope, uint32_t code, uint32_t serviceType,
                                           uint32_t subServiceType)
{
    if (envelope.code != code || envelope.token != SERVICE_TOKEN || envelope.serviceType != serviceType ||
        envelope.subServiceType != subServiceType || envelope.operateCode != 0 || envelope.subOperateCode != 0 ||
        envelope.command != 0 || envelope.flags != 0 || envelope.waitTime != 8) {
        return testing::AssertionFailure()
               << "envelope: code " << envelope.code << ", service " << envelope.serviceType << "/"
               << envelope.subServiceType << ", codes " << envelope.operateCode << "/" << envelope.subOperateCode << "/"
               << envelope.command << ", flags " << envelope.flags << ", wait " << envelope.waitTime;
    }
    return testing::AssertionSuccess();
}
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_MEDIA_TEST_SUPPORT_H
