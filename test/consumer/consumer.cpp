// SPDX-License-Identifier: Apache-2.0
// Starts a collaboration session through the installed client library against the installed service emulator.
#include <cstdio>
#include <vector>

#include "collaboration_ability.h"
#include "tarnby_emulator.h"
#include "tarnby_errors.h"

namespace {
constexpr int32_t LOCAL_SYSTEM_ABILITY = 4700;

int Fail(const char *what, int32_t status, int32_t sessionId)
{
    std::fprintf(stderr, "consumer: %s (status %d, session %d)\n", what, status, sessionId);
    return 1;
}
} // namespace

int main()
{
    using namespace OHOS;
    TarnbyEmulator::Emulator emulator;
    if (!emulator.Start()) {
        return Fail("the emulator did not register", 0, 0);
    }
    auto target = sptr<Tarnby::TargetInfo>::MakeSptr("peer-0a1b2c3d", Tarnby::ABILITY_TARGET, "com.example.consumer",
                                                     "MainAbility", 0);
    auto &ability = Tarnby::CollaborationAbility::GetInstance();
    auto [status, sessionId] = ability.StartCollaboration(LOCAL_SYSTEM_ABILITY, target, "consumer");
    std::vector<int32_t> sessions = emulator.Sessions();
    if (status != Tarnby::TRBY_OK || sessions.size() != 1 || sessions[0] != sessionId) {
        return Fail("the start was not answered with the service's session", status, sessionId);
    }
    status = ability.StopCollaboration(sessionId);
    if (status != Tarnby::TRBY_OK || !emulator.Sessions().empty()) {
        return Fail("the session did not stop", status, sessionId);
    }
    std::printf("consumer: session %d started and stopped through the installed library\n", sessionId);
    return 0;
}
