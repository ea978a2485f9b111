// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_SURFACE_TRANSFER_ABILITY_H
#define TARNBY_SURFACE_TRANSFER_ABILITY_H

/**
 * @file surface_transfer_ability.h
 * @brief Casting a screen surface to a remote device.
 *
 * Each operation is one synchronous request to the Tarnby service (up to 8 seconds) whose answer is one int32;
 * transfers are identified by connection id and tracked by the service. The front also owns the one death recipient
 * that tells the caller's callback when the service dies.
 */
#include <cstdint>
#include <memory>
#include <string>

#include "callback_skeleton.h"
#include "death_recipient.h"
#include "parcel.h"
#include "refbase.h"
#include "tarnby_export.h"

namespace OHOS::Tarnby {
/** @brief The remote end of a surface transfer, as the service reads it. The fields are the service's business. */
struct RemoteDevice {
    std::string firstText;  ///< The first text field.
    std::string secondText; ///< The second text field.
    std::string thirdText;  ///< The third text field.
    std::string fourthText; ///< The fourth text field.
    int32_t value = 0;      ///< The int32 field.
    /** The number of bytes at `data`; must not be 0, as the service expects a block. */
    uint32_t dataLen = 0;
    /** A block of `dataLen` bytes that stays the caller's; read during the call only. */
    const void *data = nullptr;
};

/** @brief Screen parameters of a cast, carried unchanged. */
struct ScreenParam {
    uint32_t firstValue = 0;  ///< The first value.
    uint32_t secondValue = 0; ///< The second value.
    uint32_t thirdValue = 0;  ///< The third value.
    uint32_t fourthValue = 0; ///< The fourth value.
    uint32_t fifthValue = 0;  ///< The fifth value.
};

/** @brief A cast operation; the service's numbers, any int32 is carried unchanged (build one with static_cast). */
enum CastOperationType : int32_t {};
/** @brief A screen parameter type; the service's numbers, carried unchanged. */
enum CastSetScreenParamType : int32_t {};

/**
 * @brief The callback that goes with a surface transfer.
 *
 * The service's events (and the death notification) end in OnEvent, called on an IPC thread; it only logs them.
 * Derive from it to act on them.
 */
class TARNBY_EXPORT SurfaceTransferCallback : public CallbackSkeleton {
public:
    /** @brief Makes a callback that logs the events. */
    SurfaceTransferCallback() = default;
    /** @brief Destroys the object. */
    ~SurfaceTransferCallback() override = default;

    /**
     * @brief Logs an event: 40001 or 40002 (code 0), 10001 (the service's code), or a death (code 1012).
     * @param code The event's code.
     * @param eventId The event type, or the transfer's id for a death.
     * @param data The event's text.
     * @return 0.
     */
    int32_t OnEvent(uint32_t code, uint32_t eventId, std::string &data) override;
};

/**
 * @brief Casting a screen surface to a remote device.
 *
 * Each operation is one synchronous request to the service (at most 8 seconds) whose answer is one int32; transfers
 * are identified by connection id and tracked by the service. The front also owns the one death recipient that
 * tells the caller's callback when the service dies. Calls may come from any thread and take no lock; callers that
 * race on the first use of the death recipient (InitSurfaceTransfer, SetDeathRecipient) must serialise themselves.
 */
class TARNBY_EXPORT SurfaceTransferAbility {
public:
    /** @return The one instance, created on first use. */
    static SurfaceTransferAbility &GetInstance();

    /**
     * @brief Sets up a transfer and hands `callback` to the service and to the death recipient.
     *
     * The death recipient keeps only the first callback until the service dies.
     * @param connId The connection to cast on.
     * @param remoteDevice The remote end; must not be null.
     * @param callback Receives the service's events and the death notification; must not be null.
     * @return The service's answer (a non-zero answer is both the result and the id that a later death notification
     *         carries); 1018 null callback, 1001 null device, 12 no death recipient, 1012 no service, 1007 a field
     *         not written, 0x1B8003F5 send failed.
     */
    int32_t InitSurfaceTransfer(int32_t connId, std::shared_ptr<RemoteDevice> remoteDevice,
                                sptr<CallbackSkeleton> callback);
    /**
     * @brief Tears the transfer down.
     * @param connId The transfer.
     * @return The service's answer, or 1001 (header), 1007 (a field), 1012 (no service, checked after the whole
     *         request is built) or 0x1B8003F5 (send failed).
     */
    int32_t DeInitSurfaceTransfer(int32_t connId);
    /**
     * @brief Starts the transfer.
     * @param connId The transfer.
     * @param first The first text the service expects.
     * @param second The second text.
     * @return As DeInitSurfaceTransfer.
     */
    int32_t StartSurfaceTransfer(int32_t connId, std::string first, std::string second);
    /**
     * @brief Stops the transfer.
     * @param connId The transfer.
     * @return As DeInitSurfaceTransfer.
     */
    int32_t StopSurfaceTransfer(int32_t connId);
    /**
     * @brief Asks for a cast operation.
     * @param connId The transfer.
     * @param type The operation.
     * @return As DeInitSurfaceTransfer.
     */
    int32_t CastOperation(int32_t connId, CastOperationType type);
    /**
     * @brief Sets screen parameters.
     * @param connId The transfer.
     * @param type The parameter type.
     * @param param The values; a null one cannot be written (1007).
     * @return As DeInitSurfaceTransfer.
     */
    int32_t SetScreenParam(int32_t connId, CastSetScreenParamType type, std::shared_ptr<ScreenParam> param);
    /**
     * @brief Sets a virtual display parameter.
     * @param connId The transfer.
     * @param value The parameter's value.
     * @param text The parameter's text.
     * @return As DeInitSurfaceTransfer.
     */
    int32_t SetVirtualDisplayParam(int32_t connId, uint32_t value, std::string &text);
    /**
     * @brief Writes a remote device's fields in declaration order.
     * @param parcel The parcel written to.
     * @param remoteDevice The device.
     * @return False at the first field that cannot be written, or for null.
     */
    static bool WriteRemoteDevice(Parcel &parcel, std::shared_ptr<RemoteDevice> remoteDevice);
    /**
     * @brief Writes screen parameters in declaration order.
     * @param parcel The parcel written to.
     * @param param The parameters.
     * @return False at the first field that cannot be written, or for null.
     */
    static bool WriteScreenParam(Parcel &parcel, std::shared_ptr<ScreenParam> param);
    /** @return The death recipient, created on first use; null when it cannot be allocated. */
    sptr<DeathRecipient> GetDeathRecipient();
    /**
     * @brief Registers the death recipient on the service's object, only when no recipient exists yet.
     *
     * After an InitSurfaceTransfer (which creates one) it returns true and registers nothing.
     * @return False without a service.
     */
    bool SetDeathRecipient();

private:
    SurfaceTransferAbility() = default;
    SurfaceTransferAbility(const SurfaceTransferAbility &) = delete;
    SurfaceTransferAbility &operator=(const SurfaceTransferAbility &) = delete;

    sptr<DeathRecipient> deathRecipient_;
};
} // namespace OHOS::Tarnby

#endif // TARNBY_SURFACE_TRANSFER_ABILITY_H
