#ifndef TARNBY_TEST_MEDIA_REQUESTS_H
#define TARNBY_TEST_MEDIA_REQUESTS_H

// The audio (service type 104) and surface (105) requests as the service reads them: each body is decoded field by
// field from the service's own table of layouts, recorded, and answered with int32 values the test chooses.
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "fake_tarnby_service.h"
#include "iremote_object.h"

namespace OHOS::TarnbyTest {
inline constexpr uint32_t AUDIO_SERVICE_TYPE = 104;
inline constexpr uint32_t SURFACE_SERVICE_TYPE = 105;

// A remote object in a body; the object itself is kept in DecodedRequest::objects.
struct RemoteObjectField {
    bool present = false;
    bool operator==(const RemoteObjectField &other) const
    {
        return present == other.present;
    }
};
using Bytes = std::vector<uint8_t>;
using WireValue = std::variant<int32_t, uint32_t, std::string, Bytes, RemoteObjectField>;

struct DecodedRequest {
    RequestEnvelope envelope;
    std::vector<WireValue> fields;
    std::vector<sptr<IRemoteObject>> objects; // as the service received them (proxies to the caller's objects)
    size_t unreadBytes = 0;                   // what was left in the body after the layout
};

class MediaRequestLog {
public:
    // Teaches `service` every audio and surface request. Unless SetReply() says otherwise, each is answered with
    // int32 0 (InitAudioTransfer with 0 and 0).
    static std::shared_ptr<MediaRequestLog> Teach(FakeTarnbyService &service);

    void SetReply(uint32_t serviceType, uint32_t subServiceType, std::vector<int32_t> reply);
    std::vector<DecodedRequest> Requests() const;
    // The one request recorded; a default request (service type 0) when there is not exactly one.
    DecodedRequest Only() const;

private:
    int Handle(const RequestEnvelope &envelope, MessageParcel &data, MessageParcel &reply);

    mutable std::mutex mutex_;
    std::map<std::pair<uint32_t, uint32_t>, std::vector<int32_t>> replies_;
    std::vector<DecodedRequest> requests_;
};
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_MEDIA_REQUESTS_H
