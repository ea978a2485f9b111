// SPDX-License-Identifier: Apache-2.0
#include "callback_skeleton.h"
#include "callback_token.h"

#include <unistd.h>

#include <exception>

#include "ipc_object_stub.h"
#include "ipc_skeleton.h"
#include "securec.h"
#include "string_ex.h"
#include "tarnby_errors.h"
#include "tarnby_log.h"
#include "veskor_json_utils.h"

namespace OHOS::Tarnby {
namespace {
constexpr LogLabel LOG_LABEL = LABEL_CALLBACK;

// Request codes of the callback families.
enum CallbackCode : uint32_t {
    GET_COLLABORATION_SERVICE = 1,
    COLLABORATION_TO_DEVICE = 101,
    DEVICE_PICKER = 201,
    COMMON_DATA_CHANNEL = 301,
    LUMET_DOWN_MESSAGE = 401,
    VESKOR = 501,
    SURFACE_TRANSFER = 601,
};

// serviceType / subServiceType of the collaboration-to-device family.
enum CollaborationToDeviceType : uint32_t {
    TYPE_EVENT = 101,
    TYPE_RAW_DATA = 102,
    TYPE_DATA_CHANNEL = 103,
    SUB_RECEIVER_READY = 1,
    SUB_DATA_RECEIVED = 3,
    SUB_RAW_DATA = 105,
    SUB_EVENT_FIRST = 103, // events are 103, 104 and 106; 105 is not one
    SUB_EVENT_SPAN = 4,
    SUB_EVENT_HOLE = 2,
};

// subServiceType of the device-connect family.
enum VeskorSubType : uint32_t {
    DISCONNECT_DEVICE = 502,
    NOTIFY_STATE = 503,
    SERVICE_STATE_CHANGED = 504,
    DISCONNECTED = 505,
    APPLY_COMPLETED = 506,
    STOP = 507,
};

// subServiceType of the surface-transfer family.
enum SurfaceSubType : uint32_t {
    SURFACE_EVENT_FIRST = 40001,
    SURFACE_EVENT_SECOND = 40002,
    SURFACE_EVENT_WITH_CODE = 10001,
};

constexpr uint32_t MAX_RAW_DATA_SIZE = 0x8000000; // 128 MiB
constexpr size_t STATE_INFO_MIN_BYTES = 8;        // a state list element takes at least this many bytes

// How the service reports the result of a resource application, and the codes the library hands to ApplyResult.
struct ApplyResultMapping {
    int32_t serviceResult;
    int32_t resultCode;
};
constexpr ApplyResultMapping APPLY_RESULTS[] = {
    {320001, APPLY_RESULT_FIRST},  {320003, APPLY_RESULT_SECOND}, {320016, APPLY_RESULT_THIRD},
    {320017, APPLY_RESULT_FOURTH}, {320018, APPLY_RESULT_FIFTH},
};

struct ServiceCode {
    uint32_t serviceType;
    uint32_t subServiceType;
    uint32_t operateCode;
    uint32_t subOperateCode;
    uint32_t command;
};

ServiceCode ReadServiceCode(MessageParcel &data, const char *caller)
{
    ServiceCode code{};
    code.serviceType = data.ReadUint32();
    code.subServiceType = data.ReadUint32();
    code.operateCode = data.ReadUint32();
    code.subOperateCode = data.ReadUint32();
    code.command = data.ReadUint32();
    TRBY_LOG_FN(LOG_LABEL, LOG_INFO, caller,
                "serviceType = %{public}d, subServiceType = %{public}u, operateCode = %{public}u, "
                "subOperateCode = %{public}d, command = %{public}u",
                code.serviceType, code.subServiceType, code.operateCode, code.subOperateCode, code.command);
    return code;
}

// The placeholder families read their sub code and answer 0; a subclass that needs them overrides the handler.
int32_t ReadPlaceholderCode(MessageParcel &data, const char *caller)
{
    uint32_t subCode = data.ReadUint32();
    TRBY_LOG_FN(LOG_LABEL, LOG_INFO, caller, "subCode is %{public}d", subCode);
    return TRBY_OK;
}

bool IsEventSubType(uint32_t subServiceType)
{
    uint32_t offset = subServiceType - SUB_EVENT_FIRST;
    return offset < SUB_EVENT_SPAN && offset != SUB_EVENT_HOLE;
}

int32_t MapApplyResult(int32_t serviceResult)
{
    for (const auto &mapping : APPLY_RESULTS) {
        if (mapping.serviceResult == serviceResult) {
            return mapping.resultCode;
        }
    }
    return TRBY_OK;
}

// Reads a state notification and calls StateNotify; false (and no hook called) when the state list is refused.
bool NotifyState(CallbackSkeleton &callback, MessageParcel &data, int32_t &result)
{
    int32_t state = data.ReadInt32();
    std::vector<uint32_t> states;
    std::vector<sptr<ServiceStateInfo>> infos;
    if (callback.ParseNotifyStateCallback(data, states, infos) != TRBY_OK) {
        return false;
    }
    result = callback.StateNotify(state, std::move(states), std::move(infos));
    return true;
}
} // namespace

CallbackSkeleton::CallbackSkeleton()
{
    TRBY_LOGI("create callback = %{public}s", Str16ToStr8(GetDescriptor()).c_str());
}

CallbackSkeleton::~CallbackSkeleton()
{
    TRBY_LOGI("destroy callback = %{public}s", Str16ToStr8(GetDescriptor()).c_str());
}

bool ReadCallbackToken(MessageParcel &data, LogSite site)
{
    std::u16string token = data.ReadInterfaceToken();
    if (token == CallbackSkeleton::GetDescriptor()) {
        return true;
    }
    TRBY_LOG_SITE(LABEL_CALLBACK, LOG_ERROR, site, "receive wrong interface token = %{public}s, expect %{public}s",
                  Str16ToStr8(token).c_str(), Str16ToStr8(CallbackSkeleton::GetDescriptor()).c_str());
    return false;
}

int32_t CallbackSkeleton::OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply,
                                          MessageOption &option)
{
    if (!ReadCallbackToken(data)) {
        return ERR_TRBY_WRONG_TOKEN;
    }
    switch (code) {
        case GET_COLLABORATION_SERVICE:
            return GetCollaborationServiceCallback(data, reply, option);
        case COLLABORATION_TO_DEVICE:
            return CollaborationToDeviceCallback(data, reply, option);
        case DEVICE_PICKER:
            return DevicePickerCallback(data, reply, option);
        case COMMON_DATA_CHANNEL:
            return CommonDataChannelCallback(data, reply, option);
        case LUMET_DOWN_MESSAGE:
            return LumetDownMessageCallback(data, reply, option);
        case VESKOR:
            return VeskorCallback(data, reply, option);
        case SURFACE_TRANSFER:
            return SurfaceTransferCallback(data, reply, option);
        default:
            TRBY_LOGE("revice unknown code, code is %{public}d", code);
            return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
    }
}

int32_t CallbackSkeleton::GetCollaborationServiceCallback(MessageParcel &data, MessageParcel &reply,
                                                          MessageOption &option)
{
    return ReadPlaceholderCode(data, __FUNCTION__);
}

int32_t CallbackSkeleton::DevicePickerCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    return ReadPlaceholderCode(data, __FUNCTION__);
}

int32_t CallbackSkeleton::CommonDataChannelCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    return ReadPlaceholderCode(data, __FUNCTION__);
}

int32_t CallbackSkeleton::LumetDownMessageCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    return ReadPlaceholderCode(data, __FUNCTION__);
}

uint32_t CallbackSkeleton::ReadCollaborationServiceCode(MessageParcel &data)
{
    return ReadServiceCode(data, __FUNCTION__).subServiceType;
}

int32_t CallbackSkeleton::CollaborationToDeviceCallback(MessageParcel &data, MessageParcel &reply,
                                                        MessageOption &option)
{
    // The second label says "pid" although it shows the uid; the line is kept as it has always been written.
    TRBY_LOGI("pid = %{public}d , pid = %{public}d", IPCSkeleton::GetCallingPid(), IPCSkeleton::GetCallingUid());
    ServiceCode code = ReadServiceCode(data, __FUNCTION__);
    switch (code.serviceType) {
        case TYPE_DATA_CHANNEL:
            ProcessCollaborationAbility(code.subServiceType, data);
            reply.WriteInt32(TRBY_OK);
            return TRBY_OK;
        case TYPE_RAW_DATA: {
            if (code.subServiceType != SUB_RAW_DATA) {
                return TRBY_OK;
            }
            int32_t result = DataPretreatment(data);
            reply.WriteInt32(result);
            return result;
        }
        case TYPE_EVENT: {
            if (!IsEventSubType(code.subServiceType)) {
                return TRBY_OK;
            }
            uint32_t eventCode = data.ReadUint32();
            uint32_t eventId = data.ReadUint32();
            std::string extra = data.ReadString();
            int32_t result = OnEvent(eventCode, eventId, extra);
            reply.WriteInt32(result);
            return result;
        }
        default:
            return TRBY_OK;
    }
}

void CallbackSkeleton::ProcessCollaborationAbility(uint32_t subServiceType, MessageParcel &data)
{
    if (subServiceType == SUB_DATA_RECEIVED) {
        int32_t channel = data.ReadInt32();
        uint32_t len = data.ReadUint32();
        // A short parcel gives the hook a null pointer with the length; the service's business to avoid.
        const uint8_t *bytes = data.ReadUnpadBuffer(len);
        OnDataReceived(channel, reinterpret_cast<const char *>(bytes), len);
    } else if (subServiceType == SUB_RECEIVER_READY) {
        OnDataReceiverReady(data.ReadInt32());
    }
}

int32_t CallbackSkeleton::DataPretreatment(MessageParcel &data)
{
    TRBY_LOGI("enter.");
    uint32_t code = data.ReadUint32();
    uint32_t second = data.ReadUint32();
    uint32_t dataLen = data.ReadUint32();
    if (dataLen > MAX_RAW_DATA_SIZE) {
        TRBY_LOGE("new buffer failed of length = %{public}u", dataLen);
        return ERR_TRBY_RAW_DATA;
    }
    // The block is read before the buffer is allocated: a peer that claims a length its parcel does not hold must
    // not cost the client that much memory. The copy below fills every byte of the buffer, so it is not cleared
    // first (a second pass over up to 128 MiB).
    const void *rawData = data.ReadRawData(dataLen);
    std::unique_ptr<char[]> buffer(rawData == nullptr ? nullptr : new (std::nothrow) char[dataLen]);
    if (buffer == nullptr || rawData == nullptr) {
        TRBY_LOGE("length = %{public}u, treadData %{public}d, rawByte %{public}d", dataLen,
                  rawData != nullptr && buffer == nullptr, rawData == nullptr);
        return ERR_TRBY_RAW_DATA;
    }
    if (memcpy_s(buffer.get(), dataLen, rawData, dataLen) != EOK) {
        TRBY_LOGE("memcpy_s failed , size = %{public}u.", dataLen);
        return ERR_TRBY_MEMCPY;
    }
    int32_t result = OnDataCallback(code, second, dataLen, std::move(buffer));
    TRBY_LOGI("leave");
    return result;
}

int32_t CallbackSkeleton::VeskorCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    ServiceCode code = ReadServiceCode(data, __FUNCTION__);
    int32_t result = TRBY_OK;
    switch (code.subServiceType) {
        case DISCONNECT_DEVICE:
            result = ProcessDisconnectCallback(data, reply, option);
            break;
        case NOTIFY_STATE:
            if (!NotifyState(*this, data, result)) {
                return ERR_TRBY_INVALID_PARAM;
            }
            break;
        case SERVICE_STATE_CHANGED:
            result = ProcessOnServiceStateChanged(data, reply, option);
            break;
        case DISCONNECTED:
            result = ProcessOnDisconnected(data, reply, option);
            break;
        case APPLY_COMPLETED:
            result = ProcessOnApplyCompleted(data, reply, option);
            break;
        case STOP:
            result = ProcessOnStop(data, reply, option);
            break;
        default:
            TRBY_LOGE("Unsupport type");
            return ERR_TRBY_UNSUPPORTED_TYPE;
    }
    reply.WriteInt32(result);
    return result;
}

int32_t CallbackSkeleton::ProcessDisconnectCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    std::string deviceKey = data.ReadString();
    uint32_t serviceType = data.ReadUint32();
    return DisconnectDevice(deviceKey, serviceType);
}

int32_t CallbackSkeleton::ProcessNotifyStateCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    int32_t result = TRBY_OK;
    return NotifyState(*this, data, result) ? result : ERR_TRBY_INVALID_PARAM;
}

int32_t CallbackSkeleton::ParseNotifyStateCallback(MessageParcel &data, std::vector<uint32_t> &states,
                                                   std::vector<sptr<ServiceStateInfo>> &infos)
{
    if (!data.ReadUInt32Vector(&states)) {
        TRBY_LOGI("ReadUInt32Vector failed");
        return ERR_TRBY_INVALID_PARAM;
    }
    // The count is checked against what the parcel can still hold before any element is read or allocated.
    size_t count = data.ReadUint32();
    size_t readable = data.GetReadableBytes() / STATE_INFO_MIN_BYTES;
    if (count > readable) {
        TRBY_LOGI("Failed to read vector, size = %{public}zu, readAbleSize = %{public}zu", count, readable);
        return ERR_TRBY_INVALID_PARAM;
    }
    for (size_t i = 0; i < count; ++i) {
        sptr<ServiceStateInfo> info = data.ReadStrongParcelable<ServiceStateInfo>();
        if (info == nullptr) {
            TRBY_LOGE_AS(LABEL_DEVICE_DETECT, "ReadStrongParcelable nullptr");
            continue;
        }
        infos.push_back(info);
    }
    return TRBY_OK;
}

int32_t CallbackSkeleton::ProcessOnServiceStateChanged(MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    std::string firstString = data.ReadString();
    std::string secondString = data.ReadString();
    int32_t firstInt = data.ReadInt32();
    int32_t secondInt = data.ReadInt32();
    uint32_t len = data.ReadUint32();
    std::string extraInfo;
    if (len != 0) {
        // The block carries a terminating zero byte after the `len` bytes of text.
        const char *raw = static_cast<const char *>(data.ReadRawData(static_cast<size_t>(len) + 1));
        if (len > MAX_RAW_DATA_SIZE || raw == nullptr) {
            TRBY_LOGE("Read raw data failed or length is %{public}u", len);
            return ERR_TRBY_INVALID_PARAM;
        }
        if (raw[len] != '\0') {
            TRBY_LOGE("string format invalid,length is %{public}u", len);
            return ERR_TRBY_INVALID_PARAM;
        }
        extraInfo.assign(raw, len);
    }
    bool hasFd = data.ReadBool();
    if (hasFd && VeskorJsonUtils::IsFdExist(extraInfo)) {
        // The hook owns the received descriptor; its number travels in the extra info.
        int fd = data.ReadFileDescriptor();
        TRBY_LOGI("fd: %{public}d", fd);
        if (!VeskorJsonUtils::SetFdInExtraInfo(extraInfo, fd) && fd >= 0) {
            // Text the check accepts but the classic reader does not (e.g. a trailing comma): nobody could learn the
            // number, so the descriptor is closed rather than left open for the life of the process.
            close(fd);
        }
    }
    OnServiceStateChanged(firstString, secondString, extraInfo, firstInt, secondInt);
    OnServiceStateChanged(ServiceStateChangeContext{secondInt, firstString, secondString, extraInfo, firstInt});
    return TRBY_OK;
}

int32_t CallbackSkeleton::ProcessOnDisconnected(MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    std::string first = data.ReadString();
    std::string second = data.ReadString();
    std::string third = data.ReadString();
    int32_t value = data.ReadInt32();
    OnDisconnected(first, value);
    OnDisconnected(second, third);
    return TRBY_OK;
}

int32_t CallbackSkeleton::ProcessOnApplyCompleted(MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    std::string first = data.ReadString();
    std::string second = data.ReadString();
    std::string third = data.ReadString();
    int32_t value = data.ReadInt32();
    int32_t result = data.ReadInt32();
    int32_t resultCode = MapApplyResult(result);
    TRBY_LOGI("resultCode = %{public}d, result = %{public}d", resultCode, result);
    return ApplyResult(first, second, third, value, resultCode);
}

int32_t CallbackSkeleton::ProcessOnStop(MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    std::string first = data.ReadString();
    std::string second = data.ReadString();
    std::string third = data.ReadString();
    int32_t value = data.ReadInt32();
    // The service sends the two names in the opposite order to the hook's parameters.
    Stop(second, first, third, value);
    return TRBY_OK;
}

int32_t CallbackSkeleton::SurfaceTransferCallback(MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    ServiceCode code = ReadServiceCode(data, __FUNCTION__);
    uint32_t eventCode = 0;
    switch (code.subServiceType) {
        case SURFACE_EVENT_FIRST:
        case SURFACE_EVENT_SECOND:
            break;
        case SURFACE_EVENT_WITH_CODE:
            eventCode = data.ReadUint32();
            break;
        default:
            TRBY_LOGE("Unsupport type");
            return ERR_TRBY_UNSUPPORTED_TYPE;
    }
    std::string extra = data.ReadString();
    int32_t result = OnEvent(eventCode, code.subServiceType, extra);
    reply.WriteInt32(result);
    TRBY_LOGI("---code = %{public}u, eventId = %{public}u", eventCode, code.subServiceType);
    return result;
}

int32_t CallbackSkeleton::OnDataCallback(uint32_t code, uint32_t second, uint32_t dataLen, std::unique_ptr<char[]> data)
{
    TRBY_LOGI("code = %{public}u", code);
    return TRBY_OK;
}

int32_t CallbackSkeleton::OnEvent(uint32_t code, uint32_t eventId, std::string &extra)
{
    TRBY_LOGI("code = %{public}u, eventId = %{public}u", code, eventId);
    return TRBY_OK;
}

int32_t CallbackSkeleton::DisconnectDevice(std::string deviceKey, uint32_t serviceType)
{
    TRBY_LOGI("serviceType = %{public}d", serviceType);
    return TRBY_OK;
}

int32_t CallbackSkeleton::StateNotify(int32_t state, std::vector<uint32_t> states,
                                      std::vector<sptr<ServiceStateInfo>> infos)
{
    return TRBY_OK;
}

int32_t CallbackSkeleton::OnServiceStateChanged(std::string firstString, std::string secondString,
                                                std::string extraInfo, int32_t firstInt, int32_t secondInt)
{
    return TRBY_OK;
}

int32_t CallbackSkeleton::OnServiceStateChanged(ServiceStateChangeContext context)
{
    return TRBY_OK;
}

int32_t CallbackSkeleton::OnDisconnected(std::string first, int32_t value)
{
    return TRBY_OK;
}

int32_t CallbackSkeleton::OnDisconnected(std::string second, std::string third)
{
    return TRBY_OK;
}

int32_t CallbackSkeleton::ApplyResult(std::string first, std::string second, std::string third, int32_t value,
                                      int32_t resultCode)
{
    return TRBY_OK;
}

int32_t CallbackSkeleton::Start(std::string first, int32_t value)
{
    return TRBY_OK;
}

int32_t CallbackSkeleton::Stop(std::string first, std::string second, std::string third, int32_t value)
{
    return TRBY_OK;
}

int32_t CallbackSkeleton::Pause(std::string first, int32_t value)
{
    return TRBY_OK;
}

int32_t CallbackSkeleton::Resume(std::string first, int32_t value)
{
    return TRBY_OK;
}

int32_t CallbackSkeleton::Degrade(std::string first, int32_t value)
{
    return TRBY_OK;
}

int32_t CallbackSkeleton::Upgrade(std::string first, int32_t value)
{
    return TRBY_OK;
}

void CallbackSkeleton::OnDataReceiverReady(int32_t channel) {}

void CallbackSkeleton::OnDataReceived(int32_t channel, const char *data, uint32_t len) {}

bool JsonUtils::StringToJsonInternal(const std::string &str, Json::Value *root)
{
    if (str.empty()) {
        return false;
    }
    // jsoncpp throws for some texts (nesting beyond its stack limit, memory); the text comes from another process,
    // so every such failure is a failed parse and never leaves the library.
    try {
        Json::CharReaderBuilder builder;
        std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
        std::string errors;
        return reader->parse(str.data(), str.data() + str.size(), root, &errors);
    } catch (const std::exception &) {
        return false;
    }
}

bool VeskorJsonUtils::IsFdExist(std::string &extraInfo)
{
    Json::Value root;
    return JsonUtils::StringToJsonInternal(extraInfo, &root) && root.isObject() && root.isMember("fd");
}

std::string VeskorJsonUtils::AddFdToExtraInfo(std::string &extraInfo, int32_t fd)
{
    std::string result = extraInfo;
    SetFdInExtraInfo(result, fd);
    return result;
}

bool VeskorJsonUtils::SetFdInExtraInfo(std::string &extraInfo, int32_t fd)
{
    if (extraInfo.empty()) {
        return false;
    }
    // Parsed with the classic reader (comments collected), while IsFdExist uses the builder's reader; the two are
    // kept apart on purpose.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    Json::Reader reader;
#pragma GCC diagnostic pop
    try {
        Json::Value root;
        if (!reader.parse(extraInfo, root, true) || !root.isObject()) {
            return false;
        }
        root["fd"] = fd;
        extraInfo = root.toStyledString();
        return true;
    } catch (const std::exception &) {
        return false; // as for any other text that cannot be parsed
    }
}
} // namespace OHOS::Tarnby
