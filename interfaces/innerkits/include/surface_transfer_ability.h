#ifndef TARNBY_SURFACE_TRANSFER_ABILITY_H
#define TARNBY_SURFACE_TRANSFER_ABILITY_H

// Casting a screen surface to a remote device. Each operation is one synchronous request to the Tarnby service (up
// to 8 seconds) whose answer is one int32; transfers are identified by connection id and tracked by the service.
// The front also owns the one death recipient that tells the caller's callback when the service dies.
#include <cstdint>
#include <memory>
#include <string>

#include "callback_skeleton.h"
#include "death_recipient.h"
#include "parcel.h"
#include "refbase.h"
#include "tarnby_export.h"

namespace OHOS::Tarnby {
// The remote end of a surface transfer, as the service reads it. The fields are the service's business.
struct RemoteDevice {
    std::string firstText;
    std::string secondText;
    std::string thirdText;
    std::string fourthText;
    int32_t value = 0;
    // A block of `dataLen` bytes that stays the caller's; it must not be empty, as the service expects one.
    uint32_t dataLen = 0;
    const void *data = nullptr;
};

// Screen parameters of a cast, carried unchanged.
struct ScreenParam {
    uint32_t firstValue = 0;
    uint32_t secondValue = 0;
    uint32_t thirdValue = 0;
    uint32_t fourthValue = 0;
    uint32_t fifthValue = 0;
};

// The service's numbers; any int32 is carried unchanged (build one with static_cast).
enum CastOperationType : int32_t {};
enum CastSetScreenParamType : int32_t {};

// The callback that goes with a surface transfer. The service's events (and the death notification) end in OnEvent,
// called on an IPC thread; it only logs them. Derive from it to act on them.
class TARNBY_EXPORT SurfaceTransferCallback : public CallbackSkeleton {
public:
    SurfaceTransferCallback() = default;
    ~SurfaceTransferCallback() override = default;

    int32_t OnEvent(uint32_t code, uint32_t eventId, std::string &data) override;
};

// The surface transfer front. Calls may come from any thread and take no lock; callers that race on the first use
// of the death recipient (InitSurfaceTransfer, SetDeathRecipient) must serialise themselves.
class TARNBY_EXPORT SurfaceTransferAbility {
public:
    // The one instance, created on first use.
    static SurfaceTransferAbility &GetInstance();

    // Sets up a transfer on `connId` and hands `callback` to the service and to the death recipient (which keeps
    // only the first callback until the service dies). A non-zero answer is both the result and the id that a later
    // death notification carries. Codes of its own: 1018 null callback, 1001 null device, 12 no death recipient,
    // 1012 no service, 1007 a field not written, 0x1B8003F5 send failed.
    int32_t InitSurfaceTransfer(int32_t connId, std::shared_ptr<RemoteDevice> remoteDevice,
                                sptr<CallbackSkeleton> callback);
    // The other requests answer the service's int32, or 1001 (header), 1007 (a field), 1012 (no service, checked
    // after the whole request is built) or 0x1B8003F5 (send failed).
    int32_t DeInitSurfaceTransfer(int32_t connId);
    int32_t StartSurfaceTransfer(int32_t connId, std::string first, std::string second);
    int32_t StopSurfaceTransfer(int32_t connId);
    int32_t CastOperation(int32_t connId, CastOperationType type);
    // A null `param` cannot be written (1007).
    int32_t SetScreenParam(int32_t connId, CastSetScreenParamType type, std::shared_ptr<ScreenParam> param);
    int32_t SetVirtualDisplayParam(int32_t connId, uint32_t value, std::string &text);

    // Record writers, fields in declaration order; false at the first field that cannot be written (or for null).
    static bool WriteRemoteDevice(Parcel &parcel, std::shared_ptr<RemoteDevice> remoteDevice);
    static bool WriteScreenParam(Parcel &parcel, std::shared_ptr<ScreenParam> param);

    // The death recipient, created on first use; null when it cannot be allocated.
    sptr<DeathRecipient> GetDeathRecipient();
    // Registers the death recipient on the service's object, only when no recipient exists yet: after an
    // InitSurfaceTransfer (which creates one) it returns true and registers nothing. False without a service.
    bool SetDeathRecipient();

private:
    SurfaceTransferAbility() = default;
    SurfaceTransferAbility(const SurfaceTransferAbility &) = delete;
    SurfaceTransferAbility &operator=(const SurfaceTransferAbility &) = delete;

    sptr<DeathRecipient> deathRecipient_;
};
} // namespace OHOS::Tarnby

#endif // TARNBY_SURFACE_TRANSFER_ABILITY_H
