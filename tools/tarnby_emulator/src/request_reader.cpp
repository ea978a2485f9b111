#include "request_reader.h"

#include <sstream>

namespace OHOS::TarnbyEmulator {
namespace {
enum WireTargetType : uint32_t {
    SYSTEM_ABILITY = 0,
    ABILITY = 1,
    SECONDARY_ABILITY = 2,
};
} // namespace

bool TargetRecord::IsKnownType() const
{
    return targetType == SYSTEM_ABILITY || targetType == ABILITY || targetType == SECONDARY_ABILITY;
}

std::string TargetRecord::Key() const
{
    if (targetType == SYSTEM_ABILITY) {
        return "system-ability " + std::to_string(systemAbilityId);
    }
    return "ability " + bundleName + "/" + abilityName;
}

std::string TargetRecord::Describe() const
{
    std::ostringstream text;
    text << Key() << " on " << (networkId.empty() ? std::string("any device") : networkId);
    return text.str();
}

bool RequestReader::Fail(const std::string &problem)
{
    if (problem_.empty()) {
        problem_ = problem;
    }
    return false;
}

bool RequestReader::Missing(const char *field)
{
    return Fail(std::string(field) + " missing");
}

bool RequestReader::Check(bool condition, const char *problem)
{
    return (Ok() && condition) || Fail(problem);
}

bool RequestReader::Int32(int32_t &value, const char *field)
{
    return (Ok() && data_.ReadInt32(value)) || Missing(field);
}

bool RequestReader::Uint32(uint32_t &value, const char *field)
{
    return (Ok() && data_.ReadUint32(value)) || Missing(field);
}

bool RequestReader::String(std::string &value, const char *field)
{
    return (Ok() && data_.ReadString(value)) || Missing(field);
}

bool RequestReader::Bytes(uint32_t length, std::vector<uint8_t> &bytes, const char *field)
{
    if (!Ok()) {
        return false;
    }
    if (length == 0) {
        bytes.clear();
        return true;
    }
    // The parcel refuses a length beyond what it holds, so a forged length cannot size an allocation.
    const uint8_t *raw = data_.ReadUnpadBuffer(length);
    if (raw == nullptr) {
        return Missing(field);
    }
    bytes.assign(raw, raw + length);
    return true;
}

bool RequestReader::RemoteObject(sptr<IRemoteObject> &object, const char *field)
{
    if (!Ok()) {
        return false;
    }
    object = data_.ReadRemoteObject();
    return object != nullptr || Missing(field);
}

bool RequestReader::Target(TargetRecord &target, const char *field)
{
    int32_t present = 0;
    if (!Int32(present, field) || !Check(present != 0, "target absent")) {
        return false;
    }
    return String(target.networkId, field) && Uint32(target.targetType, field) && String(target.bundleName, field) &&
           String(target.abilityName, field) && Int32(target.systemAbilityId, field);
}

bool RequestReader::RemoteDevice(RemoteDeviceRecord &device, const char *field)
{
    uint32_t dataLen = 0;
    return String(device.firstText, field) && String(device.secondText, field) && String(device.thirdText, field) &&
           String(device.fourthText, field) && Int32(device.value, field) && Uint32(dataLen, field) &&
           Bytes(dataLen, device.data, field);
}

bool RequestReader::HasMore() const
{
    return data_.GetReadableBytes() > 0;
}

} // namespace OHOS::TarnbyEmulator
