// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EMULATOR_H
#define TARNBY_EMULATOR_H

// An in-process stand-in for the Tarnby system service, for tests and demos on a host without a device.
//
// The emulator registers itself under the service's system ability id (70633) with the host system ability manager
// and answers the client library's requests the way a plausible service would: it keeps collaboration sessions and
// registrations, audio and surface transfer connections with their states, calls the client's callback objects back
// and can die and come back. It decodes every request field by field with its own reader and never uses the client
// library, so it is an independent implementation of the service's side of the protocol.
//
// Typical use in a test:
//     OHOS::TarnbyEmulator::Emulator emulator;
//     ASSERT_TRUE(emulator.Start());
//     ... use the client library as on a device ...
//     EXPECT_TRUE(emulator.WaitForEvent("session.data", std::chrono::seconds(1)));
//
// A test that needs the service to answer oddly (not at all, late, with a given code) sets a request hook; one that
// looks at single requests and callbacks uses the decoder and the callback writers of tarnby_wire.h.
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "iremote_object.h"
#include "tarnby_wire.h"

namespace OHOS::TarnbyEmulator {
inline constexpr int32_t TARNBY_SERVICE_ID = 70633;

// Results of the emulated service's own making. The client library hands them to its caller unchanged, except a
// wrong interface token, which the emulator refuses at the IPC level (no reply data), as every service stub does.
enum EmulatorResult : int32_t {
    EMU_OK = 0,
    EMU_ERR_WRONG_TOKEN = 290001,        // not a Tarnby service request
    EMU_ERR_MALFORMED = 290002,          // a field missing, truncated or out of range
    EMU_ERR_UNKNOWN_OPERATION = 290003,  // request code and service code name no operation of the service
    EMU_ERR_UNKNOWN_SESSION = 290004,    // no collaboration session has this id
    EMU_ERR_UNKNOWN_CONNECTION = 290005, // no audio or surface transfer has this connection id
    EMU_ERR_WRONG_STATE = 290006,        // the transfer is not in a state that allows the operation
    EMU_ERR_NOT_REGISTERED = 290007,     // no collaboration callback is registered for the target
    EMU_ERR_BAD_TARGET = 290008,         // the target names no kind of ability the service knows
    EMU_ERR_STOPPED = 290009,            // the emulator was stopped; its old service object refuses everything
    EMU_ERR_CALLBACK_FAILED = 290010,    // the client's callback object could not be called
};

// "EMU_ERR_UNKNOWN_SESSION" for an EmulatorResult, nullptr for any other value.
const char *EmulatorResultName(int32_t result);

// Life of an audio or surface transfer connection, as the emulator tracks it.
enum class TransferState {
    NONE,        // no such connection (never initialised, released, or lost with a service death)
    INITIALISED, // initialised, not started yet
    STARTED,
    STOPPED, // stopped; may be started again or released
};

const char *TransferStateName(TransferState state);

// One thing the emulator did, in the order it did them. `kind` is a dotted name such as "session.start",
// "session.data", "audio.start", "surface.event", "request.rejected", "service.killed"; `id` is the session or
// connection id concerned (0 when none) and `result` the status the emulator answered or got back.
struct EmulatorEvent {
    uint64_t sequence = 0;
    std::string kind;
    int32_t id = 0;
    int32_t result = 0;
    std::string text;    // a readable description, e.g. "session 3: 5 bytes from the client delivered"
    std::string payload; // the bytes of a data or event message, as they travelled
};

// What the service object does with a request instead of its usual handling: `status` goes back to the IPC layer
// (a non-zero status carries no reply data on a device), `values` are written into the reply as int32s.
struct ScriptedReply {
    int status = 0;
    std::vector<int32_t> values;
};
// Sees every request with a right token, decoded, on the IPC thread that carries it, before the emulator acts.
// Returns a reply to answer in the emulator's place (the emulator then does nothing else: a start is not answered
// through its inner callback unless the hook does it, now or later, with WriteStartAnswer and SendCallback), or
// nullopt to let the emulator handle the request as usual.
using RequestHook = std::function<std::optional<ScriptedReply>(const DecodedRequest &request)>;

// One exchange across the service's boundary, as a trace shows it: a request the service received, or a call it
// made to a client's callback object, with its decoded fields, its answer and how long it took.
struct Transaction {
    uint64_t sequence = 0;
    bool callback = false; // false: a request to the service; true: a call of a client's callback object
    uint32_t code = 0;     // the request code
    std::string operation; // "StartCollaboration", "SessionMessage", ...; empty when the request named none
    std::string envelope;  // a request's five service-code fields, "103/7/0/0/0"
    std::vector<RequestField> fields;
    std::string problem; // why the request's body could not be read, when it could not
    int32_t status = 0;  // the first int32 of the reply, or the IPC status when the reply holds none
    double durationMs = 0;
    int64_t startedAtMs = 0; // wall clock, milliseconds since the epoch
    int32_t callingPid = 0;  // the client's process (requests)
};
// Sees every transaction once it is over, on the thread that carried it.
using TransactionSink = std::function<void(const Transaction &transaction)>;
// Sees every event as it is logged, on the thread that logged it, outside the emulator's locks.
using EventSink = std::function<void(const EmulatorEvent &event)>;

// What the service holds at one moment.
struct EmulatorSnapshot {
    struct Session {
        int32_t id = 0;
        std::string local;
        std::string target;
        std::string extraData;
    };
    struct Transfer {
        int32_t id = 0;
        std::string kind;   // "audio" or "surface"
        std::string remote; // the peer and device, as the client named them
        TransferState state = TransferState::NONE;
    };
    bool running = false;
    std::vector<Session> sessions;
    std::vector<std::string> registrations; // the targets that have a collaboration callback
    std::vector<Transfer> transfers;
};

class EmulatorCore;

// Owns the service object and all of the emulated service's state. Every member may be called from any thread,
// also from inside a client callback that the emulator is calling. Threads the emulator starts are joined by Stop()
// and by the destructor.
class Emulator {
public:
    Emulator();
    ~Emulator();
    Emulator(const Emulator &) = delete;
    Emulator &operator=(const Emulator &) = delete;

    // Registers a fresh service object under 70633. False when the system ability manager is not available or
    // refuses it. Starting a running emulator does nothing and returns true.
    bool Start();
    // Unregisters the service, forgets all state and joins the emulator's threads. Requests still arriving on the
    // old service object are refused with EMU_ERR_STOPPED.
    void Stop();
    // Dies as if the service's process had exited: the service object is killed (every proxy to it fails and the
    // death recipients registered on them are told), the registration is removed and all state is lost.
    void Kill();
    // Comes back after Kill() (or Stop()): a new service object registered under 70633, with empty state.
    bool Restart();
    bool IsRunning() const;
    // The current service object (null when not running), e.g. for tests that send hand-made requests.
    sptr<IRemoteObject> ServiceObject() const;

    // The remote end of a session speaks: a data message (type 104) or an event message (type 105) goes to the
    // collaboration callback registered for the session's target. Returns EMU_OK, EMU_ERR_UNKNOWN_SESSION,
    // EMU_ERR_NOT_REGISTERED or EMU_ERR_CALLBACK_FAILED.
    int32_t PeerSendData(int32_t sessionId, const std::vector<uint8_t> &data);
    int32_t PeerSendEvent(int32_t sessionId, const std::string &event);
    // Sends a surface-transfer event (request code 601) to the callback given when the connection was initialised:
    // subServiceType 40001 or 40002 carry `extra` only, 10001 carries `code` and `extra`. Returns the callback's
    // result, EMU_ERR_UNKNOWN_CONNECTION or EMU_ERR_CALLBACK_FAILED.
    int32_t SendSurfaceEvent(int32_t connId, uint32_t subServiceType, uint32_t code, const std::string &extra);

    std::vector<int32_t> Sessions() const;
    EmulatorSnapshot Snapshot() const;
    TransferState AudioState(int32_t connId) const;
    TransferState SurfaceState(int32_t connId) const;

    // The latest events (at most 10,000), oldest first.
    std::vector<EmulatorEvent> Events() const;
    // Events of one kind, in order.
    std::vector<EmulatorEvent> EventsOfKind(const std::string &kind) const;
    // Waits until an event of `kind` has been logged (also one logged before the call); the first one goes to
    // `found`. False on time-out.
    bool WaitForEvent(const std::string &kind, std::chrono::milliseconds timeout, EmulatorEvent *found = nullptr) const;
    // Waits until `count` events of `kind` have been logged in all.
    bool WaitForEvents(const std::string &kind, size_t count, std::chrono::milliseconds timeout) const;

    // Replaces the request hook; an empty one restores the usual handling.
    void SetRequestHook(RequestHook hook);
    // Replaces the transaction sink; an empty one traces nothing.
    void SetTransactionSink(TransactionSink sink);
    // Replaces the event sink; an empty one removes it.
    void SetEventSink(EventSink sink);
    // The latest requests the service object received (at most 64), oldest first, as DecodeRequest read them.
    std::vector<DecodedRequest> Requests() const;
    // Waits until `count` requests have arrived since the emulator was made.
    bool WaitForRequests(size_t count, std::chrono::milliseconds timeout) const;

private:
    std::unique_ptr<EmulatorCore> core_;
};
} // namespace OHOS::TarnbyEmulator

#endif // TARNBY_EMULATOR_H
