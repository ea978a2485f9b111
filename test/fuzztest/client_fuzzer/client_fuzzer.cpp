// SPDX-License-Identifier: Apache-2.0
// The library's readers of what another process sends, chosen by the first byte of the input:
// - every callback object the service calls, fed the requests a hostile peer could send (token right, wrong or
//   missing; codes biased to the real ones; descriptors and objects placed anywhere);
// - every record's Unmarshalling; what it accepts must give the same bytes when marshalled, read back and marshalled
//   again (anything else is a field read in another order or type than it is written);
// - the extra-info JSON helpers, fed any text.
// A crash, a sanitizer report, an escaping exception, a broken round trip or a leaked descriptor is a finding.
#include <cstdlib>
#include <string>

#include "ability_filter.h"
#include "callback_skeleton.h"
#include "collab_ability_callback.h"
#include "collaboration_ability.h"
#include "fuzz_parcel.h"
#include "surface_transfer_ability.h"
#include "target_info.h"
#include "veskor_info.h"
#include "veskor_json_utils.h"
#include "json/json.h"

namespace OHOS::TarnbyFuzz {
namespace {
class PlainCallback : public Tarnby::CallbackSkeleton {
public:
    // Closes the descriptor that a service-state change hands to its hook (the hook owns it).
    int32_t OnServiceStateChanged(Tarnby::ServiceStateChangeContext context) override
    {
        Json::Value root;
        if (Tarnby::JsonUtils::StringToJsonInternal(context.extraInfo, &root) && root.isObject() &&
            root["fd"].isInt() && root["fd"].asInt() > STDERR_FILENO) {
            close(root["fd"].asInt());
        }
        return 0;
    }
};

class SessionCallback : public Tarnby::CollabAbilityCallback {
public:
    // Reads the last byte the hook was promised, so that a pointer past the parcel is caught.
    void OnCollaborationData(int32_t, const uint8_t *data, uint32_t dataLen) override
    {
        if (data != nullptr && dataLen > 0) {
            (void)static_cast<const volatile uint8_t *>(data)[dataLen - 1];
        }
    }
    void OnCollaborationEvent(int32_t id, const uint8_t *data, uint32_t dataLen) override
    {
        OnCollaborationData(id, data, dataLen);
    }
};

// The JSON helpers: never an exception; an "fd" found by one is set by the other, unless the classic reader cannot
// read what the builder's reader accepted, in which case the text comes back unchanged.
void FuzzExtraInfo(FuzzInput &in)
{
    int32_t fd = in.ConsumeIntegral<int32_t>();
    std::string text = in.ConsumeRemainingBytesAsString();
    bool hasFd = Tarnby::VeskorJsonUtils::IsFdExist(text);
    std::string added = Tarnby::VeskorJsonUtils::AddFdToExtraInfo(text, fd);
    Json::Value root;
    if (hasFd && added != text && !(Tarnby::JsonUtils::StringToJsonInternal(added, &root) && root["fd"] == fd)) {
        std::abort();
    }
}

using MakeCallback = sptr<Tarnby::CallbackSkeleton> (*)();
constexpr MakeCallback CALLBACKS[] = {
    [] { return sptr<Tarnby::CallbackSkeleton>(sptr<PlainCallback>::MakeSptr()); },
    [] { return sptr<Tarnby::CallbackSkeleton>(sptr<SessionCallback>::MakeSptr()); },
    [] { return sptr<Tarnby::CallbackSkeleton>(sptr<Tarnby::CollabAbilityInnerCallback>::MakeSptr()); },
    [] { return sptr<Tarnby::CallbackSkeleton>(sptr<Tarnby::SurfaceTransferCallback>::MakeSptr()); },
};

// Unmarshalling of `Record` as a strong pointer, whether the record returns one or a raw pointer it hands over.
template <typename Record>
sptr<Record> Read(Parcel &parcel)
{
    return sptr<Record>(Record::Unmarshalling(parcel));
}

template <typename Record>
void RoundTrip(FuzzInput &in)
{
    MessageParcel input;
    WritePeerFields(in, input, SERVICE_TOKEN);
    sptr<Record> first = Read<Record>(input);
    if (first == nullptr) {
        return;
    }
    Parcel once;
    if (!first->Marshalling(once)) {
        return; // a record may refuse to write what it read, e.g. a list too long for the wire
    }
    sptr<Record> second = Read<Record>(once);
    Parcel twice;
    auto bytes = [](const Parcel &p) {
        return std::string(reinterpret_cast<const char *>(p.GetData()), p.GetDataSize());
    };
    if (second == nullptr || !second->Marshalling(twice) || bytes(once) != bytes(twice)) {
        std::abort();
    }
}

using Tester = void (*)(FuzzInput &);
constexpr Tester RECORDS[] = {
    RoundTrip<Tarnby::AbilityFilter>,        RoundTrip<Tarnby::DeviceFilter>,     RoundTrip<Tarnby::ServiceFilter>,
    RoundTrip<Tarnby::DeviceInfo>,           RoundTrip<Tarnby::LocalInfo>,        RoundTrip<Tarnby::PickerResult>,
    RoundTrip<Tarnby::DeviceServiceInfo>,    RoundTrip<Tarnby::TargetInfo>,       RoundTrip<Tarnby::StartInfo>,
    RoundTrip<Tarnby::DistributeTaskInfo>,   RoundTrip<Tarnby::ServiceStateInfo>, RoundTrip<Tarnby::HardwareRequest>,
    RoundTrip<Tarnby::CommunicationRequest>, RoundTrip<Tarnby::ResourceRequest>,
};
} // namespace
} // namespace OHOS::TarnbyFuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace OHOS;
    using namespace OHOS::TarnbyFuzz;
    FuzzInput in = OpenInput(data, size);
    auto target = in.ConsumeIntegral<uint8_t>();
    if (target >= 0xF0) {
        FuzzExtraInfo(in);
        return 0;
    }
    if (target >= 0x80) {
        RECORDS[target % std::size(RECORDS)](in);
        return 0;
    }
    DescriptorLeakCheck leakCheck;
    sptr<Tarnby::CallbackSkeleton> callback = CALLBACKS[target % std::size(CALLBACKS)]();
    DeliverPeerRequest(in, CALLBACK_TOKEN, [&callback](uint32_t code, auto &request, auto &reply, auto &option) {
        callback->OnRemoteRequest(code, request, reply, option);
    });
    return 0;
}
