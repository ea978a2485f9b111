#include "service_control.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "emulator_control.h"
#include "iservice_registry.h"
#include "message_parcel.h"

extern char **environ;

namespace OHOS::TarnbyDemo {
namespace {
using TarnbyEmulator::TransferState;

class InProcess : public ServiceControl {
public:
    bool Start() override
    {
        return emulator_.Start();
    }
    void Stop() override
    {
        emulator_.Stop();
    }
    void Kill() override
    {
        emulator_.Kill();
    }
    bool Restart() override
    {
        return emulator_.Restart();
    }
    int32_t PeerSendData(int32_t sessionId, const std::vector<uint8_t> &data) override
    {
        return emulator_.PeerSendData(sessionId, data);
    }
    TransferState AudioState(int32_t connId) override
    {
        return emulator_.AudioState(connId);
    }
    TransferState SurfaceState(int32_t connId) override
    {
        return emulator_.SurfaceState(connId);
    }
    std::string Where() const override
    {
        return "in this process";
    }

private:
    TarnbyEmulator::Emulator emulator_;
};

class Process : public ServiceControl {
public:
    explicit Process(std::string serverPath) : serverPath_(std::move(serverPath)) {}
    ~Process() override
    {
        Stop();
    }

    bool Start() override
    {
        int out[2];
        if (pipe2(out, O_CLOEXEC) != 0) {
            return false;
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
        char *argv[] = {const_cast<char *>(serverPath_.c_str()), nullptr};
        int spawned = posix_spawn(&pid_, serverPath_.c_str(), &actions, nullptr, argv, environ);
        posix_spawn_file_actions_destroy(&actions);
        close(out[1]);
        FILE *output = fdopen(out[0], "r");
        char line[256] = {};
        bool ready = spawned == 0 && output != nullptr && fgets(line, sizeof(line), output) != nullptr &&
                     std::string(line).rfind("ready", 0) == 0;
        if (output != nullptr) {
            fclose(output);
        }
        if (!ready) {
            pid_ = spawned == 0 ? pid_ : -1;
            Kill();
        }
        return ready;
    }
    void Stop() override
    {
        End(SIGTERM);
    }
    void Kill() override
    {
        End(SIGKILL);
    }
    bool Restart() override
    {
        return Start();
    }
    int32_t PeerSendData(int32_t sessionId, const std::vector<uint8_t> &data) override
    {
        MessageParcel request;
        request.WriteInt32(sessionId);
        request.WriteUint32(static_cast<uint32_t>(data.size()));
        request.WriteBuffer(data.data(), data.size());
        return Ask(TarnbyEmulator::CONTROL_PEER_SEND_DATA, request, TarnbyEmulator::EMU_ERR_STOPPED);
    }
    TransferState AudioState(int32_t connId) override
    {
        return State(TarnbyEmulator::CONTROL_AUDIO_STATE, connId);
    }
    TransferState SurfaceState(int32_t connId) override
    {
        return State(TarnbyEmulator::CONTROL_SURFACE_STATE, connId);
    }
    std::string Where() const override
    {
        return "in process " + std::to_string(pid_) + " (" + serverPath_ + ")";
    }

private:
    void End(int signal)
    {
        if (pid_ > 0) {
            kill(pid_, signal);
            waitpid(pid_, nullptr, 0);
            pid_ = -1;
        }
    }
    int32_t Ask(uint32_t code, MessageParcel &request, int32_t failed)
    {
        auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
        sptr<IRemoteObject> control =
            manager == nullptr ? nullptr : manager->GetSystemAbility(TarnbyEmulator::EMULATOR_CONTROL_ID);
        MessageParcel reply;
        MessageOption option;
        if (control == nullptr || control->SendRequest(code, request, reply, option) != ERR_NONE) {
            return failed;
        }
        return reply.ReadInt32();
    }
    TransferState State(uint32_t code, int32_t connId)
    {
        MessageParcel request;
        request.WriteInt32(connId);
        return static_cast<TransferState>(Ask(code, request, static_cast<int32_t>(TransferState::NONE)));
    }

    const std::string serverPath_;
    pid_t pid_ = -1;
};
} // namespace

std::unique_ptr<ServiceControl> InProcessService()
{
    return std::make_unique<InProcess>();
}

std::unique_ptr<ServiceControl> ServiceProcess(const std::string &serverPath)
{
    return std::make_unique<Process>(serverPath);
}
} // namespace OHOS::TarnbyDemo
