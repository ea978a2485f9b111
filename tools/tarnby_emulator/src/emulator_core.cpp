// SPDX-License-Identifier: Apache-2.0
#include "emulator_core.h"

#include <algorithm>
#include <cstring>

#include "emulator_log.h"
#include "host_ipc.h"
#include "if_system_ability_manager.h"
#include "ipc_skeleton.h"
#include "iservice_registry.h"
#include "protocol.h"
#include "string_ex.h"

namespace OHOS::TarnbyEmulator {
namespace {
// The logs keep the latest entries only, so a long-running user cannot grow them without bound. Requests are kept
// fewer: one may hold a 4 MiB payload.
constexpr size_t EVENT_LOG_LIMIT = 10000;
constexpr size_t REQUEST_LOG_LIMIT = 64;

std::string Describe(const DecodedRequest &request)
{
    return "request " + std::to_string(request.code) + " (" + std::to_string(request.serviceType) + "/" +
           std::to_string(request.subServiceType) + "/" + std::to_string(request.operateCode) + "/" +
           std::to_string(request.subOperateCode) + "/" + std::to_string(request.command) + ")";
}
} // namespace

std::string ResultText(int32_t result)
{
    const char *name = EmulatorResultName(result);
    return name != nullptr ? std::string(name) : std::to_string(result);
}

// The handler of every operation the service offers (their layouts are DecodeRequest's).
const EmulatorCore::Operation EmulatorCore::OPERATIONS[] = {
    {COLLABORATION, 7, &EmulatorCore::HandleStartCollaboration},
    {COLLABORATION, 8, &EmulatorCore::HandleStopCollaboration},
    {COLLABORATION, 13, &EmulatorCore::HandleSendData},
    {COLLABORATION, 23, &EmulatorCore::HandleRegister},
    {COLLABORATION, 24, &EmulatorCore::HandleUnregister},
    {COLLABORATION, 25, &EmulatorCore::HandleStartBetweenTargets},
    {AUDIO_TRANSFER, 15, &EmulatorCore::HandleAudioStart},
    {AUDIO_TRANSFER, 16, &EmulatorCore::HandleAudioStop},
    {AUDIO_TRANSFER, 27, &EmulatorCore::HandleAudioInit},
    {AUDIO_TRANSFER, 28, &EmulatorCore::HandleAudioDeInit},
    {SURFACE_TRANSFER, 17, &EmulatorCore::HandleSurfaceInit},
    {SURFACE_TRANSFER, 18, &EmulatorCore::HandleSurfaceDeInit},
    {SURFACE_TRANSFER, 19, &EmulatorCore::HandleSurfaceStart},
    {SURFACE_TRANSFER, 20, &EmulatorCore::HandleSurfaceStop},
    {SURFACE_TRANSFER, 21, &EmulatorCore::HandleCastOperation},
    {SURFACE_TRANSFER, 22, &EmulatorCore::HandleScreenParam},
    {SURFACE_TRANSFER, 29, &EmulatorCore::HandleVirtualDisplayParam},
};

EmulatorCore::EmulatorCore() : events_(EVENT_LOG_LIMIT), requests_(REQUEST_LOG_LIMIT) {}

EmulatorCore::~EmulatorCore()
{
    Stop();
}

const EmulatorCore::Operation *EmulatorCore::FindOperation(uint32_t serviceType, uint32_t subServiceType)
{
    for (const Operation &operation : OPERATIONS) {
        if (operation.serviceType == serviceType && operation.subServiceType == subServiceType) {
            return &operation;
        }
    }
    return nullptr;
}

int EmulatorCore::HandleRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    DecodedRequest request = DecodeRequest(code, data);
    request.flags = option.GetFlags();
    request.waitTime = option.GetWaitTime();
    request.callingPid = IPCSkeleton::GetCallingPid();
    request.callingUid = IPCSkeleton::GetCallingUid();
    Remember(request);
    auto started = std::chrono::steady_clock::now();
    auto wallClock = std::chrono::system_clock::now();
    int status = Serve(request, reply);
    Transaction transaction;
    transaction.code = code;
    transaction.operation = request.operation;
    transaction.envelope = std::to_string(request.serviceType) + "/" + std::to_string(request.subServiceType) + "/" +
                           std::to_string(request.operateCode) + "/" + std::to_string(request.subOperateCode) + "/" +
                           std::to_string(request.command);
    transaction.fields = request.fields;
    transaction.problem = request.TokenOk() ? request.problem : "wrong interface token " + Str16ToStr8(request.token);
    transaction.status = status;
    if (status == EMU_OK && reply.GetDataSize() >= sizeof(int32_t)) {
        std::memcpy(&transaction.status, reinterpret_cast<const void *>(reply.GetData()), sizeof(int32_t));
    }
    transaction.durationMs =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - started).count();
    transaction.startedAtMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(wallClock.time_since_epoch()).count();
    transaction.callingPid = request.callingPid;
    Trace(std::move(transaction));
    return status;
}

int EmulatorCore::Serve(const DecodedRequest &request, MessageParcel &reply)
{
    // Every stub checks the token before anything else; a foreign request gets no reply data, only the status.
    if (!request.TokenOk()) {
        return Refuse(EMU_ERR_WRONG_TOKEN, "wrong interface token \"" + Str16ToStr8(request.token) + "\" on request " +
                                               std::to_string(request.code));
    }
    std::shared_ptr<const RequestHook> hook;
    {
        std::lock_guard<std::mutex> lock(eventsMutex_);
        hook = hook_;
    }
    std::optional<ScriptedReply> scripted = hook != nullptr ? (*hook)(request) : std::nullopt;
    if (scripted.has_value()) {
        for (int32_t value : scripted->values) {
            reply.WriteInt32(value);
        }
        return scripted->status;
    }
    for (int32_t value : Answer(request)) {
        reply.WriteInt32(value);
    }
    return EMU_OK;
}

EmulatorCore::Reply EmulatorCore::Answer(const DecodedRequest &request)
{
    if (request.operation.empty() && !request.problem.empty()) {
        Refuse(EMU_ERR_MALFORMED, "request " + std::to_string(request.code) + ": " + request.problem);
        return Malformed();
    }
    const Operation *operation = FindOperation(request.serviceType, request.subServiceType);
    if (request.operation.empty() || operation == nullptr) {
        Refuse(EMU_ERR_UNKNOWN_OPERATION, Describe(request) + " names no operation");
        return {EMU_ERR_UNKNOWN_OPERATION};
    }
    RequestReader reader(request);
    Reply answer = (this->*operation->handler)(reader);
    if (!reader.Ok()) {
        Refuse(EMU_ERR_MALFORMED, request.operation + ": " + reader.Problem());
    }
    return answer;
}

void EmulatorCore::Remember(const DecodedRequest &request)
{
    std::lock_guard<std::mutex> lock(eventsMutex_);
    requests_.Push(request);
    ++requestCount_;
    eventAdded_.notify_all();
}

void EmulatorCore::SetRequestHook(RequestHook hook)
{
    auto shared = hook ? std::make_shared<const RequestHook>(std::move(hook)) : nullptr;
    std::lock_guard<std::mutex> lock(eventsMutex_);
    hook_ = std::move(shared);
}

std::vector<DecodedRequest> EmulatorCore::Requests() const
{
    std::lock_guard<std::mutex> lock(eventsMutex_);
    return requests_.Items();
}

bool EmulatorCore::WaitForRequests(size_t count, std::chrono::milliseconds timeout) const
{
    std::unique_lock<std::mutex> lock(eventsMutex_);
    return eventAdded_.wait_for(lock, timeout, [this, count] { return requestCount_ >= count; });
}

int EmulatorCore::Refuse(int32_t result, const std::string &why)
{
    EMU_LOGE("request refused with %{public}d: %{public}s", result, why.c_str());
    Record("request.rejected", 0, result, why);
    return result;
}

EmulatorCore::Reply EmulatorCore::Malformed() const
{
    return {EMU_ERR_MALFORMED};
}

bool EmulatorCore::Start()
{
    std::lock_guard<std::mutex> lifecycle(lifecycleMutex_);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stub_ != nullptr) {
            return true;
        }
        stub_ = sptr<ServiceStub>::MakeSptr(this);
    }
    worker_.Start();
    if (!RegisterService()) {
        TakeService()->Detach();
        ForgetState();
        EMU_LOGE("the system ability manager refused the service");
        return false;
    }
    Record("service.started", 0, EMU_OK, "registered under " + std::to_string(TARNBY_SERVICE_ID));
    return true;
}

bool EmulatorCore::RegisterService()
{
    sptr<ISystemAbilityManager> manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    sptr<IRemoteObject> object = ServiceObject();
    return manager != nullptr && object != nullptr && manager->AddSystemAbility(TARNBY_SERVICE_ID, object) == ERR_OK;
}

void EmulatorCore::UnregisterService()
{
    sptr<ISystemAbilityManager> manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (manager != nullptr) {
        manager->RemoveSystemAbility(TARNBY_SERVICE_ID);
    }
}

sptr<ServiceStub> EmulatorCore::TakeService()
{
    std::lock_guard<std::mutex> lock(mutex_);
    sptr<ServiceStub> stub = stub_;
    stub_ = nullptr;
    return stub;
}

void EmulatorCore::ForgetState()
{
    ServiceState dropped; // holds proxies to client objects: released after the lock
    std::lock_guard<std::mutex> lock(mutex_);
    ++generation_;
    dropped = std::move(state_);
    state_ = ServiceState();
}

void EmulatorCore::Stop()
{
    std::lock_guard<std::mutex> lifecycle(lifecycleMutex_);
    sptr<ServiceStub> stub = TakeService();
    if (stub != nullptr) {
        UnregisterService();
        stub->Detach();
        ForgetState();
        Record("service.stopped", 0, EMU_OK, "unregistered; state dropped");
    }
    worker_.Stop();
}

void EmulatorCore::Kill()
{
    std::lock_guard<std::mutex> lifecycle(lifecycleMutex_);
    sptr<ServiceStub> stub = TakeService();
    if (stub == nullptr) {
        return;
    }
    // Gone from the manager first, so that nobody finds the dying object; then its proxies learn of the death.
    UnregisterService();
    HostIpc::KillObject(stub);
    stub->Detach();
    ForgetState();
    EMU_LOGI("the service died");
    Record("service.killed", 0, EMU_OK, "service object killed; state lost");
}

bool EmulatorCore::Restart()
{
    if (IsRunning()) {
        Kill();
    }
    return Start();
}

bool EmulatorCore::IsRunning() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return stub_ != nullptr;
}

sptr<IRemoteObject> EmulatorCore::ServiceObject() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return stub_;
}

int32_t EmulatorCore::NewIdLocked()
{
    return nextId_++;
}

std::vector<int32_t> EmulatorCore::Sessions() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<int32_t> ids;
    for (const auto &[id, session] : state_.sessions) {
        ids.push_back(id);
    }
    return ids;
}

TransferState EmulatorCore::AudioState(int32_t connId) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = state_.audio.find(connId);
    return found == state_.audio.end() ? TransferState::NONE : found->second.state;
}

TransferState EmulatorCore::SurfaceState(int32_t connId) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = state_.surfaces.find(connId);
    return found == state_.surfaces.end() ? TransferState::NONE : found->second.state;
}

void EmulatorCore::Record(const std::string &kind, int32_t id, int32_t result, const std::string &text,
                          const std::string &payload)
{
    EMU_LOG_AT(LOG_INFO, kind.c_str(), "%{public}s", text.c_str());
    EmulatorEvent event{0, kind, id, result, text, payload};
    std::shared_ptr<const EventSink> sink;
    {
        std::lock_guard<std::mutex> lock(eventsMutex_);
        event.sequence = nextSequence_++;
        events_.Push(event);
        eventAdded_.notify_all();
        sink = eventSink_;
    }
    if (sink != nullptr) {
        (*sink)(event);
    }
}

std::vector<EmulatorEvent> EmulatorCore::Events() const
{
    std::lock_guard<std::mutex> lock(eventsMutex_);
    return events_.Items();
}

std::vector<EmulatorEvent> EmulatorCore::EventsOfKind(const std::string &kind) const
{
    std::lock_guard<std::mutex> lock(eventsMutex_);
    return EventsOfKindLocked(kind);
}

std::vector<EmulatorEvent> EmulatorCore::EventsOfKindLocked(const std::string &kind) const
{
    std::vector<EmulatorEvent> found;
    events_.ForEach([&kind, &found](const EmulatorEvent &event) {
        if (event.kind == kind) {
            found.push_back(event);
        }
    });
    return found;
}

bool EmulatorCore::WaitForEvents(const std::string &kind, size_t count, std::chrono::milliseconds timeout,
                                 EmulatorEvent *first) const
{
    std::vector<EmulatorEvent> found;
    auto enough = [this, &kind, &found, count] {
        found = EventsOfKindLocked(kind);
        return found.size() >= count;
    };
    std::unique_lock<std::mutex> lock(eventsMutex_);
    bool seen = eventAdded_.wait_for(lock, timeout, enough);
    if (seen && first != nullptr) {
        *first = found.front();
    }
    return seen;
}
} // namespace OHOS::TarnbyEmulator
