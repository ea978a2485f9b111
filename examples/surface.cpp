// SPDX-License-Identifier: Apache-2.0
// Casting a screen surface: set the transfer up with a callback, start it, and receive the service's events.
#include <cstdio>
#include <memory>
#include <string>

#include "example_service.h"
#include "surface_transfer_ability.h"
#include "tarnby_errors.h"

using namespace OHOS;
using namespace OHOS::Tarnby;

// Events arrive on an IPC thread: `code` is 0 for events 40001 and 40002, the service's code for 10001.
class CastEvents : public SurfaceTransferCallback {
public:
    int32_t OnEvent(uint32_t code, uint32_t eventId, std::string &extra) override
    {
        events.Put(std::to_string(eventId) + "/" + std::to_string(code) + "/" + extra);
        return TRBY_OK;
    }
    Example::Mailbox<std::string> events;
};

int main(int argc, char **argv)
{
    auto service = Example::StartService(argc, argv);
    if (service == nullptr) {
        return 1;
    }
    auto &surface = SurfaceTransferAbility::GetInstance();
    static const char display[] = "display-config";
    auto device = std::make_shared<RemoteDevice>();
    device->firstText = "peer-network-id";
    device->secondText = "Living room TV";
    device->dataLen = sizeof(display);
    device->data = display; // read during the call only
    auto events = sptr<CastEvents>::MakeSptr();
    int32_t connId = surface.InitSurfaceTransfer(1, device, events);
    int32_t started = surface.StartSurfaceTransfer(connId, "screen", "1080p");
    std::printf("surface: transfer %d initialised, start answered %d\n", connId, started);

    // The service reports how the cast goes.
    service->SendSurfaceEvent(connId, 40001, 0, "connected");
    std::string first = events->events.Take("(none)");
    service->SendSurfaceEvent(connId, 10001, 7, "resolution changed");
    std::string second = events->events.Take("(none)");
    std::printf("surface: events %s and %s\n", first.c_str(), second.c_str());

    bool ok = started == TRBY_OK && first == "40001/0/connected" && second == "10001/7/resolution changed" &&
              surface.StopSurfaceTransfer(connId) == TRBY_OK && surface.DeInitSurfaceTransfer(connId) == TRBY_OK;
    std::printf("surface: %s\n", ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
