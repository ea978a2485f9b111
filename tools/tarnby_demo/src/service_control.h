#ifndef TARNBY_DEMO_SERVICE_CONTROL_H
#define TARNBY_DEMO_SERVICE_CONTROL_H

// What the scenarios ask of the emulated service besides the library's own calls: its life (start, death, return)
// and the peer's side of a session. The emulator runs in the demo's process, or (--ipc) as tarnby_emulator_server
// in a process of its own whose death is a real SIGKILL.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tarnby_emulator.h"

namespace OHOS::TarnbyDemo {
class ServiceControl {
public:
    virtual ~ServiceControl() = default;
    virtual bool Start() = 0;
    virtual void Stop() = 0;
    // The service dies: in-process its object is killed, across processes its process is killed.
    virtual void Kill() = 0;
    virtual bool Restart() = 0;
    virtual int32_t PeerSendData(int32_t sessionId, const std::vector<uint8_t> &data) = 0;
    virtual TarnbyEmulator::TransferState AudioState(int32_t connId) = 0;
    virtual TarnbyEmulator::TransferState SurfaceState(int32_t connId) = 0;
    // Where the service runs, for the transcript.
    virtual std::string Where() const = 0;
};

std::unique_ptr<ServiceControl> InProcessService();
// Runs `serverPath` in a child process; the registry directory must be set (OHOS_HOST_IPC_DIR).
std::unique_ptr<ServiceControl> ServiceProcess(const std::string &serverPath);
} // namespace OHOS::TarnbyDemo

#endif // TARNBY_DEMO_SERVICE_CONTROL_H
