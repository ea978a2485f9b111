// SPDX-License-Identifier: Apache-2.0
// Audio (service type 104) and surface (service type 105) transfers: connections with fresh ids and a small state
// machine each (initialised, started, stopped; released by de-initialisation, never while started). Surface state
// changes and cast operations are told to the callback given at initialisation (request code 601).
#include <algorithm>

#include "emulator_core.h"
#include "emulator_log.h"
#include "protocol.h"

namespace OHOS::TarnbyEmulator {
namespace {
std::string ConnectionName(const char *kind, int32_t connId)
{
    return std::string(kind) + " connection " + std::to_string(connId);
}

std::string SurfaceExtra(int32_t connId, const std::string &what)
{
    return "{\"connId\":" + std::to_string(connId) + "," + what + "}";
}

// The status of moving a transfer in `current` to `to` when only `from` allow it.
int32_t Transition(TransferState &current, std::initializer_list<TransferState> from, TransferState to)
{
    if (std::find(from.begin(), from.end(), current) == from.end()) {
        return EMU_ERR_WRONG_STATE;
    }
    current = to;
    return EMU_OK;
}

constexpr std::initializer_list<TransferState> STARTABLE = {TransferState::INITIALISED, TransferState::STOPPED};
constexpr std::initializer_list<TransferState> STARTED = {TransferState::STARTED};

template <typename Connections>
int32_t MoveIn(Connections &connections, int32_t connId, std::initializer_list<TransferState> from, TransferState to)
{
    auto found = connections.find(connId);
    return found == connections.end() ? EMU_ERR_UNKNOWN_CONNECTION : Transition(found->second.state, from, to);
}

// Releases a connection unless it is running; the released entry goes to `released`.
template <typename Connections>
int32_t ReleaseIn(Connections &connections, int32_t connId, typename Connections::mapped_type &released)
{
    auto found = connections.find(connId);
    if (found == connections.end()) {
        return EMU_ERR_UNKNOWN_CONNECTION;
    }
    if (found->second.state == TransferState::STARTED) {
        return EMU_ERR_WRONG_STATE;
    }
    released = std::move(found->second);
    connections.erase(found);
    return EMU_OK;
}
} // namespace

EmulatorCore::Reply EmulatorCore::HandleAudioInit(RequestReader &reader)
{
    AudioConnection connection;
    if (!reader.String(connection.peerNetworkId, "peerNetworkId") || !reader.String(connection.devName, "devName") ||
        !reader.Int32(connection.businessType, "businessType") ||
        !reader.Check(!connection.peerNetworkId.empty() && !connection.devName.empty(), "empty peer or device")) {
        return {EMU_ERR_MALFORMED, 0};
    }
    int32_t connId = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        connId = NewIdLocked();
        state_.audio[connId] = connection;
    }
    Record("audio.init", connId, EMU_OK,
           ConnectionName("audio", connId) + " to " + connection.devName + " (" + connection.peerNetworkId +
               "), business type " + std::to_string(connection.businessType));
    return {EMU_OK, connId};
}

EmulatorCore::Reply EmulatorCore::HandleAudioStart(RequestReader &reader)
{
    return MoveAudio(reader, "audio.start", STARTABLE, TransferState::STARTED);
}

EmulatorCore::Reply EmulatorCore::HandleAudioStop(RequestReader &reader)
{
    return MoveAudio(reader, "audio.stop", STARTED, TransferState::STOPPED);
}

EmulatorCore::Reply EmulatorCore::MoveAudio(RequestReader &reader, const char *kind,
                                            std::initializer_list<TransferState> from, TransferState to)
{
    int32_t connId = 0;
    if (!reader.Int32(connId, "connId")) {
        return Malformed();
    }
    int32_t result = EMU_OK;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        result = MoveIn(state_.audio, connId, from, to);
    }
    Record(kind, connId, result,
           ConnectionName("audio", connId) + " to " + TransferStateName(to) + ": " + ResultText(result));
    return {result};
}

EmulatorCore::Reply EmulatorCore::HandleAudioDeInit(RequestReader &reader)
{
    int32_t connId = 0;
    int32_t businessType = 0;
    if (!reader.Int32(connId, "connId") || !reader.Int32(businessType, "businessType")) {
        return Malformed();
    }
    return Release(state_.audio, "audio.deinit", "audio", connId);
}

template <typename Connection>
EmulatorCore::Reply EmulatorCore::Release(std::map<int32_t, Connection> &connections, const char *kind,
                                          const char *name, int32_t connId)
{
    Connection released; // may hold a proxy to a client object: dropped after the lock
    int32_t result = EMU_OK;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        result = ReleaseIn(connections, connId, released);
    }
    Record(kind, connId, result, ConnectionName(name, connId) + " release: " + ResultText(result));
    return {result};
}

EmulatorCore::Reply EmulatorCore::HandleSurfaceInit(RequestReader &reader)
{
    SurfaceConnection connection;
    if (!reader.Int32(connection.clientConnId, "connId") || !reader.RemoteDevice(connection.device, "remoteDevice") ||
        !reader.RemoteObject(connection.callback, "callback")) {
        return Malformed();
    }
    int32_t connId = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        connId = NewIdLocked();
        state_.surfaces[connId] = connection;
    }
    Record("surface.init", connId, EMU_OK,
           ConnectionName("surface", connId) + " for client connection " + std::to_string(connection.clientConnId) +
               " to " + connection.device.firstText + " (" + std::to_string(connection.device.data.size()) +
               " bytes of device data)");
    // The reply is the new connection id: it is both the result and the id the client's death notice will carry.
    return {connId};
}

int32_t EmulatorCore::MoveSurface(int32_t connId, std::initializer_list<TransferState> from, TransferState to)
{
    std::lock_guard<std::mutex> lock(mutex_);
    return MoveIn(state_.surfaces, connId, from, to);
}

int32_t EmulatorCore::KnownSurface(int32_t connId) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return state_.surfaces.count(connId) != 0 ? EMU_OK : EMU_ERR_UNKNOWN_CONNECTION;
}

EmulatorCore::Reply EmulatorCore::HandleSurfaceDeInit(RequestReader &reader)
{
    int32_t connId = 0;
    if (!reader.Int32(connId, "connId")) {
        return Malformed();
    }
    return Release(state_.surfaces, "surface.deinit", "surface", connId);
}

EmulatorCore::Reply EmulatorCore::HandleSurfaceStart(RequestReader &reader)
{
    std::string first;
    std::string second;
    int32_t connId = 0;
    // The connection id comes last in this request.
    if (!reader.String(first, "first") || !reader.String(second, "second") || !reader.Int32(connId, "connId")) {
        return Malformed();
    }
    int32_t result = MoveSurface(connId, STARTABLE, TransferState::STARTED);
    Record("surface.start", connId, result,
           ConnectionName("surface", connId) + " start (" + first + ", " + second + "): " + ResultText(result));
    if (result == EMU_OK) {
        SendSurfaceEvent(connId, SURFACE_EVENT_STARTED, 0, SurfaceExtra(connId, "\"state\":\"started\""));
    }
    return {result};
}

EmulatorCore::Reply EmulatorCore::HandleSurfaceStop(RequestReader &reader)
{
    int32_t connId = 0;
    if (!reader.Int32(connId, "connId")) {
        return Malformed();
    }
    int32_t result = MoveSurface(connId, STARTED, TransferState::STOPPED);
    Record("surface.stop", connId, result, ConnectionName("surface", connId) + " stop: " + ResultText(result));
    if (result == EMU_OK) {
        SendSurfaceEvent(connId, SURFACE_EVENT_STOPPED, 0, SurfaceExtra(connId, "\"state\":\"stopped\""));
    }
    return {result};
}

EmulatorCore::Reply EmulatorCore::HandleCastOperation(RequestReader &reader)
{
    int32_t connId = 0;
    int32_t type = 0;
    if (!reader.Int32(connId, "connId") || !reader.Int32(type, "type")) {
        return Malformed();
    }
    // Steering needs a running cast.
    int32_t result = MoveSurface(connId, STARTED, TransferState::STARTED);
    Record("surface.cast", connId, result,
           ConnectionName("surface", connId) + " cast operation " + std::to_string(type) + ": " + ResultText(result));
    if (result == EMU_OK) {
        SendSurfaceEvent(connId, SURFACE_EVENT_WITH_CODE, static_cast<uint32_t>(type),
                         SurfaceExtra(connId, "\"operation\":" + std::to_string(type)));
    }
    return {result};
}

EmulatorCore::Reply EmulatorCore::HandleScreenParam(RequestReader &reader)
{
    int32_t connId = 0;
    int32_t type = 0;
    uint32_t values[5] = {};
    if (!reader.Int32(connId, "connId") || !reader.Int32(type, "type") || !reader.Uint32(values[0], "firstValue") ||
        !reader.Uint32(values[1], "secondValue") || !reader.Uint32(values[2], "thirdValue") ||
        !reader.Uint32(values[3], "fourthValue") || !reader.Uint32(values[4], "fifthValue")) {
        return Malformed();
    }
    int32_t result = KnownSurface(connId);
    std::string shown;
    for (uint32_t value : values) {
        shown += (shown.empty() ? "" : ",") + std::to_string(value);
    }
    Record("surface.screen", connId, result,
           ConnectionName("surface", connId) + " screen parameter " + std::to_string(type) + " = [" + shown +
               "]: " + ResultText(result));
    return {result};
}

EmulatorCore::Reply EmulatorCore::HandleVirtualDisplayParam(RequestReader &reader)
{
    int32_t connId = 0;
    uint32_t value = 0;
    std::string text;
    if (!reader.Int32(connId, "connId") || !reader.Uint32(value, "value") || !reader.String(text, "text")) {
        return Malformed();
    }
    int32_t result = KnownSurface(connId);
    Record("surface.display", connId, result,
           ConnectionName("surface", connId) + " virtual display " + std::to_string(value) + " \"" + text +
               "\": " + ResultText(result));
    return {result};
}

int32_t EmulatorCore::SendSurfaceEvent(int32_t connId, uint32_t eventType, uint32_t code, const std::string &extra)
{
    sptr<IRemoteObject> callback;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = state_.surfaces.find(connId);
        if (found != state_.surfaces.end()) {
            callback = found->second.callback;
        }
    }
    if (callback == nullptr) {
        Record("surface.event", connId, EMU_ERR_UNKNOWN_CONNECTION, ConnectionName("surface", connId) + " unknown");
        return EMU_ERR_UNKNOWN_CONNECTION;
    }
    // Outside the state lock: the client's hook may call the emulator back.
    CallbackResult sent =
        TracedCall("SurfaceEvent", SURFACE_CALLBACK, {{"eventType", eventType}, {"code", code}, {"extra", extra}},
                   [&] { return CallSurfaceEvent(callback, eventType, code, extra); });
    int32_t result = !sent.Delivered() ? EMU_ERR_CALLBACK_FAILED : sent.answer;
    Record("surface.event", connId, result,
           ConnectionName("surface", connId) + ": event " + std::to_string(eventType) + " code " +
               std::to_string(code) + " answered " + std::to_string(result),
           extra);
    return result;
}
} // namespace OHOS::TarnbyEmulator
