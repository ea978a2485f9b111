// SPDX-License-Identifier: Apache-2.0
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

template <typename T>
const T *RequestReader::Next()
{
    if (!Ok() || next_ >= request_.fields.size()) {
        return nullptr;
    }
    const T *value = std::get_if<T>(&request_.fields[next_].value);
    next_ += value != nullptr ? 1 : 0;
    return value;
}

template <typename T>
static bool Take(const T *found, T &value)
{
    if (found != nullptr) {
        value = *found;
    }
    return found != nullptr;
}

bool RequestReader::Int32(int32_t &value, const char *field)
{
    return Take(Next<int32_t>(), value) || Missing(field);
}

bool RequestReader::Uint32(uint32_t &value, const char *field)
{
    return Take(Next<uint32_t>(), value) || Missing(field);
}

bool RequestReader::String(std::string &value, const char *field)
{
    return Take(Next<std::string>(), value) || Missing(field);
}

bool RequestReader::Bytes(uint32_t length, std::vector<uint8_t> &bytes, const char *field)
{
    const std::vector<uint8_t> *found = Next<std::vector<uint8_t>>();
    return (found != nullptr && found->size() == length && Take(found, bytes)) || Missing(field);
}

bool RequestReader::RemoteObject(sptr<IRemoteObject> &object, const char *field)
{
    return Take(Next<sptr<IRemoteObject>>(), object) || Missing(field);
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
    return next_ < request_.fields.size();
}

} // namespace OHOS::TarnbyEmulator
