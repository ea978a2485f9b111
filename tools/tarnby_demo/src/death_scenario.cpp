// SPDX-License-Identifier: Apache-2.0
// The service dies during a surface transfer: the death recipient, registered before the transfer was initialised,
// tells the callback (1012 with the transfer's id), calls find no service, and once the service is back the next
// call finds it again, without the transfer that died with it.
#include "scenarios.h"
#include "tarnby_errors.h"

namespace OHOS::TarnbyDemo {
namespace {
using namespace std::chrono_literals;
using Tarnby::ERR_TRBY_SERVICE_DEAD;
using Tarnby::TRBY_OK;

// Whether the callback heard the death notice (code 1012, the transfer's id, "errorcode") as its latest event.
bool HeardDeath(DemoContext &context, size_t count, int32_t connId)
{
    std::vector<Heard> heard = context.surfaceCallback->Log().WaitFor(count, 5s);
    return heard.size() == count && heard.back().code == static_cast<uint32_t>(ERR_TRBY_SERVICE_DEAD) &&
           heard.back().id == connId && heard.back().text == "errorcode";
}

void Die(DemoContext &context, int32_t connId)
{
    size_t before = context.surfaceCallback->Log().Count();
    context.transcript.Service("Kill(): the service dies during the transfer");
    context.emulator.Kill();
    context.transcript.Expect(HeardDeath(context, before + 1, connId),
                              "the callback hears the death with the transfer's id");
    // The recipient drops the library's proxy right after telling the callback; wait for it, so that the next call
    // shows the missing service and not the dead proxy.
    context.transcript.Expect(context.transcript.WaitForLog("OnRemoteDied# leave", 5s), "the death recipient finishes");
}
} // namespace

bool RunDeath(DemoContext &context)
{
    Transcript &out = context.transcript;
    SetDeathRecipient(context);
    int32_t connId = InitSurface(context, 1);
    StartSurface(context, connId);
    Die(context, connId);
    StopSurface(context, connId, ERR_TRBY_SERVICE_DEAD);

    bool back = context.emulator.Restart();
    out.Service(std::string("Restart(): ") + (back ? "the service is back under 70633" : "could not register"));
    out.Expect(back, "the service comes back");
    // Found again: the new service answers, and knows nothing of the transfer that died.
    StopSurface(context, connId, TarnbyEmulator::EMU_ERR_UNKNOWN_CONNECTION);
    int32_t newConnId = InitSurface(context, 1);
    out.Expect(newConnId > 0, "the new service gives a connection id"); // a restarted process may count from 1 again
    StartSurface(context, newConnId);
    StopSurface(context, newConnId, TRBY_OK);
    DeInitSurface(context, newConnId, TRBY_OK);
    return out.TakeScenarioResult();
}
} // namespace OHOS::TarnbyDemo
