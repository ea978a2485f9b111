// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_TEST_XPROC_PEER_H
#define TARNBY_TEST_XPROC_PEER_H

// The processes of the cross-process tests: this binary runs as a test service, as a client of it or as a client
// that holds a callback until it is killed. Each role prints one line when it is ready.
#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <string>

#include "iremote_object.h"
#include "message_option.h"

namespace OHOS::TarnbyTest {
constexpr int32_t TEST_SERVICE_ID = 4001;

enum ServiceCode : uint32_t {
    ECHO = 1,             // int32 v -> int32 v + 1, int32 calling pid
    KEEP_CALLBACK = 2,    // object: kept per calling pid, with a death recipient
    CALL_BACK = 3,        // int32 v -> the kept callback of the caller is asked v synchronously; its answer back
    HANG = 4,             // prints "hanging" and never answers
    CHECK_TRANSFER = 5,   // fd, uint32 size, raw data, the same size again and as many bytes inline (a request
                          // too large for one socket message) -> the text read from the fd, uint64 sum of each
    CALLBACK_DEATHS = 6,  // -> int32 how many kept callbacks died
    SLOW = 7,             // like ECHO, after 20 ms (a handler that lets one-way requests pile up)
    FAIL_ACCEPTS = 8,     // int32 n: the next n accepts fail with EMFILE, as when the process has no descriptor left
    ACCEPT_FAILURES = 10, // -> int32 how many lines told of failed accepts
    STALLS = 11,          // -> int32 peers dropped for passing the bound of unread replies, int32 for the drain time
    WAITING = 12,         // -> uint64 requests waiting in the process, uint64 their bytes
    BIG = 13,             // -> 1 MiB of data
    DRAIN_TIME = 14,      // int32 ms: how long a peer may leave a reply unread
};
constexpr int32_t FOREIGN_SERVICE_ID = 4002;
constexpr uid_t FOREIGN_UID = 65534;
// The service role's IPC threads (default 1).
constexpr const char *SERVICE_THREADS_VARIABLE = "XPROC_SERVICE_THREADS";

// A callback answers v with v * 1000 + (its pid % 1000), so an answer names the process that gave it.
inline int32_t CallbackAnswer(int32_t value, pid_t pid)
{
    return value * 1000 + static_cast<int32_t>(pid % 1000);
}

uint64_t SumOf(const uint8_t *bytes, size_t size);

// The test service as registered under TEST_SERVICE_ID, or null.
sptr<IRemoteObject> FindService();

// A synchronous request (or one with the given option); -1 without an object.
int Ask(const sptr<IRemoteObject> &object, uint32_t code, MessageParcel &data, MessageParcel &reply,
        MessageOption option = MessageOption());

class CountingDeaths : public IRemoteObject::DeathRecipient {
public:
    void OnRemoteDied(const wptr<IRemoteObject> &) override
    {
        calls++;
    }
    std::atomic<int32_t> calls{0};
};

// Runs the role named by argv[1]: "service", "client", "holder", "second-service" (registers the test service
// once more and says whether it was refused), "directory-probe" (registers and looks up in the directory of its
// environment and says what it got), "foreign-service" and "foreign-client" (as root: a peer of another user).
// The exit status of the process.
int RunRole(const std::string &role);
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_XPROC_PEER_H
