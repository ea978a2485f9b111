// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_TEST_XPROC_SUPPORT_H
#define TARNBY_TEST_XPROC_SUPPORT_H

// What the cross-process tests share: children of this binary in a role, waiting for completion (never for speed),
// and a peer that speaks the socket protocol by hand, word by word, as an attacker would.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "host_xproc.h"
#include "xproc_peer.h"

namespace OHOS::TarnbyTest {
// A child process of this binary in a role, with `environment` added to ours; its first output line says it is
// ready. Killed when it goes.
class Child {
public:
    explicit Child(const char *role, const std::vector<std::string> &environment = {});
    ~Child();
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;
    std::string Line();
    void Kill();
    int Wait();
    pid_t Pid() const
    {
        return pid_;
    }

private:
    pid_t pid_ = -1;
    FILE *output_ = nullptr;
};

// ECHO through `service`: the answer, or the negated status.
int32_t Echo(const sptr<IRemoteObject> &service, int32_t value, pid_t *servedFor = nullptr);

// Completion, never speed: polls until `done` holds, giving up only after far longer than any run needs.
template <typename Condition>
bool Eventually(Condition done)
{
    for (int i = 0; i < 2000 && !done(); i++) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return done();
}

// The test service in a child process with `THREADS` IPC threads, registered under TEST_SERVICE_ID before each
// test.
template <int THREADS>
class ServiceTestOf : public testing::Test {
protected:
    void SetUp() override
    {
        if (HostIpc::CrossProcessDirectory().empty()) {
            GTEST_SKIP() << "needs OHOS_HOST_IPC_DIR";
        }
        ASSERT_EQ(service_.Line(), "ready");
    }
    Child service_{"service", {std::string(SERVICE_THREADS_VARIABLE) + "=" + std::to_string(THREADS)}};
};
// One IPC thread: a nested request must find the one thread that waits for it.
using CrossProcessTest = ServiceTestOf<1>;
// Several: one busy thread does not decide what another client sees.
using WideServiceTest = ServiceTestOf<4>;

// Frame header words as a peer writes them: magic, kind | in-memfd << 16, code, flags, call id (2 words), handle
// (2), sender and target thread (4), data size (2), object count, fd count, wait time, max capacity.
struct RawHeader {
    uint32_t kind = 1;
    uint32_t inMemfd = 0;
    uint32_t code = ECHO;
    uint32_t flags = 0;
    uint32_t callId = 1;
    uint32_t handle = 1;
    uint32_t targetThread = 0;
    uint32_t dataSize = 0;
    uint32_t objects = 0;
    uint32_t fds = 0;
    std::vector<uint32_t> Words() const;
};
constexpr uint32_t FLAT_BINDER = 0x73622a85;
constexpr uint32_t FLAT_HANDLE = 0x73682a85;
constexpr uint32_t FLAT_FD = 0x66642a85;

// A synchronous ECHO of `value` to the served object, call id `callId`, written by hand.
std::vector<uint32_t> EchoFrame(uint32_t callId, int32_t value, uint32_t flags = 0);

// One connection to a served socket, driven by hand.
class RawPeer {
public:
    explicit RawPeer(const std::string &path);
    ~RawPeer();
    RawPeer(const RawPeer &) = delete;
    RawPeer &operator=(const RawPeer &) = delete;
    bool Connected() const
    {
        return socket_ >= 0;
    }
    // Sends one message with `fds` attached; false when the socket refuses it now (full, or closed).
    bool Send(const std::vector<uint32_t> &words, const std::vector<int> &fds = {}, bool wait = true);
    // The next message's words; empty at the end of the connection (or when nothing came in ten seconds).
    std::vector<uint32_t> Receive();
    // Reads (and drops) everything until the other side closes; whether it did.
    bool ClosedByPeer();
    // Waits, reading nothing, until the other side shuts the connection down; whether it did.
    bool HungUp();
    int Socket() const
    {
        return socket_;
    }

private:
    int socket_ = -1;
};

std::string ServicePath(int32_t id = TEST_SERVICE_ID);
// From /proc/<pid>/status: a value in its unit (kB for sizes), or 0.
uint64_t ProcessStatus(pid_t pid, const std::string &field);
// Whether every thread of `pid` is stopped (a SIGSTOP takes effect after kill() returns).
bool AllThreadsStopped(pid_t pid);
size_t MappingCount(pid_t pid);
size_t OpenDescriptorCount(pid_t pid);
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_XPROC_SUPPORT_H
