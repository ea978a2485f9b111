#include "callback_sender.h"

#include <functional>

#include "message_option.h"
#include "message_parcel.h"
#include "protocol.h"

namespace OHOS::TarnbyEmulator {
namespace {
// Room for the fixed fields in front of a payload.
constexpr size_t PARCEL_HEADROOM = 256;

// Writes the callback token, lets `fill` write the fields, and sends; false from `fill` means nothing was sent.
CallbackResult Call(const sptr<IRemoteObject> &callback, uint32_t code, size_t payloadSize,
                    const std::function<bool(MessageParcel &)> &fill)
{
    CallbackResult result;
    if (callback == nullptr) {
        result.sendStatus = ERR_NULL_OBJECT;
        return result;
    }
    MessageParcel data;
    MessageParcel reply;
    MessageOption option(MessageOption::TF_SYNC);
    // A payload may exceed the default parcel limit (collaboration data goes up to 4 MiB).
    data.SetMaxCapacity(payloadSize + PARCEL_HEADROOM);
    if (!data.WriteInterfaceToken(CALLBACK_TOKEN) || !fill(data)) {
        result.sendStatus = ERR_FLATTEN_OBJECT;
        return result;
    }
    result.sendStatus = callback->SendRequest(code, data, reply, option);
    result.answered = reply.GetReadableBytes() >= sizeof(int32_t);
    if (result.answered) {
        result.answer = reply.ReadInt32();
    }
    return result;
}
} // namespace

CallbackResult CallStartAnswer(const sptr<IRemoteObject> &innerCallback, int32_t result, int32_t sessionId)
{
    return Call(innerCallback, SESSION_CALLBACK, 0, [result, sessionId](MessageParcel &data) {
        return data.WriteInt32(result) && data.WriteInt32(sessionId);
    });
}

CallbackResult CallSessionMessage(const sptr<IRemoteObject> &callback, SessionMessageType type, int32_t sessionId,
                                  const uint8_t *data, uint32_t length)
{
    return Call(callback, SESSION_CALLBACK, length, [type, sessionId, data, length](MessageParcel &parcel) {
        bool written = parcel.WriteInt32(type) && parcel.WriteInt32(sessionId) && parcel.WriteUint32(length);
        // An empty payload has no buffer: the platform refuses a buffer of 0 bytes.
        return written && (length == 0 || parcel.WriteUnpadBuffer(data, length));
    });
}

CallbackResult CallSurfaceEvent(const sptr<IRemoteObject> &callback, uint32_t eventType, uint32_t code,
                                const std::string &extra)
{
    return Call(callback, SURFACE_CALLBACK, extra.size(), [eventType, code, &extra](MessageParcel &data) {
        bool written = data.WriteUint32(SURFACE_TRANSFER) && data.WriteUint32(eventType) && data.WriteUint32(0) &&
                       data.WriteUint32(0) && data.WriteUint32(0);
        if (written && eventType == SURFACE_EVENT_WITH_CODE) {
            written = data.WriteUint32(code);
        }
        return written && data.WriteString(extra);
    });
}
} // namespace OHOS::TarnbyEmulator
