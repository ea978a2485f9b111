// SPDX-License-Identifier: Apache-2.0
// tarnby_emulator_server: the emulated Tarnby service as a process of its own. It registers the service under
// 70633 in the cross-process registry (OHOS_HOST_IPC_DIR) and a control object beside it, prints "ready" and
// serves until SIGTERM or SIGINT. With --http it also serves its control panel (a web page and a JSON API), with
// --trace it writes every transaction as a JSON line, and --scenario loads scripted answers and actions.
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "control_panel.h"
#include "emulator_control.h"
#include "host_xproc.h"
#include "ipc_object_stub.h"
#include "iservice_registry.h"
#include "message_parcel.h"
#include "scenario.h"
#include "service_control.h"
#include "tarnby_emulator.h"
#include "trace_recorder.h"

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

struct Options {
    bool http = false;
    PanelOptions panel;
    std::string trace;
    std::string scenario;
};

void Usage()
{
    std::fprintf(stderr, "usage: tarnby_emulator_server [--http [ADDR:]PORT [--http-allow-remote]] [--trace FILE] "
                         "[--scenario FILE.json]\n");
}

// False (after a message) for arguments it does not understand.
bool ParseOptions(int argc, char **argv, Options &options)
{
    for (int i = 1; i < argc; i++) {
        std::string argument = argv[i];
        bool hasValue = i + 1 < argc;
        if (argument == "--http" && hasValue && ParsePanelAddress(argv[i + 1], options.panel)) {
            options.http = true;
            i++;
        } else if (argument == "--http-allow-remote") {
            options.panel.allowRemote = true;
        } else if (argument == "--trace" && hasValue) {
            options.trace = argv[++i];
        } else if (argument == "--scenario" && hasValue) {
            options.scenario = argv[++i];
        } else {
            std::fprintf(stderr, "tarnby_emulator_server: cannot use \"%s\"\n", argument.c_str());
            Usage();
            return false;
        }
    }
    return true;
}

bool LoadScenario(const std::string &path, Scenario &scenario)
{
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    std::string error;
    if (!file || !ParseScenario(text.str(), scenario, error)) {
        std::fprintf(stderr, "tarnby_emulator_server: scenario %s: %s\n", path.c_str(),
                     file ? error.c_str() : "cannot be read");
        return false;
    }
    return true;
}

int Serve(int argc, char **argv)
{
    Options options;
    Scenario scenario;
    if (!ParseOptions(argc, argv, options) ||
        (!options.scenario.empty() && !LoadScenario(options.scenario, scenario))) {
        return 2;
    }
    // Without a registry directory of the caller's choosing, one of this user's own: applications started with the
    // same OHOS_HOST_IPC_DIR (printed below) find the service there.
    std::string fallback = "/tmp/tarnby-ipc-" + std::to_string(geteuid());
    if (getenv("OHOS_HOST_IPC_DIR") == nullptr) {
        setenv("OHOS_HOST_IPC_DIR", fallback.c_str(), 1);
    }
    if (HostIpc::CrossProcessDirectory().empty()) {
        std::fprintf(stderr, "tarnby_emulator_server: no usable registry directory (OHOS_HOST_IPC_DIR)\n");
        return 2;
    }
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTERM);
    sigaddset(&stop, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stop, nullptr); // before any thread starts, so only sigwait sees them
    Emulator emulator;
    TraceRecorder trace;
    ScenarioRunner runner(emulator);
    runner.Load(scenario);
    ControlPanel panel(emulator, trace, runner);
    std::string error;
    if (!options.trace.empty() && !trace.WriteTo(options.trace, error)) {
        std::fprintf(stderr, "tarnby_emulator_server: %s\n", error.c_str());
        return 2;
    }
    emulator.SetTransactionSink([&trace](const Transaction &transaction) { trace.Record(transaction); });
    trace.OnEntry([&panel](const Json::Value &entry) {
        panel.Publish("trace", entry);
        panel.Publish("state", panel.State());
    });
    emulator.SetEventSink([&runner, &panel](const EmulatorEvent &event) {
        runner.OnEvent(event);
        panel.Publish("event", EventJson(event));
    });
    sptr<IRemoteObject> control = new ControlStub(emulator);
    auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (!emulator.Start() || manager == nullptr || manager->AddSystemAbility(EMULATOR_CONTROL_ID, control) != ERR_OK) {
        std::fprintf(stderr, "tarnby_emulator_server: the service could not be registered\n");
        return 1;
    }
    if (options.http && !panel.Start(options.panel, error)) {
        std::fprintf(stderr, "tarnby_emulator_server: %s\n", error.c_str());
        return 1;
    }
    std::printf("ready: the Tarnby service is registered under %d in %s (OHOS_HOST_IPC_DIR=%s for applications)\n",
                TARNBY_SERVICE_ID, HostIpc::CrossProcessDirectory().c_str(), HostIpc::CrossProcessDirectory().c_str());
    if (options.http) {
        std::printf("control panel: %s\n", panel.Url().c_str());
    }
    std::fflush(stdout);
    int signal = 0;
    sigwait(&stop, &signal);
    emulator.SetEventSink(nullptr);
    emulator.SetTransactionSink(nullptr);
    manager->RemoveSystemAbility(EMULATOR_CONTROL_ID);
    emulator.Stop();
    return 0;
}
} // namespace
} // namespace OHOS::TarnbyEmulator

int main(int argc, char **argv)
{
    return OHOS::TarnbyEmulator::Serve(argc, argv);
}
