// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EMULATOR_SERVICE_CONTROL_H
#define TARNBY_EMULATOR_SERVICE_CONTROL_H

// The emulated service as a client program steers it, wherever it runs: its life (start, death, return), the peer's
// side of a session, and the callbacks the service makes on its own (surface events, device-connect state changes).
// The emulator runs in the program's process, or as tarnby_emulator_server in a process of its own whose death is a
// real SIGKILL (steered through the control ability of emulator_control.h).
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "iremote_object.h"
#include "tarnby_emulator.h"
#include "tarnby_wire.h"

namespace OHOS::TarnbyEmulator {
class ServiceControl {
public:
    virtual ~ServiceControl() = default;
    virtual bool Start() = 0;
    virtual void Stop() = 0;
    // The service dies: in-process its object is killed, across processes its process is killed.
    virtual void Kill() = 0;
    virtual bool Restart() = 0;
    virtual int32_t PeerSendData(int32_t sessionId, const std::vector<uint8_t> &data) = 0;
    virtual TransferState AudioState(int32_t connId) = 0;
    virtual TransferState SurfaceState(int32_t connId) = 0;
    // As Emulator::SendSurfaceEvent.
    virtual int32_t SendSurfaceEvent(int32_t connId, uint32_t subServiceType, uint32_t code,
                                     const std::string &extra) = 0;
    // Calls `callback` (a device-connect callback object of the client) with `change`; the callback's status, or
    // EMU_ERR_CALLBACK_FAILED when it could not be reached.
    virtual int32_t SendServiceStateChange(const sptr<IRemoteObject> &callback, const ServiceStateChange &change) = 0;
    // Where the service runs, for the transcript.
    virtual std::string Where() const = 0;
};

// Sends `change` to `callback` as the service does: the int32 the callback answers, or EMU_ERR_CALLBACK_FAILED.
int32_t SendServiceStateChange(const sptr<IRemoteObject> &callback, const ServiceStateChange &change);

// A change as the control request carries it (the descriptor received is owned by the reader).
void WriteServiceStateChangeFields(MessageParcel &request, const ServiceStateChange &change);
ServiceStateChange ReadServiceStateChangeFields(MessageParcel &request);

std::unique_ptr<ServiceControl> InProcessService();
// Runs `serverPath` in a child process; the registry directory must be set (OHOS_HOST_IPC_DIR).
std::unique_ptr<ServiceControl> ServiceProcess(const std::string &serverPath);
} // namespace OHOS::TarnbyEmulator

#endif // TARNBY_EMULATOR_SERVICE_CONTROL_H
