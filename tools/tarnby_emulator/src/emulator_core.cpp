#include "emulator_core.h"

#include <algorithm>

#include "emulator_log.h"
#include "host_ipc.h"
#include "if_system_ability_manager.h"
#include "iservice_registry.h"
#include "protocol.h"
#include "string_ex.h"

namespace OHOS::TarnbyEmulator {
namespace {
// The log keeps the latest events only, so a long-running user cannot grow it without bound.
constexpr size_t EVENT_LOG_LIMIT = 10000;

// The five service-code fields in front of every request body.
struct ServiceCode {
    uint32_t serviceType = 0;
    uint32_t subServiceType = 0;
    uint32_t operateCode = 0;
    uint32_t subOperateCode = 0;
    uint32_t command = 0;
};

bool ReadServiceCode(RequestReader &reader, ServiceCode &code)
{
    return reader.Uint32(code.serviceType, "serviceType") && reader.Uint32(code.subServiceType, "subServiceType") &&
           reader.Uint32(code.operateCode, "operateCode") && reader.Uint32(code.subOperateCode, "subOperateCode") &&
           reader.Uint32(code.command, "command");
}

std::string Describe(uint32_t requestCode, const ServiceCode &code)
{
    return "request " + std::to_string(requestCode) + " (" + std::to_string(code.serviceType) + "/" +
           std::to_string(code.subServiceType) + "/" + std::to_string(code.operateCode) + "/" +
           std::to_string(code.subOperateCode) + "/" + std::to_string(code.command) + ")";
}
} // namespace

std::string ResultText(int32_t result)
{
    const char *name = EmulatorResultName(result);
    return name != nullptr ? std::string(name) : std::to_string(result);
}

// Every operation the service offers; the qualifiers operateCode, subOperateCode and command are always 0.
const EmulatorCore::Operation EmulatorCore::OPERATIONS[] = {
    {COLLABORATION_EVENT, COLLABORATION, 7, "StartCollaboration", &EmulatorCore::HandleStartCollaboration},
    {COLLABORATION_EVENT, COLLABORATION, 8, "StopCollaboration", &EmulatorCore::HandleStopCollaboration},
    {COLLABORATION_EVENT, COLLABORATION, 13, "SendCollaborationData", &EmulatorCore::HandleSendData},
    {COLLABORATION_EVENT, COLLABORATION, 23, "RegisterCollaborationCallback", &EmulatorCore::HandleRegister},
    {COLLABORATION_EVENT, COLLABORATION, 24, "UnRegisterCollaborationCallback", &EmulatorCore::HandleUnregister},
    {COLLABORATION_EVENT, COLLABORATION, 25, "StartCollaboration", &EmulatorCore::HandleStartBetweenTargets},
    {COLLABORATION_EVENT, AUDIO_TRANSFER, 15, "StartAudioTransfer", &EmulatorCore::HandleAudioStart},
    {COLLABORATION_EVENT, AUDIO_TRANSFER, 16, "StopAudioTransfer", &EmulatorCore::HandleAudioStop},
    {COLLABORATION_EVENT, AUDIO_TRANSFER, 27, "InitAudioTransfer", &EmulatorCore::HandleAudioInit},
    {COLLABORATION_EVENT, AUDIO_TRANSFER, 28, "DeInitAudioTransfer", &EmulatorCore::HandleAudioDeInit},
    {SURFACE_TRANSFER_EVENT, SURFACE_TRANSFER, 17, "InitSurfaceTransfer", &EmulatorCore::HandleSurfaceInit},
    {SURFACE_TRANSFER_EVENT, SURFACE_TRANSFER, 18, "DeInitSurfaceTransfer", &EmulatorCore::HandleSurfaceDeInit},
    {SURFACE_TRANSFER_EVENT, SURFACE_TRANSFER, 19, "StartSurfaceTransfer", &EmulatorCore::HandleSurfaceStart},
    {SURFACE_TRANSFER_EVENT, SURFACE_TRANSFER, 20, "StopSurfaceTransfer", &EmulatorCore::HandleSurfaceStop},
    {SURFACE_TRANSFER_EVENT, SURFACE_TRANSFER, 21, "CastOperation", &EmulatorCore::HandleCastOperation},
    {SURFACE_TRANSFER_EVENT, SURFACE_TRANSFER, 22, "SetScreenParam", &EmulatorCore::HandleScreenParam},
    {SURFACE_TRANSFER_EVENT, SURFACE_TRANSFER, 29, "SetVirtualDisplayParam", &EmulatorCore::HandleVirtualDisplayParam},
};

EmulatorCore::~EmulatorCore()
{
    Stop();
}

const EmulatorCore::Operation *EmulatorCore::FindOperation(uint32_t requestCode, uint32_t serviceType,
                                                           uint32_t subServiceType)
{
    for (const Operation &operation : OPERATIONS) {
        if (operation.requestCode == requestCode && operation.serviceType == serviceType &&
            operation.subServiceType == subServiceType) {
            return &operation;
        }
    }
    return nullptr;
}

int EmulatorCore::HandleRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option)
{
    // Every stub checks the token before anything else; a foreign request gets no reply data, only the status.
    std::u16string token = data.ReadInterfaceToken();
    if (token != SERVICE_TOKEN) {
        return Refuse(EMU_ERR_WRONG_TOKEN,
                      "wrong interface token \"" + Str16ToStr8(token) + "\" on request " + std::to_string(code));
    }
    RequestReader reader(data);
    ServiceCode serviceCode;
    Reply answer;
    const Operation *operation = nullptr;
    if (!ReadServiceCode(reader, serviceCode)) {
        Refuse(EMU_ERR_MALFORMED, "request " + std::to_string(code) + ": " + reader.Problem());
        answer = Malformed();
    } else if (serviceCode.operateCode != 0 || serviceCode.subOperateCode != 0 || serviceCode.command != 0 ||
               (operation = FindOperation(code, serviceCode.serviceType, serviceCode.subServiceType)) == nullptr) {
        Refuse(EMU_ERR_UNKNOWN_OPERATION, Describe(code, serviceCode) + " names no operation");
        answer = {EMU_ERR_UNKNOWN_OPERATION};
    } else {
        answer = (this->*operation->handler)(reader);
        if (!reader.Ok()) {
            Refuse(EMU_ERR_MALFORMED, std::string(operation->name) + ": " + reader.Problem());
        }
    }
    for (int32_t value : answer) {
        reply.WriteInt32(value);
    }
    return EMU_OK;
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
    std::lock_guard<std::mutex> lock(eventsMutex_);
    if (events_.size() >= EVENT_LOG_LIMIT) {
        events_.erase(events_.begin());
    }
    events_.push_back(EmulatorEvent{nextSequence_++, kind, id, result, text, payload});
    eventAdded_.notify_all();
}

std::vector<EmulatorEvent> EmulatorCore::Events() const
{
    std::lock_guard<std::mutex> lock(eventsMutex_);
    return events_;
}

std::vector<EmulatorEvent> EmulatorCore::EventsOfKind(const std::string &kind) const
{
    std::lock_guard<std::mutex> lock(eventsMutex_);
    std::vector<EmulatorEvent> found;
    std::copy_if(events_.begin(), events_.end(), std::back_inserter(found),
                 [&kind](const EmulatorEvent &event) { return event.kind == kind; });
    return found;
}

bool EmulatorCore::WaitForEvents(const std::string &kind, size_t count, std::chrono::milliseconds timeout,
                                 EmulatorEvent *first) const
{
    auto matches = [&kind](const EmulatorEvent &event) { return event.kind == kind; };
    std::unique_lock<std::mutex> lock(eventsMutex_);
    bool seen = eventAdded_.wait_for(lock, timeout, [this, &matches, count] {
        return static_cast<size_t>(std::count_if(events_.begin(), events_.end(), matches)) >= count;
    });
    if (seen && first != nullptr) {
        *first = *std::find_if(events_.begin(), events_.end(), matches);
    }
    return seen;
}
} // namespace OHOS::TarnbyEmulator
