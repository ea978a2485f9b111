// SPDX-License-Identifier: Apache-2.0
// Audio transfer (init, start, stop, release) and surface transfer (init, screen parameters, start, cast
// operations, virtual display, stop, release), with the states the emulator keeps and the events it sends.
#include "audio_transfer_ability.h"
#include "scenarios.h"
#include "surface_transfer_ability.h"
#include "tarnby_errors.h"

namespace OHOS::TarnbyDemo {
namespace {
using namespace std::chrono_literals;
using Tarnby::TRBY_OK;
using TarnbyEmulator::EMU_ERR_UNKNOWN_CONNECTION;
using TarnbyEmulator::EMU_ERR_WRONG_STATE;
using TarnbyEmulator::TransferState;

constexpr uint32_t EVENT_STARTED = 40001;
constexpr uint32_t EVENT_STOPPED = 40002;
constexpr uint32_t EVENT_WITH_CODE = 10001;
constexpr int32_t SPEAKER_BUSINESS = 1;
constexpr int32_t CAST_PAUSE = 2;
constexpr int32_t SCREEN_RESOLUTION = 1;
const char DEVICE_DATA[] = "capabilities:h264,h265";
const std::string PEER = "peer-7f3a9c01";
const std::string SPEAKER = "Living room speaker";

std::string Id(int32_t connId)
{
    return "connId=" + std::to_string(connId);
}

Tarnby::SurfaceTransferAbility &Surface()
{
    return Tarnby::SurfaceTransferAbility::GetInstance();
}

// Whether the surface callback has heard `count` events in all, the latest being (code, eventId).
bool LatestEventIs(DemoContext &context, size_t count, uint32_t code, uint32_t eventId)
{
    std::vector<Heard> heard = context.surfaceCallback->Log().WaitFor(count, 2s);
    return heard.size() == count && heard.back().code == code && heard.back().id == static_cast<int32_t>(eventId);
}

// Calls an audio operation on `connId` and checks the status and the state the emulator then keeps.
bool AudioStep(DemoContext &context, const char *name, int32_t (Tarnby::AudioTransferAbility::*operation)(int32_t),
               int32_t connId, int32_t expected, TransferState expectedState)
{
    context.transcript.Begin(std::string(name) + "(" + Id(connId) + ")");
    int32_t status = context.transcript.End((Tarnby::AudioTransferAbility::GetInstance().*operation)(connId));
    TransferState state = context.emulator.AudioState(connId);
    context.transcript.Service(std::string("audio connection ") + std::to_string(connId) + " is " +
                               TarnbyEmulator::TransferStateName(state));
    return context.transcript.Expect(status == expected && state == expectedState,
                                     std::string(name) + " answers " + Transcript::Status(expected));
}

int32_t CastOperation(DemoContext &context, int32_t connId)
{
    context.transcript.Begin("CastOperation(" + Id(connId) + ", type=" + std::to_string(CAST_PAUSE) + ")");
    return context.transcript.End(Surface().CastOperation(connId, static_cast<Tarnby::CastOperationType>(CAST_PAUSE)));
}
} // namespace

bool RunAudio(DemoContext &context)
{
    Transcript &out = context.transcript;
    auto &audio = Tarnby::AudioTransferAbility::GetInstance();
    const auto business = static_cast<Tarnby::BusinessType>(SPEAKER_BUSINESS);
    const std::string businessText = "businessType=" + std::to_string(SPEAKER_BUSINESS);

    out.Begin("InitAudioTransfer(peerNetworkId=" + Transcript::Quote(PEER) + ", devName=" + Transcript::Quote(SPEAKER) +
              ", " + businessText + ")");
    auto [status, connId] = audio.InitAudioTransfer(PEER, SPEAKER, business);
    out.End(status, ", connId " + std::to_string(connId));
    out.Expect(status == TRBY_OK && connId != 0, "the service gives a connection id");

    using Audio = Tarnby::AudioTransferAbility;
    int32_t (Audio::*start)(int32_t) = &Audio::StartAudioTransfer;
    AudioStep(context, "StartAudioTransfer", start, connId, TRBY_OK, TransferState::STARTED);
    AudioStep(context, "StartAudioTransfer", start, connId, EMU_ERR_WRONG_STATE, TransferState::STARTED);
    AudioStep(context, "StopAudioTransfer", &Audio::StopAudioTransfer, connId, TRBY_OK, TransferState::STOPPED);

    out.Begin("DeInitAudioTransfer(" + Id(connId) + ", " + businessText + ")");
    out.Expect(out.End(audio.DeInitAudioTransfer(connId, business)) == TRBY_OK, "the transfer is released");
    AudioStep(context, "StartAudioTransfer", start, connId, EMU_ERR_UNKNOWN_CONNECTION, TransferState::NONE);

    out.Begin("StartAudioTransfer(peerNetworkId, devName, " + businessText + ", " + Id(connId) + ")");
    out.Expect(out.End(audio.StartAudioTransfer(PEER, SPEAKER, business, connId), ": this form sends nothing") ==
                   Tarnby::ERR_TRBY_NOT_SUPPORTED,
               "the four-argument start is not supported");
    return out.TakeScenarioResult();
}

bool SetDeathRecipient(DemoContext &context)
{
    bool registered = Surface().SetDeathRecipient();
    context.transcript.Note(std::string("SetDeathRecipient() -> ") + (registered ? "true" : "false"));
    return context.transcript.Expect(registered, "the death recipient is in place");
}

int32_t InitSurface(DemoContext &context, int32_t clientConnId)
{
    auto device = std::make_shared<Tarnby::RemoteDevice>();
    device->firstText = "Living room TV";
    device->secondText = PEER;
    device->dataLen = sizeof(DEVICE_DATA);
    device->data = DEVICE_DATA;
    context.transcript.Begin("InitSurfaceTransfer(" + Id(clientConnId) + ", device=\"Living room TV\", callback)");
    int32_t answer = Surface().InitSurfaceTransfer(clientConnId, device, context.surfaceCallback);
    // A non-zero answer is both the result and the service's id of the new transfer.
    const char *name = Tarnby::TarnbyStatusName(answer);
    context.transcript.EndWith(" -> " + (name != nullptr || answer == 0
                                             ? Transcript::Status(answer)
                                             : std::to_string(answer) + " (the service's connection id)"));
    context.transcript.Expect(context.emulator.SurfaceState(answer) == TransferState::INITIALISED,
                              "the answer is the id of a new transfer");
    return answer;
}

int32_t StartSurface(DemoContext &context, int32_t connId)
{
    size_t before = context.surfaceCallback->Log().Count();
    context.transcript.Begin("StartSurfaceTransfer(" + Id(connId) + ", \"screen-0\", \"h264\")");
    int32_t status = context.transcript.End(Surface().StartSurfaceTransfer(connId, "screen-0", "h264"));
    context.transcript.Expect(status == TRBY_OK && LatestEventIs(context, before + 1, 0, EVENT_STARTED),
                              "the transfer starts and the callback hears it");
    return status;
}

int32_t StopSurface(DemoContext &context, int32_t connId, int32_t expected)
{
    size_t before = context.surfaceCallback->Log().Count();
    context.transcript.Begin("StopSurfaceTransfer(" + Id(connId) + ")");
    int32_t status = context.transcript.End(Surface().StopSurfaceTransfer(connId));
    bool heard = expected != TRBY_OK || LatestEventIs(context, before + 1, 0, EVENT_STOPPED);
    context.transcript.Expect(status == expected && heard, "stop answers " + Transcript::Status(expected));
    return status;
}

int32_t DeInitSurface(DemoContext &context, int32_t connId, int32_t expected)
{
    context.transcript.Begin("DeInitSurfaceTransfer(" + Id(connId) + ")");
    int32_t status = context.transcript.End(Surface().DeInitSurfaceTransfer(connId));
    context.transcript.Expect(status == expected, "release answers " + Transcript::Status(expected));
    return status;
}

bool RunSurface(DemoContext &context)
{
    Transcript &out = context.transcript;
    SetDeathRecipient(context);
    int32_t connId = InitSurface(context, 1);

    auto param = std::make_shared<Tarnby::ScreenParam>();
    param->firstValue = 1920;
    param->secondValue = 1080;
    param->thirdValue = 60;
    out.Begin("SetScreenParam(" + Id(connId) + ", type=" + std::to_string(SCREEN_RESOLUTION) +
              ", {1920, 1080, 60, 0, 0})");
    out.Expect(out.End(Surface().SetScreenParam(connId, static_cast<Tarnby::CastSetScreenParamType>(SCREEN_RESOLUTION),
                                                param)) == TRBY_OK,
               "screen parameters are taken before the start");
    StartSurface(context, connId);

    size_t before = context.surfaceCallback->Log().Count();
    out.Expect(CastOperation(context, connId) == TRBY_OK &&
                   LatestEventIs(context, before + 1, CAST_PAUSE, EVENT_WITH_CODE),
               "the cast operation is applied and reported with its code");

    std::string display = "landscape";
    out.Begin("SetVirtualDisplayParam(" + Id(connId) + ", value=1, \"landscape\")");
    out.Expect(out.End(Surface().SetVirtualDisplayParam(connId, 1, display)) == TRBY_OK,
               "the virtual display parameter is taken");

    DeInitSurface(context, connId, EMU_ERR_WRONG_STATE); // a running transfer is stopped first
    StopSurface(context, connId, TRBY_OK);
    DeInitSurface(context, connId, TRBY_OK);
    out.Expect(CastOperation(context, connId) == EMU_ERR_UNKNOWN_CONNECTION, "a released transfer is unknown");
    return out.TakeScenarioResult();
}
} // namespace OHOS::TarnbyDemo
