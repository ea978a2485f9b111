// SPDX-License-Identifier: Apache-2.0
#include "callback_sender.h"

#include <algorithm>

#include "message_option.h"
#include "message_parcel.h"
#include "protocol.h"

namespace OHOS::TarnbyEmulator {
namespace {
// Room for the fixed fields in front of a payload.
constexpr size_t PARCEL_HEADROOM = 256;
} // namespace

void WriteCallbackToken(MessageParcel &data)
{
    data.WriteInterfaceToken(CALLBACK_TOKEN);
}

void WriteServiceCode(MessageParcel &data, uint32_t serviceType, uint32_t subServiceType, uint32_t operateCode,
                      uint32_t subOperateCode, uint32_t command)
{
    for (uint32_t field : {serviceType, subServiceType, operateCode, subOperateCode, command}) {
        data.WriteUint32(field);
    }
}

void WriteStartAnswer(MessageParcel &data, int32_t result, int32_t sessionId)
{
    WriteCallbackToken(data);
    data.WriteInt32(result);
    data.WriteInt32(sessionId);
}

bool WriteSessionMessage(MessageParcel &data, int32_t type, int32_t sessionId, const uint8_t *bytes, uint32_t length)
{
    // A payload may exceed the default parcel limit (collaboration data goes up to 4 MiB).
    data.SetMaxCapacity(std::max(data.GetMaxCapacity(), data.GetDataSize() + length + PARCEL_HEADROOM));
    WriteCallbackToken(data);
    bool written = data.WriteInt32(type) && data.WriteInt32(sessionId) && data.WriteUint32(length);
    // An empty payload has no buffer: the platform refuses a buffer of 0 bytes.
    return written && (length == 0 || data.WriteUnpadBuffer(bytes, length));
}

void WriteSurfaceEvent(MessageParcel &data, uint32_t eventType, uint32_t code, const std::string &extra)
{
    data.SetMaxCapacity(std::max(data.GetMaxCapacity(), data.GetDataSize() + extra.size() + PARCEL_HEADROOM));
    WriteCallbackToken(data);
    WriteServiceCode(data, SURFACE_TRANSFER, eventType);
    if (eventType == SURFACE_EVENT_WITH_CODE) {
        data.WriteUint32(code);
    }
    data.WriteString(extra);
}

void WriteExtraInfo(MessageParcel &data, const std::string &text)
{
    data.WriteUint32(static_cast<uint32_t>(text.size()));
    if (!text.empty()) {
        data.WriteRawData(text.c_str(), text.size() + 1);
    }
}

void WriteServiceStateChange(MessageParcel &data, const ServiceStateChange &change)
{
    constexpr uint32_t SERVICE_STATE_CHANGED = 504;
    WriteCallbackToken(data);
    WriteServiceCode(data, 0, SERVICE_STATE_CHANGED);
    data.WriteString(change.firstString);
    data.WriteString(change.secondString);
    data.WriteInt32(change.firstInt);
    data.WriteInt32(change.secondInt);
    WriteExtraInfo(data, change.extraInfo);
    data.WriteBool(change.fd >= 0);
    if (change.fd >= 0) {
        data.WriteFileDescriptor(change.fd);
    }
}

int SendCallback(const sptr<IRemoteObject> &callback, uint32_t code, MessageParcel &data, MessageParcel *reply)
{
    if (callback == nullptr) {
        return ERR_NULL_OBJECT;
    }
    MessageParcel ownReply;
    MessageOption option(MessageOption::TF_SYNC);
    return callback->SendRequest(code, data, reply != nullptr ? *reply : ownReply, option);
}

namespace {
CallbackResult Call(const sptr<IRemoteObject> &callback, uint32_t code, MessageParcel &data)
{
    CallbackResult result;
    MessageParcel reply;
    result.sendStatus = SendCallback(callback, code, data, &reply);
    result.answered = reply.GetReadableBytes() >= sizeof(int32_t);
    if (result.answered) {
        result.answer = reply.ReadInt32();
    }
    return result;
}
} // namespace

CallbackResult CallStartAnswer(const sptr<IRemoteObject> &innerCallback, int32_t result, int32_t sessionId)
{
    MessageParcel data;
    WriteStartAnswer(data, result, sessionId);
    return Call(innerCallback, SESSION_CALLBACK, data);
}

CallbackResult CallSessionMessage(const sptr<IRemoteObject> &callback, SessionMessageType type, int32_t sessionId,
                                  const uint8_t *bytes, uint32_t length)
{
    MessageParcel data;
    if (!WriteSessionMessage(data, type, sessionId, bytes, length)) {
        return CallbackResult{ERR_FLATTEN_OBJECT};
    }
    return Call(callback, SESSION_CALLBACK, data);
}

CallbackResult CallSurfaceEvent(const sptr<IRemoteObject> &callback, uint32_t eventType, uint32_t code,
                                const std::string &extra)
{
    MessageParcel data;
    WriteSurfaceEvent(data, eventType, code, extra);
    return Call(callback, SURFACE_CALLBACK, data);
}
} // namespace OHOS::TarnbyEmulator
