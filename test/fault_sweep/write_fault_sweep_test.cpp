// SPDX-License-Identifier: Apache-2.0
// Every front operation with each of its parcel writes failing in turn (the host's write-fault switch): the write
// that fails decides the status and the one error line, in the order the fields are written, and nothing is sent.
// Walking on until a run no longer hits a failing write shows that no write went unchecked.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "audio_transfer_ability.h"
#include "collaboration_ability.h"
#include "host_parcel.h"
#include "host_samgr.h"
#include "if_system_ability_manager.h"
#include "ipc_object_stub.h"
#include "iservice_registry.h"
#include "log_capture.h"
#include "surface_transfer_ability.h"
#include "tarnby_emulator.h"
#include "tarnby_proxy.h"

namespace OHOS::TarnbyTest {
namespace {
using namespace Tarnby;

// What one failing write leads to: the status and the front's error line (a record writer may log one of its own
// before it).
using Stage = std::pair<int32_t, std::string>;
struct FrontOperation {
    const char *name;
    std::function<int32_t()> call;
    std::vector<Stage> stages; // in the order the fields are written
};

// Registered under the service's id in front of the emulator: counts the requests that reach the service.
class CountingService : public IPCObjectStub {
public:
    explicit CountingService(sptr<IRemoteObject> service) :
        IPCObjectStub(ITarnbyService::GetDescriptor()), service_(service)
    {
    }
    int OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override
    {
        ++sent;
        return service_->SendRequest(code, data, reply, option);
    }
    std::atomic<int> sent{0};

private:
    sptr<IRemoteObject> service_;
};

const Stage TOKEN = {1001, "write interface token failed"};
const Stage SERVICE_CODE = {1001, "write to parcel failed"};
// A write of the transport, after the request is complete, makes the send fail.
const Stage SEND = {0x1B8003F5, "send request to Tarnby failed"};

// The stages of a request: its envelope, its fields, then the send.
std::vector<Stage> Header(std::vector<Stage> fields)
{
    fields.insert(fields.begin(), {TOKEN, SERVICE_CODE});
    fields.push_back(SEND);
    return fields;
}

sptr<TargetInfo> Peer()
{
    return sptr<TargetInfo>::MakeSptr("peer", ABILITY_TARGET, "com.example", "Chat", 0);
}

class Inbox : public CollabAbilityCallback {
public:
    void OnCollaborationData(int32_t, const uint8_t *, uint32_t) override {}
    void OnCollaborationEvent(int32_t, const uint8_t *, uint32_t) override {}
};

CollaborationAbility &Collab()
{
    return CollaborationAbility::GetInstance();
}
SurfaceTransferAbility &Surface()
{
    return SurfaceTransferAbility::GetInstance();
}
AudioTransferAbility &Audio()
{
    return AudioTransferAbility::GetInstance();
}

std::vector<FrontOperation> Operations()
{
    static const char bytes[] = "device";
    static const auto device = std::make_shared<RemoteDevice>(RemoteDevice{"a", "b", "c", "d", 1, 7, bytes});
    static const auto param = std::make_shared<ScreenParam>(ScreenParam{1, 2, 3, 4, 5});
    const Stage target = {1007, "targetInfo write failed"};
    const Stage callback = {1007, "callback write failed"};
    const Stage data = {1007, "data write failed"};
    const Stage connId = {1007, "collaborationSessionId write failed"};
    const Stage business = {1007, "businessType write failed"};
    const Stage localType = {1007, "LocalTargetType write failed"};
    return {
        {"StartCollaboration(localId)", [] { return Collab().StartCollaboration(1, Peer(), "x").first; },
         Header({localType, {1007, "localId write failed"}, target, callback, data})},
        {"StartCollaboration(bundle, ability)", [] { return Collab().StartCollaboration("b", "a", Peer(), "x").first; },
         Header({localType, {1007, "abilityInfo write failed"}, target, callback, data})},
        {"StartCollaboration(src, dst)", [] { return Collab().StartCollaboration(Peer(), Peer(), "xy", 2).first; },
         Header({target, callback, {1007, "dataLen write failed"}, data})},
        {"RegisterCollaborationCallback",
         [] { return Collab().RegisterCollaborationCallback(Peer(), sptr<Inbox>::MakeSptr()); },
         Header({target, callback})},
        {"UnRegisterCollaborationCallback", [] { return Collab().UnRegisterCollaborationCallback(Peer()); },
         Header({{1007, "localInfo write failed"}})},
        {"SendCollaborationData", [] { return Collab().SendCollaborationData(1, "abc", 3); },
         Header({connId, {1007, "wirte raw data failed"}})},
        {"StopCollaboration", [] { return Collab().StopCollaboration(1); }, Header({{1007, "localId write failed"}})},
        {"InitSurfaceTransfer",
         [] { return Surface().InitSurfaceTransfer(1, device, sptr<SurfaceTransferCallback>::MakeSptr()); },
         Header({{1007, "connId write failed"}, {1007, "remote device write failed"}, callback})},
        {"DeInitSurfaceTransfer", [] { return Surface().DeInitSurfaceTransfer(1); },
         Header({{1007, "write DeInitSurfaceTransfer param failed"}})},
        {"StartSurfaceTransfer", [] { return Surface().StartSurfaceTransfer(1, "a", "b"); },
         Header({{1007, "write StartSurfaceTransfer param failed"}})},
        {"StopSurfaceTransfer", [] { return Surface().StopSurfaceTransfer(1); },
         Header({{1007, "write StopSurfaceTransfer param failed"}})},
        {"CastOperation", [] { return Surface().CastOperation(1, CastOperationType{7}); },
         Header({{1007, "write CastOperation params failed"}})},
        {"SetScreenParam", [] { return Surface().SetScreenParam(1, CastSetScreenParamType{1}, param); },
         Header({{1007, "SetDrivoScreenParam write failed"}, {1007, "screen param write failed"}})},
        {"SetVirtualDisplayParam",
         [text = std::string("portrait")]() mutable { return Surface().SetVirtualDisplayParam(1, 2, text); },
         Header({{1007, "SetVirtualDisplayParam write failed"}})},
        {"InitAudioTransfer", [] { return Audio().InitAudioTransfer("peer", "dev", BusinessType{1}).first; },
         Header({{1007, "peerNetworkId write failed"}, {1007, "devName write failed"}, business})},
        {"DeInitAudioTransfer", [] { return Audio().DeInitAudioTransfer(1, BusinessType{1}); },
         Header({connId, business})},
        {"StartAudioTransfer", [] { return Audio().StartAudioTransfer(1); }, Header({connId})},
        {"StopAudioTransfer", [] { return Audio().StopAudioTransfer(1); }, Header({connId})},
    };
}

// The library's error lines of a call other than its "enter" line.
std::vector<std::string> ErrorLines(const LogCapture &logs)
{
    std::vector<std::string> lines;
    for (const HiLogRecord &record : logs.Records()) {
        bool library = record.domain >= 0xD004612 && record.domain <= 0xD004625;
        if (library && record.level == LOG_ERROR && LogCapture::Message(record) != "enter") {
            lines.push_back(LogCapture::Message(record));
        }
        if (LogCapture::Message(record) == "collaborationSessionId write failed") { // the audio front's too
            EXPECT_EQ(std::make_pair(record.tag, record.domain),
                      std::make_pair(std::string("TRBYCollaboration"), 0xD004624u));
        }
    }
    return lines;
}

class WriteFaultSweepTest : public testing::Test {
protected:
    void SetUp() override
    {
        HostSamgr::Reset();
        TarnbyProxy::DestoryInstance();
        ASSERT_TRUE(emulator_.Start());
        service_ = sptr<CountingService>::MakeSptr(emulator_.ServiceObject());
        auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
        ASSERT_EQ(manager->AddSystemAbility(TARNBY_SA_ID, service_), 0);
    }
    void TearDown() override
    {
        HostParcel::FailNthWrite(0);
        emulator_.Stop();
        TarnbyProxy::DestoryInstance();
        HostSamgr::Reset();
    }
    TarnbyEmulator::Emulator emulator_;
    sptr<CountingService> service_;
};

// A write failure that went unchecked shows as a request sent before the later fields' stages were reached.
TEST_F(WriteFaultSweepTest, EachWriteFailsWithItsCodeAndLineAndSendsNothing)
{
    for (const FrontOperation &operation : Operations()) {
        SCOPED_TRACE(operation.name);
        std::vector<bool> reached(operation.stages.size(), false);
        size_t stage = 0;
        for (uint32_t n = 1; n < 1000; ++n) {
            SCOPED_TRACE("write " + std::to_string(n));
            service_->sent = 0;
            LogCapture logs;
            HostParcel::FailNthWrite(n);
            int32_t result = operation.call();
            HostParcel::FailNthWrite(0);
            if (service_->sent > 0) {
                break; // no write failed: the request went out whole
            }
            std::vector<std::string> lines = ErrorLines(logs);
            ASSERT_TRUE(!lines.empty() && lines.size() <= 2) << "status " << result << ", " << lines.size() << " lines";
            while (stage < operation.stages.size() && operation.stages[stage] != Stage(result, lines.back())) {
                ++stage;
            }
            ASSERT_LT(stage, operation.stages.size()) << "status " << result << ", \"" << lines.back() << "\"";
            reached[stage] = true;
        }
        reached.back() = true; // the transport may copy the request without parcel writes on the caller's thread
        EXPECT_EQ(reached, std::vector<bool>(operation.stages.size(), true));
    }
}
} // namespace
} // namespace OHOS::TarnbyTest
