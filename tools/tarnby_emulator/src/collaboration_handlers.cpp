// SPDX-License-Identifier: Apache-2.0
// Collaboration sessions (service type 103): registrations of collaboration callbacks by target, sessions with fresh
// ids answered through the inner callback, data and events delivered to the callback registered for a session's
// target. The emulated peer loops the client's data back, so one process can see both directions.
#include "emulator_core.h"
#include "emulator_log.h"
#include "protocol.h"

namespace OHOS::TarnbyEmulator {
namespace {
// The fields of a session message as the callback reads them: type, session id, length, the bytes.
std::vector<RequestField> SessionMessageFields(int32_t type, int32_t sessionId, const std::vector<uint8_t> &bytes)
{
    return {
        {"type", type}, {"sessionId", sessionId}, {"dataLen", static_cast<uint32_t>(bytes.size())}, {"data", bytes}};
}

enum LocalTargetType : int32_t {
    LOCAL_SYSTEM_ABILITY = 0,
    LOCAL_ABILITY = 1,
};
const std::string STOPPED_EVENT = "stopped";

std::string SessionName(int32_t sessionId)
{
    return "session " + std::to_string(sessionId);
}

// The local end of a start request: a system ability by id, or an ability by bundle and ability name.
bool ReadLocalEnd(RequestReader &reader, std::string &local)
{
    int32_t localType = -1;
    if (!reader.Int32(localType, "LocalTargetType")) {
        return false;
    }
    if (localType == LOCAL_SYSTEM_ABILITY) {
        int32_t localId = 0;
        if (!reader.Int32(localId, "localId")) {
            return false;
        }
        local = "system-ability " + std::to_string(localId);
        return true;
    }
    std::string bundleName;
    std::string abilityName;
    if (!reader.Check(localType == LOCAL_ABILITY, "LocalTargetType out of range") ||
        !reader.String(bundleName, "bundleName") || !reader.String(abilityName, "abilityName")) {
        return false;
    }
    local = "ability " + bundleName + "/" + abilityName;
    return true;
}
} // namespace

EmulatorCore::Reply EmulatorCore::HandleStartCollaboration(RequestReader &reader)
{
    std::string local;
    TargetRecord target;
    sptr<IRemoteObject> innerCallback;
    std::string extraData;
    if (!ReadLocalEnd(reader, local) || !reader.Target(target, "target") ||
        !reader.RemoteObject(innerCallback, "callback")) {
        return Malformed();
    }
    // The extra data travels only when the client has some.
    if (reader.HasMore() && !reader.String(extraData, "extraData")) {
        return Malformed();
    }
    OpenSession(local, target, extraData, innerCallback);
    return {EMU_OK};
}

EmulatorCore::Reply EmulatorCore::HandleStartBetweenTargets(RequestReader &reader)
{
    TargetRecord source;
    TargetRecord target;
    sptr<IRemoteObject> innerCallback;
    uint32_t dataLen = 0;
    std::vector<uint8_t> data;
    if (!reader.Target(source, "srcTarget") || !reader.Target(target, "dstTarget") ||
        !reader.RemoteObject(innerCallback, "callback") || !reader.Uint32(dataLen, "dataLen") ||
        !reader.Check(dataLen <= MAX_DATA_LEN, "dataLen out of range")) {
        return Malformed();
    }
    // A client may send the length without the bytes.
    if (dataLen != 0 && reader.HasMore() && !reader.Bytes(dataLen, data, "data")) {
        return Malformed();
    }
    OpenSession(source.Describe(), target, std::string(data.begin(), data.end()), innerCallback);
    return {EMU_OK};
}

void EmulatorCore::OpenSession(const std::string &local, const TargetRecord &target, const std::string &extraData,
                               const sptr<IRemoteObject> &innerCallback)
{
    if (!target.IsKnownType()) {
        Record("session.start", 0, EMU_ERR_BAD_TARGET, "target type " + std::to_string(target.targetType) + " refused");
        AnswerLater(innerCallback, EMU_ERR_BAD_TARGET, 0);
        return;
    }
    int32_t sessionId = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        sessionId = NewIdLocked();
        state_.sessions[sessionId] = Session{local, target, extraData};
    }
    Record("session.start", sessionId, EMU_OK,
           SessionName(sessionId) + " opened from " + local + " to " + target.Describe(), extraData);
    AnswerLater(innerCallback, EMU_OK, sessionId);
}

void EmulatorCore::AnswerLater(const sptr<IRemoteObject> &innerCallback, int32_t result, int32_t sessionId)
{
    uint64_t generation = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        generation = generation_;
    }
    // The client waits on its inner callback after the reply, so the answer goes out from the emulator's thread.
    worker_.Post([this, innerCallback, result, sessionId, generation] {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (generation != generation_) {
                return; // the service died or stopped before it could answer
            }
        }
        CallbackResult sent =
            TracedCall("StartAnswer", SESSION_CALLBACK, {{"result", result}, {"sessionId", sessionId}},
                       [&] { return CallStartAnswer(innerCallback, result, sessionId); });
        Record("session.answered", sessionId, sent.sendStatus,
               "answered " + std::to_string(result) + " for " + SessionName(sessionId) + " through the inner callback");
    });
}

EmulatorCore::Reply EmulatorCore::HandleStopCollaboration(RequestReader &reader)
{
    int32_t sessionId = 0;
    if (!reader.Int32(sessionId, "collaborationSessionId")) {
        return Malformed();
    }
    int32_t result = EMU_OK;
    sptr<IRemoteObject> callback = SessionCallback(sessionId, result);
    if (result == EMU_ERR_UNKNOWN_SESSION) {
        Record("session.stop", sessionId, result, SessionName(sessionId) + " unknown");
        return {result};
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        state_.sessions.erase(sessionId);
    }
    Record("session.stop", sessionId, EMU_OK, SessionName(sessionId) + " stopped");
    if (callback != nullptr) {
        std::vector<uint8_t> event(STOPPED_EVENT.begin(), STOPPED_EVENT.end());
        CallbackResult sent = TracedCall(
            "SessionMessage", SESSION_CALLBACK, SessionMessageFields(SESSION_MESSAGE_EVENT, sessionId, event),
            [&] { return CallSessionMessage(callback, SESSION_MESSAGE_EVENT, sessionId, event.data(), event.size()); });
        Record("session.event", sessionId, sent.sendStatus,
               SessionName(sessionId) + ": event \"" + STOPPED_EVENT + "\" sent to the registered callback",
               STOPPED_EVENT);
    }
    return {EMU_OK};
}

EmulatorCore::Reply EmulatorCore::HandleSendData(RequestReader &reader)
{
    int32_t sessionId = 0;
    uint32_t dataLen = 0;
    std::vector<uint8_t> data;
    if (!reader.Int32(sessionId, "collaborationSessionId") || !reader.Uint32(dataLen, "dataLen") ||
        !reader.Check(dataLen != 0 && dataLen <= MAX_DATA_LEN, "dataLen out of range") ||
        !reader.Bytes(dataLen, data, "data")) {
        return Malformed();
    }
    return {Deliver(sessionId, SESSION_MESSAGE_DATA, data, "from the client")};
}

sptr<IRemoteObject> EmulatorCore::SessionCallback(int32_t sessionId, int32_t &result) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto session = state_.sessions.find(sessionId);
    if (session == state_.sessions.end()) {
        result = EMU_ERR_UNKNOWN_SESSION;
        return nullptr;
    }
    auto registration = state_.registrations.find(session->second.target.Key());
    if (registration == state_.registrations.end()) {
        result = EMU_ERR_NOT_REGISTERED;
        return nullptr;
    }
    result = EMU_OK;
    return registration->second.callback;
}

int32_t EmulatorCore::Deliver(int32_t sessionId, SessionMessageType type, const std::vector<uint8_t> &bytes,
                              const char *origin)
{
    const char *kind = type == SESSION_MESSAGE_DATA ? "session.data" : "session.event";
    std::string payload(bytes.begin(), bytes.end());
    std::string what = SessionName(sessionId) + ": " + std::to_string(bytes.size()) + " bytes " + origin;
    int32_t result = EMU_OK;
    // Called outside the state lock: the client's hook may call the emulator back.
    sptr<IRemoteObject> callback = SessionCallback(sessionId, result);
    if (callback == nullptr) {
        Record(kind, sessionId, result, what + " not delivered: " + ResultText(result), payload);
        return result;
    }
    CallbackResult sent =
        TracedCall("SessionMessage", SESSION_CALLBACK, SessionMessageFields(type, sessionId, bytes),
                   [&] { return CallSessionMessage(callback, type, sessionId, bytes.data(), bytes.size()); });
    result = sent.Delivered() ? EMU_OK : EMU_ERR_CALLBACK_FAILED;
    Record(kind, sessionId, result,
           what + (sent.Delivered() ? " delivered to the registered callback"
                                    : " could not reach the registered callback"),
           payload);
    return result;
}

EmulatorCore::Reply EmulatorCore::HandleRegister(RequestReader &reader)
{
    TargetRecord target;
    sptr<IRemoteObject> callback;
    if (!reader.Target(target, "target") || !reader.RemoteObject(callback, "callback")) {
        return Malformed();
    }
    if (!target.IsKnownType()) {
        Record("callback.registered", 0, EMU_ERR_BAD_TARGET,
               "target type " + std::to_string(target.targetType) + " refused");
        return {EMU_ERR_BAD_TARGET};
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        state_.registrations[target.Key()] = Registration{target, callback};
    }
    Record("callback.registered", 0, EMU_OK, "collaboration callback registered for " + target.Describe());
    return {EMU_OK};
}

EmulatorCore::Reply EmulatorCore::HandleUnregister(RequestReader &reader)
{
    TargetRecord target;
    if (!reader.Target(target, "target")) {
        return Malformed();
    }
    sptr<IRemoteObject> released; // dropped after the lock
    int32_t result = EMU_OK;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = state_.registrations.find(target.Key());
        if (found == state_.registrations.end()) {
            result = EMU_ERR_NOT_REGISTERED;
        } else {
            released = found->second.callback;
            state_.registrations.erase(found);
        }
    }
    Record("callback.unregistered", 0, result,
           "collaboration callback for " + target.Describe() +
               (result == EMU_OK ? " unregistered" : " was not registered"));
    return {result};
}

int32_t EmulatorCore::PeerSendData(int32_t sessionId, const std::vector<uint8_t> &data)
{
    if (data.size() > MAX_DATA_LEN) {
        return EMU_ERR_MALFORMED;
    }
    return Deliver(sessionId, SESSION_MESSAGE_DATA, data, "from the peer");
}

int32_t EmulatorCore::PeerSendEvent(int32_t sessionId, const std::string &event)
{
    if (event.size() > MAX_DATA_LEN) {
        return EMU_ERR_MALFORMED;
    }
    return Deliver(sessionId, SESSION_MESSAGE_EVENT, std::vector<uint8_t>(event.begin(), event.end()),
                   "of a peer event");
}
} // namespace OHOS::TarnbyEmulator
