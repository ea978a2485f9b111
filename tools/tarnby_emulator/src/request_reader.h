// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EMULATOR_REQUEST_READER_H
#define TARNBY_EMULATOR_REQUEST_READER_H

// How a handler takes the fields of a decoded request (see DecodeRequest): in wire order, each under the handler's
// own name, remembering the first field that was missing so that a truncated request is refused with a precise line.
#include <cstdint>
#include <string>
#include <vector>

#include "iremote_object.h"
#include "tarnby_wire.h"

namespace OHOS::TarnbyEmulator {
// A collaboration target as it crosses the wire (the account id does not travel).
struct TargetRecord {
    std::string networkId;
    uint32_t targetType = 0;
    std::string bundleName;
    std::string abilityName;
    int32_t systemAbilityId = 0;

    // The kinds of target the service serves: a system ability (0) or an ability (1, and 2 handled as 1).
    bool IsKnownType() const;
    // The name under which registrations and sessions find each other: the ability the target addresses, whatever
    // device it was named with (a registration usually names no device).
    std::string Key() const;
    std::string Describe() const;
};

// The record that describes the remote device of a surface transfer.
struct RemoteDeviceRecord {
    std::string firstText;
    std::string secondText;
    std::string thirdText;
    std::string fourthText;
    int32_t value = 0;
    std::vector<uint8_t> data;
};

class RequestReader {
public:
    explicit RequestReader(const DecodedRequest &request) : request_(request) {}

    // Each read returns false once any field is missing; the first missing field's name is kept.
    bool Int32(int32_t &value, const char *field);
    bool Uint32(uint32_t &value, const char *field);
    bool String(std::string &value, const char *field);
    // `length` bytes written as a padded buffer with no length of its own.
    bool Bytes(uint32_t length, std::vector<uint8_t> &bytes, const char *field);
    bool RemoteObject(sptr<IRemoteObject> &object, const char *field);
    // A target behind its presence flag; an absent target counts as missing.
    bool Target(TargetRecord &target, const char *field);
    bool RemoteDevice(RemoteDeviceRecord &device, const char *field);

    // Refuses the request with `problem` (e.g. "dataLen out of range") unless `condition` holds.
    bool Check(bool condition, const char *problem);

    // Whether fields are left after what was taken, e.g. an optional trailing field.
    bool HasMore() const;
    bool Ok() const
    {
        return problem_.empty();
    }
    // Why the request was refused: "<field> missing" for the first field that could not be read, or the problem
    // given to Check().
    const std::string &Problem() const
    {
        return problem_;
    }

private:
    bool Fail(const std::string &problem);
    bool Missing(const char *field);
    // The next field when it holds a T; null (and the field left) otherwise.
    template <typename T>
    const T *Next();

    const DecodedRequest &request_;
    size_t next_ = 0;
    std::string problem_;
};
} // namespace OHOS::TarnbyEmulator

#endif // TARNBY_EMULATOR_REQUEST_READER_H
