// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_TEST_IPC_TEST_SUPPORT_H
#define TARNBY_TEST_IPC_TEST_SUPPORT_H

// Doubles for the host IPC tests: a stub whose handler the test scripts, request helpers, a death recipient, a pipe.
#include <fcntl.h>
#include <unistd.h>

#include <condition_variable>
#include <functional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "host_ipc_proxy.h"
#include "ipc_object_stub.h"

namespace OHOS::TarnbyTest {
using Handler = std::function<int(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option)>;

class ScriptedStub : public IPCObjectStub {
public:
    explicit ScriptedStub(Handler handler = nullptr, std::u16string descriptor = u"test.ScriptedStub") :
        IPCObjectStub(std::move(descriptor)), handler_(std::move(handler))
    {
    }
    int OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override
    {
        return handler_ ? handler_(code, data, reply, option)
                        : IPCObjectStub::OnRemoteRequest(code, data, reply, option);
    }

private:
    Handler handler_;
};

// The proxy a client process would hold for `object`.
inline sptr<IRemoteObject> ProxyOf(const sptr<IRemoteObject> &object)
{
    return HostIpc::GetProxy(object);
}

inline int Send(const sptr<IRemoteObject> &remote, MessageParcel &data, MessageParcel &reply, uint32_t code = 1,
                int flags = MessageOption::TF_SYNC)
{
    MessageOption option(flags);
    return remote->SendRequest(code, data, reply, option);
}

inline int SendEmpty(const sptr<IRemoteObject> &remote, uint32_t code = 1)
{
    MessageParcel data, reply;
    return Send(remote, data, reply, code);
}

// Records the thread and the dead object of every call; `action` runs first.
struct CountingRecipient : public IRemoteObject::DeathRecipient {
    std::function<void(CountingRecipient &, const wptr<IRemoteObject> &)> action;
    std::mutex mutex;
    std::condition_variable called;
    std::vector<std::pair<std::thread::id, sptr<IRemoteObject>>> calls;
    void OnRemoteDied(const wptr<IRemoteObject> &object) override
    {
        if (action) {
            action(*this, object);
        }
        std::lock_guard<std::mutex> lock(mutex);
        calls.emplace_back(std::this_thread::get_id(), object.promote());
        called.notify_all();
    }
    // Waits for `count` calls and returns all calls so far.
    auto WaitForCalls(size_t count)
    {
        std::unique_lock<std::mutex> lock(mutex);
        called.wait(lock, [this, count] { return calls.size() >= count; });
        return calls;
    }
};

// A pipe whose ends close with it; an end closed earlier is set to -1.
struct Pipe {
    int fds[2] = {-1, -1};
    Pipe()
    {
        EXPECT_EQ(pipe2(fds, O_CLOEXEC), 0);
    }
    ~Pipe()
    {
        close(fds[0]);
        close(fds[1]);
    }
};
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_IPC_TEST_SUPPORT_H
