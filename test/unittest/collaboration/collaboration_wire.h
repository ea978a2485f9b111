#ifndef TARNBY_TEST_COLLABORATION_WIRE_H
#define TARNBY_TEST_COLLABORATION_WIRE_H

// The service's view of the collaboration requests: each body read field by field with the platform's own parcel
// calls, in the order the service expects, never with the library's readers.
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "iremote_object.h"
#include "message_parcel.h"

namespace OHOS::TarnbyTest {
inline constexpr uint32_t COLLABORATION_SERVICE = 103;
inline constexpr uint32_t SUB_START = 7;
inline constexpr uint32_t SUB_STOP = 8;
inline constexpr uint32_t SUB_SEND_DATA = 13;
inline constexpr uint32_t SUB_REGISTER = 23;
inline constexpr uint32_t SUB_UNREGISTER = 24;
inline constexpr uint32_t SUB_START_WITH_DATA = 25;

// A target record behind its presence flag (1 present, 0 absent).
struct WireTarget {
    int32_t flag = -1;
    std::string networkId;
    uint32_t targetType = 0;
    std::string bundleName;
    std::string abilityName;
    int32_t systemAbilityId = 0;

    bool operator==(const WireTarget &other) const
    {
        return std::tie(flag, networkId, targetType, bundleName, abilityName, systemAbilityId) ==
               std::tie(other.flag, other.networkId, other.targetType, other.bundleName, other.abilityName,
                        other.systemAbilityId);
    }
};

inline WireTarget PresentTarget(const std::string &networkId, uint32_t targetType, const std::string &bundleName,
                                const std::string &abilityName, int32_t systemAbilityId)
{
    return WireTarget{1, networkId, targetType, bundleName, abilityName, systemAbilityId};
}

inline WireTarget ReadWireTarget(MessageParcel &data)
{
    WireTarget target;
    target.flag = data.ReadInt32();
    if (target.flag != 0) {
        target.networkId = data.ReadString();
        target.targetType = data.ReadUint32();
        target.bundleName = data.ReadString();
        target.abilityName = data.ReadString();
        target.systemAbilityId = data.ReadInt32();
    }
    return target;
}

// An unpadded buffer of `length` bytes; nullopt when the parcel holds fewer.
inline std::optional<std::vector<uint8_t>> ReadWireBytes(MessageParcel &data, uint32_t length)
{
    const uint8_t *bytes = data.ReadUnpadBuffer(length);
    if (bytes == nullptr) {
        return std::nullopt;
    }
    return std::vector<uint8_t>(bytes, bytes + length);
}

// Any start request as the service reads it. Fields of the other layout keep their defaults.
struct StartRequest {
    uint32_t subServiceType = 0;
    // subServiceType 7
    int32_t localTargetType = -1;
    int32_t localId = 0;
    std::string bundleName;
    std::string abilityName;
    WireTarget target;
    std::optional<std::string> extraData;
    // subServiceType 25
    WireTarget srcTarget;
    WireTarget dstTarget;
    uint32_t dataLen = 0;
    std::optional<std::vector<uint8_t>> data;
    // both
    sptr<IRemoteObject> callback;
    size_t leftover = 0; // bytes after the last field the service knows of
};

// Local system ability (type 0, then its id) or local ability (type 1, then bundle and ability), the target, the
// inner callback, and the extra data when anything follows.
inline void ReadLocalStart(MessageParcel &data, StartRequest &request)
{
    request.localTargetType = data.ReadInt32();
    if (request.localTargetType == 0) {
        request.localId = data.ReadInt32();
    } else {
        request.bundleName = data.ReadString();
        request.abilityName = data.ReadString();
    }
    request.target = ReadWireTarget(data);
    request.callback = data.ReadRemoteObject();
    if (data.GetReadableBytes() > 0) {
        request.extraData = data.ReadString();
    }
}

// Two targets, the inner callback, the length, and the bytes when anything follows.
inline void ReadStartWithData(MessageParcel &data, StartRequest &request)
{
    request.srcTarget = ReadWireTarget(data);
    request.dstTarget = ReadWireTarget(data);
    request.callback = data.ReadRemoteObject();
    request.dataLen = data.ReadUint32();
    if (data.GetReadableBytes() > 0) {
        request.data = ReadWireBytes(data, request.dataLen);
    }
}

inline StartRequest ReadStartRequest(uint32_t subServiceType, MessageParcel &data)
{
    StartRequest request;
    request.subServiceType = subServiceType;
    if (subServiceType == SUB_START_WITH_DATA) {
        ReadStartWithData(data, request);
    } else {
        ReadLocalStart(data, request);
    }
    request.leftover = data.GetReadableBytes();
    return request;
}

// Register (target, callback), unregister (target), send (id, length, bytes) and stop (id), as the service reads them.
struct SessionRequest {
    uint32_t subServiceType = 0;
    WireTarget target;
    sptr<IRemoteObject> callback;
    int32_t sessionId = 0;
    uint32_t dataLen = 0;
    std::optional<std::vector<uint8_t>> data;
    size_t leftover = 0;
};

inline SessionRequest ReadSessionRequest(uint32_t subServiceType, MessageParcel &data)
{
    SessionRequest request;
    request.subServiceType = subServiceType;
    switch (subServiceType) {
        case SUB_REGISTER:
            request.target = ReadWireTarget(data);
            request.callback = data.ReadRemoteObject();
            break;
        case SUB_UNREGISTER:
            request.target = ReadWireTarget(data);
            break;
        case SUB_SEND_DATA:
            request.sessionId = data.ReadInt32();
            request.dataLen = data.ReadUint32();
            request.data = ReadWireBytes(data, request.dataLen);
            break;
        default:
            request.sessionId = data.ReadInt32();
            break;
    }
    request.leftover = data.GetReadableBytes();
    return request;
}
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_COLLABORATION_WIRE_H
