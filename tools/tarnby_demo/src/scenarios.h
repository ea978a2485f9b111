// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_DEMO_SCENARIOS_H
#define TARNBY_DEMO_SCENARIOS_H

// The demo's scenarios. Each drives the client library against the emulator, prints the transcript and returns
// whether its key results were as expected.
#include <cstdint>
#include <string>

#include "demo_callbacks.h"
#include "service_control.h"
#include "tarnby_emulator.h"
#include "transcript.h"

namespace OHOS::TarnbyDemo {
using TarnbyEmulator::ServiceControl;
struct DemoContext {
    Transcript &transcript;
    ServiceControl &emulator;
    // One surface callback for the whole run: the death recipient keeps the first callback it is given.
    sptr<DemoSurfaceCallback> surfaceCallback;
};

bool RunCollaboration(DemoContext &context);
bool RunAudio(DemoContext &context);
bool RunSurface(DemoContext &context);
bool RunDeath(DemoContext &context);

// Shared steps of the surface and death scenarios.
// Registers the death recipient (before any transfer is initialised, so the service's death is heard).
bool SetDeathRecipient(DemoContext &context);
// Initialises a transfer on the client's connection `clientConnId`; returns the service's connection id (0 when
// the service refused).
int32_t InitSurface(DemoContext &context, int32_t clientConnId);
// Starts the transfer and expects the service's "started" event; returns the status.
int32_t StartSurface(DemoContext &context, int32_t connId);
// Stops the transfer expecting `expected`, and the "stopped" event when it succeeds.
int32_t StopSurface(DemoContext &context, int32_t connId, int32_t expected);
int32_t DeInitSurface(DemoContext &context, int32_t connId, int32_t expected);
} // namespace OHOS::TarnbyDemo

#endif // TARNBY_DEMO_SCENARIOS_H
