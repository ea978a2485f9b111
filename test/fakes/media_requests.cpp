#include "media_requests.h"

#include "message_parcel.h"

namespace OHOS::TarnbyTest {
namespace {
// BUFFER is a block without a length of its own: its length is the uint32 field just before it.
enum class Field { INT32, UINT32, STRING, BUFFER, REMOTE_OBJECT };

struct Layout {
    uint32_t serviceType;
    uint32_t subServiceType;
    std::vector<Field> fields;
    std::vector<int32_t> defaultReply;
};

// The service's side of the protocol, written out from its tables: the order the service reads each body in.
const std::vector<Layout> &Layouts()
{
    using F = Field;
    static const std::vector<Layout> layouts = {
        {AUDIO_SERVICE_TYPE, 27, {F::STRING, F::STRING, F::INT32}, {0, 0}},
        {AUDIO_SERVICE_TYPE, 28, {F::INT32, F::INT32}, {0}},
        {AUDIO_SERVICE_TYPE, 15, {F::INT32}, {0}},
        {AUDIO_SERVICE_TYPE, 16, {F::INT32}, {0}},
        {SURFACE_SERVICE_TYPE,
         17,
         {F::INT32, F::STRING, F::STRING, F::STRING, F::STRING, F::INT32, F::UINT32, F::BUFFER, F::REMOTE_OBJECT},
         {0}},
        {SURFACE_SERVICE_TYPE, 18, {F::INT32}, {0}},
        {SURFACE_SERVICE_TYPE, 19, {F::STRING, F::STRING, F::INT32}, {0}},
        {SURFACE_SERVICE_TYPE, 20, {F::INT32}, {0}},
        {SURFACE_SERVICE_TYPE, 21, {F::INT32, F::INT32}, {0}},
        {SURFACE_SERVICE_TYPE, 22, {F::INT32, F::INT32, F::UINT32, F::UINT32, F::UINT32, F::UINT32, F::UINT32}, {0}},
        {SURFACE_SERVICE_TYPE, 29, {F::INT32, F::UINT32, F::STRING}, {0}},
    };
    return layouts;
}

WireValue ReadField(Field field, MessageParcel &data, DecodedRequest &request)
{
    switch (field) {
        case Field::INT32:
            return data.ReadInt32();
        case Field::UINT32:
            return data.ReadUint32();
        case Field::STRING:
            return data.ReadString();
        case Field::BUFFER: {
            const uint32_t *length = request.fields.empty() ? nullptr : std::get_if<uint32_t>(&request.fields.back());
            size_t size = length != nullptr ? *length : 0;
            const uint8_t *bytes = data.ReadUnpadBuffer(size);
            return bytes != nullptr ? Bytes(bytes, bytes + size) : Bytes();
        }
        case Field::REMOTE_OBJECT: {
            sptr<IRemoteObject> object = data.ReadRemoteObject();
            request.objects.push_back(object);
            return RemoteObjectField{object != nullptr};
        }
    }
    return {};
}
} // namespace

std::shared_ptr<MediaRequestLog> MediaRequestLog::Teach(FakeTarnbyService &service)
{
    auto log = std::make_shared<MediaRequestLog>();
    for (const Layout &layout : Layouts()) {
        log->replies_[{layout.serviceType, layout.subServiceType}] = layout.defaultReply;
        service.On(layout.serviceType, layout.subServiceType,
                   [log](const RequestEnvelope &envelope, MessageParcel &data, MessageParcel &reply) {
                       return log->Handle(envelope, data, reply);
                   });
    }
    return log;
}

int MediaRequestLog::Handle(const RequestEnvelope &envelope, MessageParcel &data, MessageParcel &reply)
{
    DecodedRequest request;
    request.envelope = envelope;
    for (const Layout &layout : Layouts()) {
        if (layout.serviceType == envelope.serviceType && layout.subServiceType == envelope.subServiceType) {
            for (Field field : layout.fields) {
                request.fields.push_back(ReadField(field, data, request));
            }
        }
    }
    request.unreadBytes = data.GetReadableBytes();
    std::lock_guard<std::mutex> lock(mutex_);
    for (int32_t value : replies_[{envelope.serviceType, envelope.subServiceType}]) {
        reply.WriteInt32(value);
    }
    requests_.push_back(std::move(request));
    return 0;
}

void MediaRequestLog::SetReply(uint32_t serviceType, uint32_t subServiceType, std::vector<int32_t> reply)
{
    std::lock_guard<std::mutex> lock(mutex_);
    replies_[{serviceType, subServiceType}] = std::move(reply);
}

std::vector<DecodedRequest> MediaRequestLog::Requests() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

DecodedRequest MediaRequestLog::Only() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_.size() == 1 ? requests_.front() : DecodedRequest{};
}
} // namespace OHOS::TarnbyTest
