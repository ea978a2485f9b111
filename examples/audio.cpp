// SPDX-License-Identifier: Apache-2.0
// Audio transfer that survives the service's death: a death recipient tells the app when the service dies; the
// app waits for the service to come back and sets the transfer up again.
#include <chrono>
#include <cstdio>
#include <thread>

#include "audio_transfer_ability.h"
#include "example_service.h"
#include "surface_transfer_ability.h"
#include "tarnby_errors.h"

using namespace OHOS;
using namespace OHOS::Tarnby;

// The death recipient calls OnEvent(1012, id, "errorcode") on an IPC thread, then drops the library's proxy.
class DeathWatcher : public CallbackSkeleton {
public:
    int32_t OnEvent(uint32_t code, uint32_t eventId, std::string &extra) override
    {
        deaths.Put(static_cast<int32_t>(code));
        return TRBY_OK;
    }
    Example::Mailbox<int32_t> deaths;
};

// Sets up and starts a transfer; the connection id, or 0.
int32_t StartTransfer(AudioTransferAbility &audio)
{
    auto [status, connId] = audio.InitAudioTransfer("peer-network-id", "living-room-speaker", BusinessType{1});
    if (status != TRBY_OK || audio.StartAudioTransfer(connId) != TRBY_OK) {
        return 0;
    }
    return connId;
}

int main(int argc, char **argv)
{
    auto service = Example::StartService(argc, argv);
    if (service == nullptr) {
        return 1;
    }
    // One death recipient serves the whole library; register it first, then give it the callback to tell.
    auto &surface = SurfaceTransferAbility::GetInstance();
    auto watcher = sptr<DeathWatcher>::MakeSptr();
    if (!surface.SetDeathRecipient()) {
        std::fprintf(stderr, "audio: no service to watch\n");
        return 1;
    }
    surface.GetDeathRecipient()->SetCallback(watcher);

    auto &audio = AudioTransferAbility::GetInstance();
    int32_t connId = StartTransfer(audio);
    std::printf("audio: transfer %d started\n", connId);

    service->Kill(); // the service's process dies
    int32_t heard = watcher->deaths.Take(0);
    std::printf("audio: the death recipient reported %d\n", heard);

    // Until the service is back, every call fails with 1012 (no service); then the transfer is set up again.
    service->Restart();
    int32_t again = 0;
    for (int attempt = 0; attempt < 50 && again == 0; attempt++) {
        again = StartTransfer(audio);
        if (again == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }
    std::printf("audio: transfer %d started again after the service came back\n", again);
    bool ok = connId != 0 && heard == ERR_TRBY_SERVICE_DEAD && again != 0 &&
              audio.StopAudioTransfer(again) == TRBY_OK && audio.DeInitAudioTransfer(again, BusinessType{1}) == TRBY_OK;
    std::printf("audio: %s\n", ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
