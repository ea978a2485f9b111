// SPDX-License-Identifier: Apache-2.0
// Register a collaboration callback, start a session, send data both ways, stop it and unregister.
#include "collaboration_ability.h"
#include "scenarios.h"
#include "tarnby_errors.h"

namespace OHOS::TarnbyDemo {
namespace {
using namespace std::chrono_literals;
using Tarnby::TRBY_OK;

constexpr int32_t LOCAL_SYSTEM_ABILITY = 4700;
constexpr int32_t UNKNOWN_SESSION = 999;

std::string Describe(const sptr<Tarnby::TargetInfo> &target)
{
    return "{" + target->GetNetworkId() + ", " + target->GetBundleName() + "/" + target->GetAbilityName() + "}";
}

std::string Session(int32_t sessionId)
{
    return "session=" + std::to_string(sessionId);
}

int32_t SendFromApp(DemoContext &context, int32_t sessionId, const std::string &text)
{
    context.transcript.Begin("SendCollaborationData(" + Session(sessionId) + ", " + Transcript::Quote(text) + ")");
    return context.transcript.End(
        Tarnby::CollaborationAbility::GetInstance().SendCollaborationData(sessionId, text.data(), text.size()));
}

int32_t SendFromPeer(DemoContext &context, int32_t sessionId, const std::string &text)
{
    context.transcript.BeginService("PeerSendData(" + Session(sessionId) + ", " + Transcript::Quote(text) + ")");
    return context.transcript.EndService(
        context.emulator.PeerSendData(sessionId, std::vector<uint8_t>(text.begin(), text.end())));
}

// Whether the callback heard `type` with `text` on `sessionId` as its `index`-th message.
bool HeardAt(DemoCollaborationCallback &callback, size_t index, uint32_t type, int32_t sessionId,
             const std::string &text)
{
    std::vector<Heard> heard = callback.Log().WaitFor(index + 1, 2s);
    return heard.size() > index && heard[index].code == type && heard[index].id == sessionId &&
           heard[index].text == text;
}
} // namespace

bool RunCollaboration(DemoContext &context)
{
    Transcript &out = context.transcript;
    auto &ability = Tarnby::CollaborationAbility::GetInstance();
    auto callback = sptr<DemoCollaborationCallback>::MakeSptr(out);
    auto target = sptr<Tarnby::TargetInfo>::MakeSptr("peer-7f3a9c01", Tarnby::ABILITY_TARGET, "com.example.chat",
                                                     "ChatAbility", 0);
    const std::string targetText = "target=" + Describe(target);

    out.Begin("RegisterCollaborationCallback(" + targetText + ", callback)");
    out.Expect(out.End(ability.RegisterCollaborationCallback(target, callback)) == TRBY_OK,
               "the callback is registered");

    out.Begin("StartCollaboration(localId=" + std::to_string(LOCAL_SYSTEM_ABILITY) + ", " + targetText +
              ", extraData=\"demo\")");
    auto [startStatus, sessionId] = ability.StartCollaboration(LOCAL_SYSTEM_ABILITY, target, "demo");
    out.End(startStatus, ", session id " + std::to_string(sessionId));
    out.Expect(startStatus == TRBY_OK && sessionId != 0, "the service answers the start with a fresh session id");

    out.Expect(SendFromApp(context, sessionId, "hello from the app") == TRBY_OK, "the app's data is accepted");
    out.Expect(HeardAt(*callback, 0, 104, sessionId, "hello from the app"),
               "the emulated peer loops the app's data back to the registered callback");
    out.Expect(SendFromPeer(context, sessionId, "hello from the peer") == TarnbyEmulator::EMU_OK,
               "the peer's data is delivered");
    out.Expect(HeardAt(*callback, 1, 104, sessionId, "hello from the peer"), "the callback hears the peer");
    out.Expect(SendFromApp(context, UNKNOWN_SESSION, "lost") == TarnbyEmulator::EMU_ERR_UNKNOWN_SESSION,
               "an unknown session id is refused");

    out.Begin("StopCollaboration(" + Session(sessionId) + ")");
    out.Expect(out.End(ability.StopCollaboration(sessionId)) == TRBY_OK, "the session stops");
    out.Expect(HeardAt(*callback, 2, 105, sessionId, "stopped"), "the callback hears the session event");

    out.Begin("UnRegisterCollaborationCallback(" + targetText + ")");
    out.Expect(out.End(ability.UnRegisterCollaborationCallback(target)) == TRBY_OK, "the callback is unregistered");
    return out.TakeScenarioResult();
}
} // namespace OHOS::TarnbyDemo
