// SPDX-License-Identifier: Apache-2.0
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
#include "protocol.h"

extern char **environ;

namespace OHOS::TarnbyEmulator {
namespace {

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
    int32_t SendSurfaceEvent(int32_t connId, uint32_t subServiceType, uint32_t code, const std::string &extra) override
    {
        return emulator_.SendSurfaceEvent(connId, subServiceType, code, extra);
    }
    int32_t SendServiceStateChange(const sptr<IRemoteObject> &callback, const ServiceStateChange &change) override
    {
        return TarnbyEmulator::SendServiceStateChange(callback, change);
    }
    std::string Where() const override
    {
        return "in this process";
    }

private:
    Emulator emulator_;
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
        return Ask(CONTROL_PEER_SEND_DATA, request, EMU_ERR_STOPPED);
    }
    TransferState AudioState(int32_t connId) override
    {
        return State(CONTROL_AUDIO_STATE, connId);
    }
    TransferState SurfaceState(int32_t connId) override
    {
        return State(CONTROL_SURFACE_STATE, connId);
    }
    int32_t SendSurfaceEvent(int32_t connId, uint32_t subServiceType, uint32_t code, const std::string &extra) override
    {
        MessageParcel request;
        request.WriteInt32(connId);
        request.WriteUint32(subServiceType);
        request.WriteUint32(code);
        request.WriteString(extra);
        return Ask(CONTROL_SURFACE_EVENT, request, EMU_ERR_STOPPED);
    }
    // The server sends the change to the callback, which it gets as a proxy to this process's object.
    int32_t SendServiceStateChange(const sptr<IRemoteObject> &callback, const ServiceStateChange &change) override
    {
        MessageParcel request;
        request.WriteInt32(0);
        request.WriteRemoteObject(callback);
        WriteServiceStateChangeFields(request, change);
        return Ask(CONTROL_SERVICE_STATE_CHANGE, request, EMU_ERR_STOPPED);
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
        sptr<IRemoteObject> control = manager == nullptr ? nullptr : manager->GetSystemAbility(EMULATOR_CONTROL_ID);
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
int32_t SendServiceStateChange(const sptr<IRemoteObject> &callback, const ServiceStateChange &change)
{
    MessageParcel data;
    WriteServiceStateChange(data, change);
    MessageParcel reply;
    int status = SendCallback(callback, DEVICE_CONNECT_CALLBACK, data, &reply);
    return status == ERR_NONE && reply.GetReadableBytes() >= sizeof(int32_t) ? reply.ReadInt32()
                                                                             : EMU_ERR_CALLBACK_FAILED;
}

void WriteServiceStateChangeFields(MessageParcel &request, const ServiceStateChange &change)
{
    request.WriteString(change.firstString);
    request.WriteString(change.secondString);
    request.WriteInt32(change.firstInt);
    request.WriteInt32(change.secondInt);
    request.WriteString(change.extraInfo);
    request.WriteBool(change.fd >= 0);
    if (change.fd >= 0) {
        request.WriteFileDescriptor(change.fd);
    }
}

ServiceStateChange ReadServiceStateChangeFields(MessageParcel &request)
{
    ServiceStateChange change;
    change.firstString = request.ReadString();
    change.secondString = request.ReadString();
    change.firstInt = request.ReadInt32();
    change.secondInt = request.ReadInt32();
    change.extraInfo = request.ReadString();
    change.fd = request.ReadBool() ? request.ReadFileDescriptor() : -1;
    return change;
}
} // namespace OHOS::TarnbyEmulator
