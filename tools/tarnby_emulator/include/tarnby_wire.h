// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EMULATOR_WIRE_H
#define TARNBY_EMULATOR_WIRE_H

// The Tarnby protocol as the service sees it, for tests that look at single requests and callbacks:
//  - DecodeRequest reads a client request field by field, in the order the service expects, with the platform's own
//    parcel calls (never with the client library's readers);
//  - the Write* functions build the service's callback parcels in wire order, and SendCallback delivers one.
#include <cstdint>
#include <string>
#include <sys/types.h>
#include <variant>
#include <vector>

#include "iremote_object.h"
#include "message_parcel.h"

namespace OHOS::TarnbyEmulator {
inline const std::u16string SERVICE_TOKEN = u"ohos.ITarnby.ITarnbyService";
inline const std::u16string CALLBACK_TOKEN = u"ohos.ITarnby.ITarnbyCallback";

// One field of a request body as the service read it. A target is read as its presence flag (named like the target)
// followed by its five fields ("target.networkId", ...); a buffer as the bytes after its length field.
using FieldValue = std::variant<int32_t, uint32_t, std::string, std::vector<uint8_t>, sptr<IRemoteObject>>;
struct RequestField {
    std::string name;
    FieldValue value;
};

// A request as the service read it: the envelope, then the body of the operation the envelope names.
struct DecodedRequest {
    uint32_t code = 0;
    std::u16string token;
    uint32_t serviceType = 0;
    uint32_t subServiceType = 0;
    uint32_t operateCode = 0;
    uint32_t subOperateCode = 0;
    uint32_t command = 0;
    std::string operation; // e.g. "StartCollaboration"; empty when the envelope names no operation
    std::vector<RequestField> fields;
    size_t leftover = 0; // bytes after the last field the service knows of
    std::string problem; // "<field> missing" for the first field that could not be read, else empty
    // How the request came; filled in by the emulator's service object, left as is by DecodeRequest.
    int flags = -1;
    int waitTime = -1;
    pid_t callingPid = 0;
    pid_t callingUid = 0;

    bool TokenOk() const
    {
        return token == SERVICE_TOKEN;
    }
    // The first field called `name`, or null.
    const FieldValue *Find(const std::string &name) const;
    // The body in one line, values only, in wire order: int32 as is, uint32 with a "u", strings quoted (a long one as
    // "<N chars>"), buffers as hex (a long one as <N bytes>), objects as <object> or <null>. E.g.
    // 0 5520 1 "peer" 1u "com.example" "Ability" 0 <object> "extra".
    std::string Body() const;
};

// Reads the interface token, the five service-code fields and the body of the operation they name; stops at the
// first field that is missing. Safe on any parcel content: no length read from the parcel sizes an allocation.
DecodedRequest DecodeRequest(uint32_t code, MessageParcel &data);
// The names DecodeRequest gives the operations it knows, each once, in the order of the service's table.
std::vector<std::string> OperationNames();

// The shown form of one value, as in DecodedRequest::Body.
std::string FieldText(const FieldValue &value);

// Callback parcels. Every call to a client callback object opens with the callback token.
void WriteCallbackToken(MessageParcel &data);
// The five service-code fields in front of a family's body (request codes 101, 501 and 601).
void WriteServiceCode(MessageParcel &data, uint32_t serviceType, uint32_t subServiceType, uint32_t operateCode = 0,
                      uint32_t subOperateCode = 0, uint32_t command = 0);
// Request code 103 to a start's inner callback: token, int32 result, int32 session id.
void WriteStartAnswer(MessageParcel &data, int32_t result, int32_t sessionId);
// Request code 103 to a collaboration callback: token, int32 type (104 data, 105 event), int32 session id, uint32
// length, the bytes unpadded (none when the length is 0).
bool WriteSessionMessage(MessageParcel &data, int32_t type, int32_t sessionId, const uint8_t *bytes, uint32_t length);
// Request code 601: token, service code (105, eventType, 0, 0, 0), a uint32 code for event type 10001 only, the text.
void WriteSurfaceEvent(MessageParcel &data, uint32_t eventType, uint32_t code, const std::string &extra);
// The extra-info block of a device-connect state change: uint32 length, then the text and its terminating zero as
// one raw block (nothing when the text is empty).
void WriteExtraInfo(MessageParcel &data, const std::string &text);

// A device-connect state change (request code 501, sub service type 504) as the service sends it.
struct ServiceStateChange {
    std::string firstString;
    std::string secondString;
    int32_t firstInt = 0;
    int32_t secondInt = 0;
    std::string extraInfo; // JSON text; with a member "fd" the receiver gets `fd` in its place
    int fd = -1;           // sent (duplicated) when not negative; the caller keeps its own
};
// Request code 501 to a device-connect callback: token, service code (0, 504, 0, 0, 0), the two strings, the two
// int32, the extra-info block, bool hasFd (a descriptor is given), then the descriptor.
void WriteServiceStateChange(MessageParcel &data, const ServiceStateChange &change);

// Sends a callback parcel synchronously, as the service does. Returns SendRequest's status; the reply is left in
// `reply` when given.
int SendCallback(const sptr<IRemoteObject> &callback, uint32_t code, MessageParcel &data,
                 MessageParcel *reply = nullptr);
} // namespace OHOS::TarnbyEmulator

#endif // TARNBY_EMULATOR_WIRE_H
