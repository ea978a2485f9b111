// tarnby_emulator_server: the emulated Tarnby service as a process of its own. It registers the service under
// 70633 in the cross-process registry (OHOS_HOST_IPC_DIR) and a control object beside it, prints "ready" and
// serves until SIGTERM or SIGINT.
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "emulator_control.h"
#include "host_xproc.h"
#include "ipc_object_stub.h"
#include "iservice_registry.h"
#include "message_parcel.h"
#include "service_control.h"
#include "tarnby_emulator.h"

namespace OHOS::TarnbyEmulator {
namespace {
class ControlStub : public IPCObjectStub {
public:
    explicit ControlStub(Emulator &emulator) : IPCObjectStub(u"tarnby.EmulatorControl"), emulator_(emulator) {}

    int OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override
    {
        int32_t id = data.ReadInt32();
        switch (code) {
            case CONTROL_PEER_SEND_DATA: {
                uint32_t size = data.ReadUint32();
                const auto *bytes = size > data.GetReadableBytes() ? nullptr : data.ReadBuffer(size);
                if (bytes == nullptr) {
                    return ERR_INVALID_DATA;
                }
                return reply.WriteInt32(emulator_.PeerSendData(id, std::vector<uint8_t>(bytes, bytes + size)))
                           ? ERR_NONE
                           : ERR_INVALID_DATA;
            }
            case CONTROL_AUDIO_STATE:
                return reply.WriteInt32(static_cast<int32_t>(emulator_.AudioState(id))) ? ERR_NONE : ERR_INVALID_DATA;
            case CONTROL_SURFACE_STATE:
                return reply.WriteInt32(static_cast<int32_t>(emulator_.SurfaceState(id))) ? ERR_NONE : ERR_INVALID_DATA;
            case CONTROL_SURFACE_EVENT: {
                uint32_t subServiceType = data.ReadUint32();
                uint32_t code = data.ReadUint32();
                int32_t result = emulator_.SendSurfaceEvent(id, subServiceType, code, data.ReadString());
                return reply.WriteInt32(result) ? ERR_NONE : ERR_INVALID_DATA;
            }
            case CONTROL_SERVICE_STATE_CHANGE: {
                sptr<IRemoteObject> callback = data.ReadRemoteObject();
                ServiceStateChange change = ReadServiceStateChangeFields(data);
                int32_t result = SendServiceStateChange(callback, change);
                if (change.fd >= 0) {
                    close(change.fd);
                }
                return reply.WriteInt32(result) ? ERR_NONE : ERR_INVALID_DATA;
            }
            default:
                return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
        }
    }

private:
    Emulator &emulator_;
};

int Serve()
{
    if (HostIpc::CrossProcessDirectory().empty()) {
        std::fprintf(stderr, "tarnby_emulator_server: set OHOS_HOST_IPC_DIR to the registry directory\n");
        return 2;
    }
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTERM);
    sigaddset(&stop, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stop, nullptr); // before any thread starts, so only sigwait sees them
    Emulator emulator;
    sptr<IRemoteObject> control = new ControlStub(emulator);
    auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (!emulator.Start() || manager == nullptr || manager->AddSystemAbility(EMULATOR_CONTROL_ID, control) != ERR_OK) {
        std::fprintf(stderr, "tarnby_emulator_server: the service could not be registered\n");
        return 1;
    }
    std::printf("ready: the Tarnby service is registered under %d in %s\n", TARNBY_SERVICE_ID,
                HostIpc::CrossProcessDirectory().c_str());
    std::fflush(stdout);
    int signal = 0;
    sigwait(&stop, &signal);
    manager->RemoveSystemAbility(EMULATOR_CONTROL_ID);
    emulator.Stop();
    return 0;
}
} // namespace
} // namespace OHOS::TarnbyEmulator

int main()
{
    return OHOS::TarnbyEmulator::Serve();
}
