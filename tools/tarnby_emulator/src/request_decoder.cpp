// SPDX-License-Identifier: Apache-2.0
// The service's one reader of client requests: the envelope, then each operation's body in the order the service
// expects it. The handlers work on what this reads (see RequestReader), and tests and fuzzers call it directly.
#include <algorithm>
#include <iomanip>
#include <sstream>

#include "protocol.h"
#include "string_ex.h"
#include "tarnby_wire.h"

namespace OHOS::TarnbyEmulator {
namespace {
constexpr size_t SHOWN_STRING_MAX = 64;
constexpr size_t SHOWN_BYTES_MAX = 16;

enum LocalTargetType : int32_t {
    LOCAL_SYSTEM_ABILITY = 0,
};

// Reads fields into a DecodedRequest, each under its name, until the first one is missing.
class BodyDecoder {
public:
    BodyDecoder(MessageParcel &data, DecodedRequest &request) : data_(data), request_(request) {}

    bool Int32(const char *name, int32_t *value = nullptr)
    {
        int32_t read = 0;
        return Ok() && (data_.ReadInt32(read) ? Keep(name, read, value) : Missing(name));
    }
    bool Uint32(const char *name, uint32_t *value = nullptr)
    {
        uint32_t read = 0;
        return Ok() && (data_.ReadUint32(read) ? Keep(name, read, value) : Missing(name));
    }
    bool String(const std::string &name)
    {
        std::string read;
        return Ok() && (data_.ReadString(read) ? Keep(name, std::move(read)) : Missing(name));
    }
    // `length` bytes written as a padded buffer without a length of its own; the parcel refuses more than it holds.
    bool Bytes(const char *name, uint32_t length)
    {
        if (!Ok()) {
            return false;
        }
        const uint8_t *raw = length == 0 ? nullptr : data_.ReadUnpadBuffer(length);
        if (length != 0 && raw == nullptr) {
            return Missing(name);
        }
        return Keep(name, std::vector<uint8_t>(raw, raw + length));
    }
    bool Object(const char *name)
    {
        if (!Ok()) {
            return false;
        }
        sptr<IRemoteObject> object = data_.ReadRemoteObject();
        return object != nullptr ? Keep(name, object) : Missing(name);
    }
    // Presence flag, then (when present) network id, target type, bundle, ability and system ability id.
    bool Target(const std::string &name)
    {
        int32_t present = 0;
        if (!Int32(name.c_str(), &present) || present == 0) {
            return Ok();
        }
        return String(name + ".networkId") && Uint32((name + ".targetType").c_str()) && String(name + ".bundleName") &&
               String(name + ".abilityName") && Int32((name + ".systemAbilityId").c_str());
    }
    bool RemoteDevice()
    {
        uint32_t dataLen = 0;
        return String("firstText") && String("secondText") && String("thirdText") && String("fourthText") &&
               Int32("value") && Uint32("dataLen", &dataLen) && Bytes("data", dataLen);
    }
    bool HasMore() const
    {
        return Ok() && data_.GetReadableBytes() > 0;
    }
    bool Ok() const
    {
        return request_.problem.empty();
    }

private:
    template <typename T, typename Out = T>
    bool Keep(const std::string &name, T value, Out *out = nullptr)
    {
        if (out != nullptr) {
            *out = value;
        }
        request_.fields.push_back(RequestField{name, FieldValue(std::move(value))});
        return true;
    }
    bool Missing(const std::string &name)
    {
        request_.problem = name + " missing";
        return false;
    }

    MessageParcel &data_;
    DecodedRequest &request_;
};

void DecodeStart(BodyDecoder &body)
{
    int32_t localType = -1;
    if (!body.Int32("LocalTargetType", &localType)) {
        return;
    }
    bool local = localType == LOCAL_SYSTEM_ABILITY ? body.Int32("localId")
                                                   : body.String("bundleName") && body.String("abilityName");
    if (local && body.Target("target") && body.Object("callback") && body.HasMore()) {
        body.String("extraData"); // travels only when the client has some
    }
}

void DecodeStartBetweenTargets(BodyDecoder &body)
{
    uint32_t dataLen = 0;
    if (body.Target("srcTarget") && body.Target("dstTarget") && body.Object("callback") &&
        body.Uint32("dataLen", &dataLen) && dataLen != 0 && body.HasMore()) {
        body.Bytes("data", dataLen); // a client may send the length without the bytes
    }
}

void DecodeSendData(BodyDecoder &body)
{
    uint32_t dataLen = 0;
    if (body.Int32("collaborationSessionId") && body.Uint32("dataLen", &dataLen) && dataLen <= MAX_DATA_LEN) {
        body.Bytes("data", dataLen);
    }
}

void DecodeSurfaceInit(BodyDecoder &body)
{
    if (body.Int32("connId") && body.RemoteDevice()) {
        body.Object("callback");
    }
}

struct OperationLayout {
    uint32_t requestCode;
    uint32_t serviceType;
    uint32_t subServiceType;
    const char *name;
    void (*decode)(BodyDecoder &body);
};

// Every operation the service offers and how its body is laid out.
const OperationLayout LAYOUTS[] = {
    {COLLABORATION_EVENT, COLLABORATION, 7, "StartCollaboration", DecodeStart},
    {COLLABORATION_EVENT, COLLABORATION, 8, "StopCollaboration",
     [](BodyDecoder &body) { body.Int32("collaborationSessionId"); }},
    {COLLABORATION_EVENT, COLLABORATION, 13, "SendCollaborationData", DecodeSendData},
    {COLLABORATION_EVENT, COLLABORATION, 23, "RegisterCollaborationCallback",
     [](BodyDecoder &body) { body.Target("target") && body.Object("callback"); }},
    {COLLABORATION_EVENT, COLLABORATION, 24, "UnRegisterCollaborationCallback",
     [](BodyDecoder &body) { body.Target("target"); }},
    {COLLABORATION_EVENT, COLLABORATION, 25, "StartCollaboration", DecodeStartBetweenTargets},
    {COLLABORATION_EVENT, AUDIO_TRANSFER, 15, "StartAudioTransfer", [](BodyDecoder &body) { body.Int32("connId"); }},
    {COLLABORATION_EVENT, AUDIO_TRANSFER, 16, "StopAudioTransfer", [](BodyDecoder &body) { body.Int32("connId"); }},
    {COLLABORATION_EVENT, AUDIO_TRANSFER, 27, "InitAudioTransfer",
     [](BodyDecoder &body) { body.String("peerNetworkId") && body.String("devName") && body.Int32("businessType"); }},
    {COLLABORATION_EVENT, AUDIO_TRANSFER, 28, "DeInitAudioTransfer",
     [](BodyDecoder &body) { body.Int32("connId") && body.Int32("businessType"); }},
    {SURFACE_TRANSFER_EVENT, SURFACE_TRANSFER, 17, "InitSurfaceTransfer", DecodeSurfaceInit},
    {SURFACE_TRANSFER_EVENT, SURFACE_TRANSFER, 18, "DeInitSurfaceTransfer",
     [](BodyDecoder &body) { body.Int32("connId"); }},
    {SURFACE_TRANSFER_EVENT, SURFACE_TRANSFER, 19, "StartSurfaceTransfer",
     [](BodyDecoder &body) { body.String("first") && body.String("second") && body.Int32("connId"); }},
    {SURFACE_TRANSFER_EVENT, SURFACE_TRANSFER, 20, "StopSurfaceTransfer",
     [](BodyDecoder &body) { body.Int32("connId"); }},
    {SURFACE_TRANSFER_EVENT, SURFACE_TRANSFER, 21, "CastOperation",
     [](BodyDecoder &body) { body.Int32("connId") && body.Int32("type"); }},
    {SURFACE_TRANSFER_EVENT, SURFACE_TRANSFER, 22, "SetScreenParam",
     [](BodyDecoder &body) {
         body.Int32("connId") && body.Int32("type") && body.Uint32("firstValue") && body.Uint32("secondValue") &&
             body.Uint32("thirdValue") && body.Uint32("fourthValue") && body.Uint32("fifthValue");
     }},
    {SURFACE_TRANSFER_EVENT, SURFACE_TRANSFER, 29, "SetVirtualDisplayParam",
     [](BodyDecoder &body) { body.Int32("connId") && body.Uint32("value") && body.String("text"); }},
};

const OperationLayout *FindLayout(const DecodedRequest &request)
{
    // The qualifiers operateCode, subOperateCode and command are always 0.
    if (request.operateCode != 0 || request.subOperateCode != 0 || request.command != 0) {
        return nullptr;
    }
    for (const OperationLayout &layout : LAYOUTS) {
        if (layout.requestCode == request.code && layout.serviceType == request.serviceType &&
            layout.subServiceType == request.subServiceType) {
            return &layout;
        }
    }
    return nullptr;
}

bool ReadEnvelope(MessageParcel &data, DecodedRequest &request)
{
    request.token = data.ReadInterfaceToken();
    if (!request.TokenOk()) {
        return false;
    }
    struct {
        const char *name;
        uint32_t *value;
    } const fields[] = {{"serviceType", &request.serviceType},
                        {"subServiceType", &request.subServiceType},
                        {"operateCode", &request.operateCode},
                        {"subOperateCode", &request.subOperateCode},
                        {"command", &request.command}};
    for (const auto &field : fields) {
        if (!data.ReadUint32(*field.value)) {
            request.problem = std::string(field.name) + " missing";
            return false;
        }
    }
    return true;
}
} // namespace

std::vector<std::string> OperationNames()
{
    std::vector<std::string> names;
    for (const OperationLayout &layout : LAYOUTS) {
        if (std::find(names.begin(), names.end(), layout.name) == names.end()) {
            names.push_back(layout.name);
        }
    }
    return names;
}

DecodedRequest DecodeRequest(uint32_t code, MessageParcel &data)
{
    DecodedRequest request;
    request.code = code;
    if (ReadEnvelope(data, request)) {
        const OperationLayout *layout = FindLayout(request);
        if (layout != nullptr) {
            request.operation = layout->name;
            BodyDecoder body(data, request);
            layout->decode(body);
        }
    }
    request.leftover = data.GetReadableBytes();
    return request;
}

const FieldValue *DecodedRequest::Find(const std::string &name) const
{
    for (const RequestField &field : fields) {
        if (field.name == name) {
            return &field.value;
        }
    }
    return nullptr;
}

std::string FieldText(const FieldValue &value)
{
    std::ostringstream text;
    if (const auto *number = std::get_if<int32_t>(&value)) {
        text << *number;
    } else if (const auto *unsignedNumber = std::get_if<uint32_t>(&value)) {
        text << *unsignedNumber << "u";
    } else if (const auto *string = std::get_if<std::string>(&value)) {
        text << "\"" << (string->size() > SHOWN_STRING_MAX ? "<" + std::to_string(string->size()) + " chars>" : *string)
             << "\"";
    } else if (const auto *bytes = std::get_if<std::vector<uint8_t>>(&value)) {
        if (bytes->size() > SHOWN_BYTES_MAX) {
            text << "<" << bytes->size() << " bytes>";
        } else {
            text << "x" << std::hex << std::setfill('0');
            for (uint8_t byte : *bytes) {
                text << std::setw(2) << static_cast<int>(byte);
            }
        }
    } else {
        text << (std::get<sptr<IRemoteObject>>(value) != nullptr ? "<object>" : "<null>");
    }
    return text.str();
}

std::string DecodedRequest::Body() const
{
    std::string text;
    for (const RequestField &field : fields) {
        text += (text.empty() ? "" : " ") + FieldText(field.value);
    }
    return text;
}
} // namespace OHOS::TarnbyEmulator
