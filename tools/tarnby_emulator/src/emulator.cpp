// SPDX-License-Identifier: Apache-2.0
#include "tarnby_emulator.h"

#include "emulator_core.h"

namespace OHOS::TarnbyEmulator {
const char *EmulatorResultName(int32_t result)
{
    switch (result) {
        case EMU_OK:
            return "EMU_OK";
        case EMU_ERR_WRONG_TOKEN:
            return "EMU_ERR_WRONG_TOKEN";
        case EMU_ERR_MALFORMED:
            return "EMU_ERR_MALFORMED";
        case EMU_ERR_UNKNOWN_OPERATION:
            return "EMU_ERR_UNKNOWN_OPERATION";
        case EMU_ERR_UNKNOWN_SESSION:
            return "EMU_ERR_UNKNOWN_SESSION";
        case EMU_ERR_UNKNOWN_CONNECTION:
            return "EMU_ERR_UNKNOWN_CONNECTION";
        case EMU_ERR_WRONG_STATE:
            return "EMU_ERR_WRONG_STATE";
        case EMU_ERR_NOT_REGISTERED:
            return "EMU_ERR_NOT_REGISTERED";
        case EMU_ERR_BAD_TARGET:
            return "EMU_ERR_BAD_TARGET";
        case EMU_ERR_STOPPED:
            return "EMU_ERR_STOPPED";
        case EMU_ERR_CALLBACK_FAILED:
            return "EMU_ERR_CALLBACK_FAILED";
        default:
            return nullptr;
    }
}

const char *TransferStateName(TransferState state)
{
    switch (state) {
        case TransferState::NONE:
            return "NONE";
        case TransferState::INITIALISED:
            return "INITIALISED";
        case TransferState::STARTED:
            return "STARTED";
        case TransferState::STOPPED:
            return "STOPPED";
    }
    return "?";
}

Emulator::Emulator() : core_(std::make_unique<EmulatorCore>()) {}

Emulator::~Emulator() = default;

bool Emulator::Start()
{
    return core_->Start();
}

void Emulator::Stop()
{
    core_->Stop();
}

void Emulator::Kill()
{
    core_->Kill();
}

bool Emulator::Restart()
{
    return core_->Restart();
}

bool Emulator::IsRunning() const
{
    return core_->IsRunning();
}

sptr<IRemoteObject> Emulator::ServiceObject() const
{
    return core_->ServiceObject();
}

int32_t Emulator::PeerSendData(int32_t sessionId, const std::vector<uint8_t> &data)
{
    return core_->PeerSendData(sessionId, data);
}

int32_t Emulator::PeerSendEvent(int32_t sessionId, const std::string &event)
{
    return core_->PeerSendEvent(sessionId, event);
}

int32_t Emulator::SendSurfaceEvent(int32_t connId, uint32_t subServiceType, uint32_t code, const std::string &extra)
{
    return core_->SendSurfaceEvent(connId, subServiceType, code, extra);
}

std::vector<int32_t> Emulator::Sessions() const
{
    return core_->Sessions();
}

TransferState Emulator::AudioState(int32_t connId) const
{
    return core_->AudioState(connId);
}

TransferState Emulator::SurfaceState(int32_t connId) const
{
    return core_->SurfaceState(connId);
}

std::vector<EmulatorEvent> Emulator::Events() const
{
    return core_->Events();
}

std::vector<EmulatorEvent> Emulator::EventsOfKind(const std::string &kind) const
{
    return core_->EventsOfKind(kind);
}

bool Emulator::WaitForEvent(const std::string &kind, std::chrono::milliseconds timeout, EmulatorEvent *found) const
{
    return core_->WaitForEvents(kind, 1, timeout, found);
}

bool Emulator::WaitForEvents(const std::string &kind, size_t count, std::chrono::milliseconds timeout) const
{
    return core_->WaitForEvents(kind, count, timeout, nullptr);
}

void Emulator::SetRequestHook(RequestHook hook)
{
    core_->SetRequestHook(std::move(hook));
}

void Emulator::SetTransactionSink(TransactionSink sink)
{
    core_->SetTransactionSink(std::move(sink));
}

void Emulator::SetEventSink(EventSink sink)
{
    core_->SetEventSink(std::move(sink));
}

EmulatorSnapshot Emulator::Snapshot() const
{
    return core_->Snapshot();
}

std::vector<DecodedRequest> Emulator::Requests() const
{
    return core_->Requests();
}

bool Emulator::WaitForRequests(size_t count, std::chrono::milliseconds timeout) const
{
    return core_->WaitForRequests(count, timeout);
}
} // namespace OHOS::TarnbyEmulator
