// SPDX-License-Identifier: Apache-2.0
// Requests through a proxy cross the simulated process boundary: fresh parcels, proxies for objects, duplicated
// descriptors, raw blocks, the return-code rule, IPC threads, nested and concurrent calls, and the target's death.
#include <poll.h>

#include <future>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "host_ipc.h"
#include "ipc_object_proxy.h"
#include "ipc_test_support.h"

namespace OHOS::TarnbyTest {
TEST(RemoteCallTest, OneSharedProxyPerObjectRefusesCodesAboveTheUserRangeAndPassesTheHandlerResultOnlyWithAnEmptyReply)
{
    int calls = 0;
    sptr<IRemoteObject> stub = new ScriptedStub([&calls](auto &&...) { return calls++; });
    sptr<IRemoteObject> proxy = ProxyOf(stub);
    ASSERT_NE(proxy, nullptr);
    EXPECT_TRUE(proxy != stub && proxy->IsProxyObject() && !stub->IsProxyObject());
    EXPECT_TRUE(ProxyOf(stub) == proxy && ProxyOf(proxy) == proxy && ProxyOf(new ScriptedStub()) != proxy);
    EXPECT_EQ(ProxyOf(nullptr), nullptr);
    EXPECT_EQ(SendEmpty(proxy, 0x01000000), IPC_PROXY_INVALID_CODE_ERR);
    EXPECT_EQ(SendEmpty(proxy, PING_TRANSACTION), 204);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(SendEmpty(proxy, LAST_CALL_TRANSACTION), 0);
    EXPECT_EQ(calls, 1);
    // The handler's result passes only with an empty reply; objects in the reply arrive as proxies.
    sptr<IRemoteObject> session = new ScriptedStub();
    bool writeReply = false;
    sptr<IRemoteObject> service = new ScriptedStub([&](auto, auto &, MessageParcel &reply, auto &...) {
        if (writeReply) {
            reply.WriteInt32(5);
            reply.WriteRemoteObject(session);
        }
        return 77;
    });
    MessageParcel data, empty, reply, direct;
    EXPECT_EQ(Send(ProxyOf(service), data, empty), 77);
    EXPECT_EQ(empty.GetDataSize(), 0u);
    writeReply = true;
    reply.WriteInt32(99); // the reply is appended after what the caller already had
    EXPECT_EQ(Send(ProxyOf(service), data, reply), 0);
    EXPECT_EQ((std::vector<int32_t>{reply.ReadInt32(), reply.ReadInt32()}), (std::vector<int32_t>{99, 5}));
    EXPECT_EQ(reply.ReadRemoteObject(), ProxyOf(session));
    EXPECT_EQ(Send(service, data, direct), 77) << "called in-process, the stub's result is returned as it is";
}

// The receiver gets its own parcel from offset 0: its own descriptor copy (closed with the parcel), the objects as
// one shared proxy, the raised maximum and an unaligned tail byte for byte, and a raw block out of line.
TEST(RemoteCallTest, RequestArrivesAsTheReceiverSeesIt)
{
    Pipe pipe;
    std::vector<uint8_t> block(1024 * 1024), filler(300000, 3);
    for (size_t i = 0; i < block.size(); i++) {
        block[i] = static_cast<uint8_t>((i * 131) ^ (i >> 9));
    }
    sptr<IRemoteObject> callback = new ScriptedStub();
    struct {
        int fd = -1;
        size_t readPosition = 1, maxCapacity = 0;
        sptr<IRemoteObject> first, second;
        bool blockIntact = false;
        uint8_t tail = 0;
    } seen;
    sptr<IRemoteObject> service = new ScriptedStub([&](auto, MessageParcel &data, auto &...) {
        seen.readPosition = data.GetReadPosition();
        seen.maxCapacity = data.GetMaxCapacity();
        seen.fd = static_cast<int>(*reinterpret_cast<const uint64_t *>(data.GetData() + 8));
        int fd = data.ReadFileDescriptor();
        bool wrote = write(fd, "ping", 4) == 4;
        close(fd);
        seen.first = data.ReadRemoteObject();
        seen.second = data.ReadRemoteObject();
        const void *raw = data.ReadRawData(block.size());
        seen.blockIntact = raw != nullptr && memcmp(raw, block.data(), block.size()) == 0;
        data.SkipBytes(300000);
        data.ReadUint8Unaligned(seen.tail);
        return wrote ? 0 : -1;
    });
    {
        MessageParcel data;
        ASSERT_TRUE(data.SetMaxCapacity(400000));
        ASSERT_TRUE(data.WriteFileDescriptor(pipe.fds[1]));
        ASSERT_TRUE(data.WriteRemoteObject(callback) && data.WriteRemoteObject(callback));
        ASSERT_TRUE(data.WriteRawData(block.data(), block.size()));
        ASSERT_TRUE(data.WriteBuffer(filler.data(), filler.size()) && data.WriteUint8Unaligned(9));
        data.ReadInt32(); // the sender's read position must not travel
        MessageParcel reply;
        ASSERT_EQ(Send(ProxyOf(service), data, reply), 0);
        EXPECT_EQ(std::pair(seen.readPosition, seen.maxCapacity), (std::pair<size_t, size_t>(0, 400000)));
        EXPECT_NE(seen.fd, pipe.fds[1]);
        EXPECT_NE(seen.fd, static_cast<int>(*reinterpret_cast<const uint64_t *>(data.GetData() + 8)));
    }
    // With the sender's parcel and its own end gone, the pipe reads end-of-file only once the receiver's copy is
    // closed too; a receiver may close it just after it has answered, so wait for it rather than probe a number.
    close(pipe.fds[1]);
    pipe.fds[1] = -1;
    char text[5] = {};
    EXPECT_EQ(read(pipe.fds[0], text, 4), 4);
    EXPECT_STREQ(text, "ping");
    pollfd hangUp{pipe.fds[0], POLLIN, 0};
    ASSERT_EQ(poll(&hangUp, 1, 10000), 1) << "the receiver's copy closes with the request parcel";
    EXPECT_EQ(read(pipe.fds[0], text, 1), 0);
    ASSERT_NE(seen.first, nullptr);
    EXPECT_TRUE(seen.first->IsProxyObject() && seen.first == seen.second && seen.first == ProxyOf(callback));
    EXPECT_TRUE(seen.blockIntact && seen.tail == 9);
}

TEST(RemoteCallTest, OneWayRequestDoesNotWaitANestedCallbackCompletesAndConcurrentClientsGetTheirOwnReplies)
{
    std::promise<void> release;
    std::promise<std::thread::id> handled;
    sptr<IRemoteObject> service = new ScriptedStub([&](auto, auto &, MessageParcel &reply, auto &...) {
        release.get_future().wait();
        reply.WriteInt32(1);
        handled.set_value(std::this_thread::get_id());
        return 55;
    });
    MessageParcel data, reply;
    // The handler cannot finish before `release`, so a waiting SendRequest would never return.
    EXPECT_EQ(Send(ProxyOf(service), data, reply, 1, MessageOption::TF_ASYNC), 0);
    EXPECT_EQ(reply.GetDataSize(), 0u);
    release.set_value();
    EXPECT_NE(handled.get_future().get(), std::this_thread::get_id());
    // The service, while handling the client's synchronous request, synchronously calls the client's callback.
    std::thread::id callbackThread, serviceThread;
    sptr<IRemoteObject> clientCallback =
        new ScriptedStub([&](uint32_t code, MessageParcel &data, MessageParcel &reply, auto &) {
            callbackThread = std::this_thread::get_id();
            reply.WriteInt32(data.ReadInt32() * 10 + static_cast<int32_t>(code));
            return 0;
        });
    sptr<IRemoteObject> nesting = new ScriptedStub([&](auto, MessageParcel &data, MessageParcel &reply, auto &...) {
        serviceThread = std::this_thread::get_id();
        MessageParcel request, answer;
        request.WriteInt32(data.ReadInt32() + 1);
        sptr<IRemoteObject> callback = data.ReadRemoteObject();
        reply.WriteInt32(callback == nullptr ? -1 : Send(callback, request, answer, 3));
        reply.WriteInt32(answer.ReadInt32());
        return 0;
    });
    MessageParcel request, answer;
    ASSERT_TRUE(request.WriteInt32(4) && request.WriteRemoteObject(clientCallback));
    ASSERT_EQ(Send(ProxyOf(nesting), request, answer), 0);
    EXPECT_EQ((std::vector<int32_t>{answer.ReadInt32(), answer.ReadInt32()}), (std::vector<int32_t>{0, 53}));
    // As over the driver, the nested request runs on the thread that waits in the client, where its locks are held.
    EXPECT_TRUE(serviceThread != std::this_thread::get_id() && callbackThread == std::this_thread::get_id());
    // Concurrent clients each get their own reply.
    sptr<IRemoteObject> doubling =
        ProxyOf(new ScriptedStub([](auto, MessageParcel &data, MessageParcel &reply, auto &...) {
            reply.WriteInt32(data.ReadInt32() * 2);
            return 0;
        }));
    std::vector<std::future<int>> wrong;
    for (int client = 0; client < 8; client++) {
        wrong.push_back(std::async(std::launch::async, [doubling, client] {
            int mismatches = 0;
            for (int round = 0; round < 50; round++) {
                MessageParcel data, reply;
                data.WriteInt32(client * 1000 + round);
                mismatches += Send(doubling, data, reply) != 0 || reply.ReadInt32() != (client * 1000 + round) * 2;
            }
            return mismatches;
        }));
    }
    for (auto &result : wrong) {
        EXPECT_EQ(result.get(), 0);
    }
}

// KillObject: a local object dies as if its process exited; proxies fail and their recipients are told once.
TEST(DeathTest, KilledObjectFailsRequestsTellsEachRecipientOnceArrivesDeadAndLetsARequestInFlightComplete)
{
    sptr<IRemoteObject> service = new ScriptedStub([](auto &&...) { return 0; });
    sptr<IRemoteObject> proxy = ProxyOf(service);
    sptr<CountingRecipient> told = new CountingRecipient(), removed = new CountingRecipient();
    bool selfRemoved = true;
    sptr<CountingRecipient> remover = new CountingRecipient();
    remover->action = [&selfRemoved](CountingRecipient &self, const auto &dead) {
        selfRemoved = dead.promote() != nullptr && dead.promote()->RemoveDeathRecipient(&self); // must not deadlock
    };
    EXPECT_FALSE(proxy->AddDeathRecipient(nullptr) || proxy->RemoveDeathRecipient(nullptr));
    ASSERT_TRUE(proxy->AddDeathRecipient(removed) && proxy->AddDeathRecipient(told) &&
                proxy->AddDeathRecipient(remover));
    EXPECT_TRUE(proxy->RemoveDeathRecipient(removed));
    EXPECT_FALSE(proxy->RemoveDeathRecipient(removed) || proxy->IsObjectDead());
    HostIpc::KillObject(service);
    EXPECT_TRUE(proxy->IsObjectDead() && SendEmpty(proxy) == ERR_DEAD_OBJECT);
    EXPECT_EQ(SendEmpty(service), 0) << "the local object itself still answers in its own process";
    auto calls = told->WaitForCalls(1);
    EXPECT_TRUE(calls[0].first != std::this_thread::get_id() && calls[0].second == proxy);
    remover->WaitForCalls(1);
    EXPECT_FALSE(selfRemoved) << "already taken off the dead proxy";
    EXPECT_FALSE(proxy->AddDeathRecipient(told) || proxy->RemoveDeathRecipient(told));
    HostIpc::KillObject(ProxyOf(service)); // a second death is no news; killing through a proxy works as well
    sptr<CountingRecipient> marker = new CountingRecipient();
    sptr<IRemoteObject> other = new ScriptedStub(), otherProxy = ProxyOf(other); // a recipient lives with its proxy
    ASSERT_TRUE(otherProxy->AddDeathRecipient(marker));
    HostIpc::KillObject(otherProxy);
    marker->WaitForCalls(1); // deaths are told in order: anything more for `told` would have come by now
    EXPECT_EQ(std::pair(told->WaitForCalls(0).size(), removed->WaitForCalls(0).size()),
              (std::pair<size_t, size_t>(1, 0)));
    // An object killed before it crosses arrives dead, and a recycled address is not born dead.
    sptr<IRemoteObject> callback = new ScriptedStub();
    HostIpc::KillObject(callback);
    sptr<IRemoteObject> arrived;
    sptr<IRemoteObject> carrier = new ScriptedStub([&](auto, MessageParcel &data, auto &...) {
        arrived = data.ReadRemoteObject();
        return 0;
    });
    MessageParcel data, reply;
    ASSERT_TRUE(data.WriteRemoteObject(callback));
    ASSERT_EQ(Send(ProxyOf(carrier), data, reply), 0);
    ASSERT_NE(arrived, nullptr);
    EXPECT_TRUE(SendEmpty(arrived) == ERR_DEAD_OBJECT && !arrived->AddDeathRecipient(new CountingRecipient()));
    for (int round = 0; round < 20; round++) {
        sptr<IRemoteObject> fresh = new ScriptedStub();
        ASSERT_FALSE(ProxyOf(fresh)->IsObjectDead()) << "round " << round;
        HostIpc::KillObject(fresh);
    }
    // A request in flight completes when its target is killed.
    std::promise<void> entered, release;
    sptr<IRemoteObject> slow = new ScriptedStub([&](auto, auto &, MessageParcel &answer, auto &...) {
        entered.set_value();
        release.get_future().wait();
        return answer.WriteInt32(6) ? 0 : -1;
    });
    sptr<IRemoteObject> slowProxy = ProxyOf(slow);
    auto call = std::async(std::launch::async, [slowProxy] {
        MessageParcel request, answer;
        return Send(slowProxy, request, answer) == 0 ? answer.ReadInt32() : -1;
    });
    entered.get_future().wait();
    HostIpc::KillObject(slow);
    release.set_value();
    EXPECT_EQ(call.get(), 6);
    EXPECT_EQ(SendEmpty(slowProxy), ERR_DEAD_OBJECT);
}
} // namespace OHOS::TarnbyTest
