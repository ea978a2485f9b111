// SPDX-License-Identifier: Apache-2.0
// Per-thread identities: the one a thread sends with, and the one of the caller it is serving.
#include "thread_identity.h"

#include <unistd.h>

#include "host_ipc.h"

namespace OHOS::HostIpc {
namespace {
struct ThreadIdentities {
    bool hasSender = false;
    Identity sender{};
    bool hasCaller = false;
    Identity caller{};
};

thread_local ThreadIdentities t_identities;
} // namespace

Identity SenderIdentity()
{
    if (t_identities.hasSender) {
        return t_identities.sender;
    }
    return Identity{getpid(), static_cast<pid_t>(getuid()), HOST_SELF_TOKEN_ID};
}

const Identity *CallingIdentity()
{
    return t_identities.hasCaller ? &t_identities.caller : nullptr;
}

Identity CallerOrSelf()
{
    return t_identities.hasCaller ? t_identities.caller
                                  : Identity{getpid(), static_cast<pid_t>(getuid()), HOST_SELF_TOKEN_ID};
}

void ResetThreadIdentity()
{
    t_identities = ThreadIdentities();
}

CallingIdentityScope::CallingIdentityScope(const Identity &caller) :
    hadPrevious_(t_identities.hasCaller), previous_(t_identities.caller)
{
    t_identities.hasCaller = true;
    t_identities.caller = caller;
}

CallingIdentityScope::~CallingIdentityScope()
{
    t_identities.hasCaller = hadPrevious_;
    t_identities.caller = previous_;
}

void SetThreadIdentity(pid_t pid, pid_t uid, uint64_t fullTokenId)
{
    t_identities.hasSender = true;
    t_identities.sender = Identity{pid, uid, fullTokenId};
}

void ClearThreadIdentity()
{
    t_identities.hasSender = false;
}
} // namespace OHOS::HostIpc
