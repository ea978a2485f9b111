// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EMULATOR_CORE_H
#define TARNBY_EMULATOR_CORE_H

// The emulated service: its state, its request handlers and its life (start, stop, death, return).
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "bounded_log.h"
#include "callback_sender.h"
#include "request_reader.h"
#include "service_stub.h"
#include "tarnby_emulator.h"
#include "task_thread.h"

namespace OHOS::TarnbyEmulator {
// "EMU_ERR_WRONG_STATE" for a result of the emulator's, the number for any other value.
std::string ResultText(int32_t result);

class EmulatorCore : public RequestSink {
public:
    EmulatorCore();
    ~EmulatorCore() override;

    bool Start();
    void Stop();
    void Kill();
    bool Restart();
    bool IsRunning() const;
    sptr<IRemoteObject> ServiceObject() const;

    int HandleRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override;

    int32_t PeerSendData(int32_t sessionId, const std::vector<uint8_t> &data);
    int32_t PeerSendEvent(int32_t sessionId, const std::string &event);
    int32_t SendSurfaceEvent(int32_t connId, uint32_t eventType, uint32_t code, const std::string &extra);

    std::vector<int32_t> Sessions() const;
    TransferState AudioState(int32_t connId) const;
    TransferState SurfaceState(int32_t connId) const;

    std::vector<EmulatorEvent> Events() const;
    std::vector<EmulatorEvent> EventsOfKind(const std::string &kind) const;
    bool WaitForEvents(const std::string &kind, size_t count, std::chrono::milliseconds timeout,
                       EmulatorEvent *first) const;

    void SetRequestHook(RequestHook hook);
    void SetTransactionSink(TransactionSink sink);
    void SetEventSink(EventSink sink);
    EmulatorSnapshot Snapshot() const;
    std::vector<DecodedRequest> Requests() const;
    bool WaitForRequests(size_t count, std::chrono::milliseconds timeout) const;

private:
    // The int32 values of a reply, in order; the first is the status.
    using Reply = std::vector<int32_t>;
    using Handler = Reply (EmulatorCore::*)(RequestReader &reader);
    struct Operation {
        uint32_t serviceType;
        uint32_t subServiceType;
        Handler handler;
    };

    struct Registration {
        TargetRecord target;
        sptr<IRemoteObject> callback;
    };
    struct Session {
        std::string local;
        TargetRecord target;
        std::string extraData;
    };
    struct AudioConnection {
        std::string peerNetworkId;
        std::string devName;
        int32_t businessType = 0;
        TransferState state = TransferState::INITIALISED;
    };
    struct SurfaceConnection {
        int32_t clientConnId = 0;
        RemoteDeviceRecord device;
        sptr<IRemoteObject> callback;
        TransferState state = TransferState::INITIALISED;
    };
    // Everything the service knows; lost when it dies.
    struct ServiceState {
        std::map<std::string, Registration> registrations; // by TargetRecord::Key()
        std::map<int32_t, Session> sessions;
        std::map<int32_t, AudioConnection> audio;
        std::map<int32_t, SurfaceConnection> surfaces;
    };

    static const Operation *FindOperation(uint32_t serviceType, uint32_t subServiceType);
    static const Operation OPERATIONS[];

    // The status of a decoded request, with the reply written: refused, scripted by the hook, or answered.
    int Serve(const DecodedRequest &request, MessageParcel &reply);
    // A call of a client's callback object, traced as `operation` with `fields`.
    CallbackResult TracedCall(const std::string &operation, uint32_t code, std::vector<RequestField> fields,
                              const std::function<CallbackResult()> &call);
    void Trace(Transaction transaction);
    // The usual answer to a request whose token is right.
    Reply Answer(const DecodedRequest &request);
    void Remember(const DecodedRequest &request);
    int Refuse(int32_t result, const std::string &why);
    Reply Malformed() const;

    // Collaboration (service type 103).
    Reply HandleStartCollaboration(RequestReader &reader);
    Reply HandleStartBetweenTargets(RequestReader &reader);
    Reply HandleStopCollaboration(RequestReader &reader);
    Reply HandleSendData(RequestReader &reader);
    Reply HandleRegister(RequestReader &reader);
    Reply HandleUnregister(RequestReader &reader);
    // Opens a session to `target` and answers through `innerCallback` from the emulator's thread.
    void OpenSession(const std::string &local, const TargetRecord &target, const std::string &extraData,
                     const sptr<IRemoteObject> &innerCallback);
    void AnswerLater(const sptr<IRemoteObject> &innerCallback, int32_t result, int32_t sessionId);
    // The callback registered for the session's target, or null; `result` says why there is none.
    sptr<IRemoteObject> SessionCallback(int32_t sessionId, int32_t &result) const;
    int32_t Deliver(int32_t sessionId, SessionMessageType type, const std::vector<uint8_t> &bytes, const char *origin);

    // Audio transfer (service type 104).
    Reply HandleAudioInit(RequestReader &reader);
    Reply HandleAudioStart(RequestReader &reader);
    Reply HandleAudioStop(RequestReader &reader);
    Reply HandleAudioDeInit(RequestReader &reader);
    Reply MoveAudio(RequestReader &reader, const char *kind, std::initializer_list<TransferState> from,
                    TransferState to);
    // Releases an audio or surface connection unless it is running.
    template <typename Connection>
    Reply Release(std::map<int32_t, Connection> &connections, const char *kind, const char *name, int32_t connId);

    // Surface transfer (service type 105).
    Reply HandleSurfaceInit(RequestReader &reader);
    Reply HandleSurfaceDeInit(RequestReader &reader);
    Reply HandleSurfaceStart(RequestReader &reader);
    Reply HandleSurfaceStop(RequestReader &reader);
    Reply HandleCastOperation(RequestReader &reader);
    Reply HandleScreenParam(RequestReader &reader);
    Reply HandleVirtualDisplayParam(RequestReader &reader);
    // Moves a surface connection from one of `from` to `to`; the status says why it could not.
    int32_t MoveSurface(int32_t connId, std::initializer_list<TransferState> from, TransferState to);
    int32_t KnownSurface(int32_t connId) const;

    int32_t NewIdLocked();
    std::vector<EmulatorEvent> EventsOfKindLocked(const std::string &kind) const;
    void Record(const std::string &kind, int32_t id, int32_t result, const std::string &text,
                const std::string &payload = std::string());
    // Takes the current service object out of the emulator (it still serves until detached).
    sptr<ServiceStub> TakeService();
    // Drops all state once no request is being handled any more, and the work still queued for it.
    void ForgetState();
    bool RegisterService();
    static void UnregisterService();

    std::mutex lifecycleMutex_; // serialises Start, Stop, Kill and Restart
    mutable std::mutex mutex_;  // guards the members below it
    sptr<ServiceStub> stub_;
    uint64_t generation_ = 0; // one more whenever the state is dropped, so queued work for it is dropped too
    int32_t nextId_ = 1;
    ServiceState state_;

    mutable std::mutex eventsMutex_; // guards the members below it
    mutable std::condition_variable eventAdded_;
    BoundedLog<EmulatorEvent> events_;
    uint64_t nextSequence_ = 1;
    BoundedLog<DecodedRequest> requests_;
    uint64_t requestCount_ = 0;
    std::shared_ptr<const RequestHook> hook_;
    std::shared_ptr<const TransactionSink> sink_;
    std::shared_ptr<const EventSink> eventSink_;
    uint64_t nextTransaction_ = 1;

    TaskThread worker_;
};
} // namespace OHOS::TarnbyEmulator

#endif // TARNBY_EMULATOR_CORE_H
