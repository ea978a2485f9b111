// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_AUDIO_TRANSFER_ABILITY_H
#define TARNBY_AUDIO_TRANSFER_ABILITY_H

/**
 * @file audio_transfer_ability.h
 * @brief Transfer of audio to a remote device.
 *
 * Each operation is one synchronous request to the Tarnby service (up to 8 seconds); the transfer itself is
 * identified by the connection id that InitAudioTransfer returns and is kept by the service. The front holds no
 * state and takes no lock: any thread may call it, each call builds its own request.
 */
#include <cstdint>
#include <string>
#include <utility>

#include "tarnby_export.h"

namespace OHOS::Tarnby {
/** @brief The service's business numbers; any int32 is carried unchanged (build one with static_cast). */
enum BusinessType : int32_t {};

/**
 * @brief Audio transfer to a remote device.
 *
 * Each operation is one synchronous request to the service (at most 8 seconds) whose answer is one int32; the
 * service tracks the transfers by connection id. Any thread may call it.
 */
class TARNBY_EXPORT AudioTransferAbility {
public:
    /** @return The one instance, created when the library is loaded. */
    static AudioTransferAbility &GetInstance();

    /**
     * @brief Sets up a transfer to `peerNetworkId`.
     * @param peerNetworkId The remote device's network id; must not be empty.
     * @param devName The remote audio device's name; must not be empty.
     * @param businessType The service's business number.
     * @return (status, connId) as the service answers them; on the library's own failures both carry a code:
     *         (1001, 1001) for an empty argument, (1012, 1012) without a service, (1007, 1007) when a field cannot be
     *         written, (0x1B8003F5, 1007) when the send fails.
     */
    std::pair<int32_t, int32_t> InitAudioTransfer(const std::string &peerNetworkId, const std::string &devName,
                                                  BusinessType businessType);
    /**
     * @brief Tears the transfer `connId` down.
     * @param connId The transfer, as InitAudioTransfer returned it.
     * @param businessType The business number it was set up with.
     * @return The service's answer, or 1001, 1007, 1012 or 0x1B8003F5 for the library's own failures.
     */
    int32_t DeInitAudioTransfer(int32_t connId, BusinessType businessType);
    /**
     * @brief Starts the transfer `connId`.
     * @param connId The transfer, as InitAudioTransfer returned it.
     * @return The service's answer, or 1001, 1007, 1012 or 0x1B8003F5 for the library's own failures.
     */
    int32_t StartAudioTransfer(int32_t connId);
    /**
     * @brief Stops the transfer `connId`.
     * @param connId The transfer, as InitAudioTransfer returned it.
     * @return The service's answer, or 1001, 1007, 1012 or 0x1B8003F5 for the library's own failures.
     */
    int32_t StopAudioTransfer(int32_t connId);
    /**
     * @brief Not supported: sends nothing.
     * @param peerNetworkId Not used.
     * @param devName Not used.
     * @param businessType Not used.
     * @param connId Not used.
     * @return 0x1B8107E7 (ERR_TRBY_NOT_SUPPORTED), always.
     */
    int32_t StartAudioTransfer(const std::string &peerNetworkId, const std::string &devName, BusinessType businessType,
                               int32_t connId);

private:
    AudioTransferAbility() = default;
    AudioTransferAbility(const AudioTransferAbility &) = delete;
    AudioTransferAbility &operator=(const AudioTransferAbility &) = delete;

    static AudioTransferAbility instance_;
};
} // namespace OHOS::Tarnby

#endif // TARNBY_AUDIO_TRANSFER_ABILITY_H
