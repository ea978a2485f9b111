// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_THREAD_IDENTITY_H
#define OHOS_HOST_IPC_THREAD_IDENTITY_H

#include <sys/types.h>

#include <cstdint>

namespace OHOS::HostIpc {
struct Identity {
    pid_t pid;
    pid_t uid;
    uint64_t fullTokenId;
};

// The host has no access-token kit: a process's own token is 0 unless a test plays another process.
constexpr uint64_t HOST_SELF_TOKEN_ID = 0;

// Who a request sent from this thread claims to come from.
Identity SenderIdentity();
// The sender of the request this thread is handling, or nullptr outside a request.
const Identity *CallingIdentity();
// The sender of the request this thread is handling; outside a request this process itself.
Identity CallerOrSelf();
// Forgets both, so a pooled thread starts its next task clean.
void ResetThreadIdentity();

// Makes `caller` the calling identity for the life of the scope (requests nest, so the previous one returns).
class CallingIdentityScope {
public:
    explicit CallingIdentityScope(const Identity &caller);
    ~CallingIdentityScope();
    CallingIdentityScope(const CallingIdentityScope &) = delete;
    CallingIdentityScope &operator=(const CallingIdentityScope &) = delete;

private:
    bool hadPrevious_;
    Identity previous_;
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_THREAD_IDENTITY_H
