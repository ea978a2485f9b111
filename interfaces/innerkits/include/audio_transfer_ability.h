#ifndef TARNBY_AUDIO_TRANSFER_ABILITY_H
#define TARNBY_AUDIO_TRANSFER_ABILITY_H

// Transfer of audio to a remote device. Each operation is one synchronous request to the Tarnby service (up to 8
// seconds); the transfer itself is identified by the connection id that InitAudioTransfer returns and is kept by
// the service. The front holds no state and takes no lock: any thread may call it, each call builds its own request.
#include <cstdint>
#include <string>
#include <utility>

#include "tarnby_export.h"

namespace OHOS::Tarnby {
// The service's business numbers; any int32 is carried unchanged (build one with static_cast).
enum BusinessType : int32_t {};

class TARNBY_EXPORT AudioTransferAbility {
public:
    // The one instance, created when the library is loaded.
    static AudioTransferAbility &GetInstance();

    // Sets up a transfer to `peerNetworkId`. Returns (status, connId) as the service answers them; on the library's
    // own failures both carry a code: (1001, 1001) for an empty argument, (1012, 1012) without a service,
    // (1007, 1007) when a field cannot be written, (0x1B8003F5, 1007) when the send fails.
    std::pair<int32_t, int32_t> InitAudioTransfer(const std::string &peerNetworkId, const std::string &devName,
                                                  BusinessType businessType);
    // Tear down, start and stop the transfer `connId`. Return the service's answer, or 1001, 1007, 1012 or
    // 0x1B8003F5 for the library's own failures.
    int32_t DeInitAudioTransfer(int32_t connId, BusinessType businessType);
    int32_t StartAudioTransfer(int32_t connId);
    int32_t StopAudioTransfer(int32_t connId);
    // Not supported: sends nothing and always returns 0x1B8107E7.
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
