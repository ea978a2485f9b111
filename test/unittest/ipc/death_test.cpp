// KillObject: a local object dies as if its process exited; proxies fail and their recipients are told once.
#include <thread>

#include <gtest/gtest.h>

#include "host_ipc.h"
#include "host_ipc_proxy.h"
#include "ipc_test_support.h"

namespace OHOS::TarnbyTest {
namespace {
int SendOnce(const sptr<IRemoteObject> &remote)
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    return remote->SendRequest(1, data, reply, option);
}

sptr<IRemoteObject> NewService()
{
    return new ScriptedStub([](uint32_t, MessageParcel &, MessageParcel &, MessageOption &) { return 0; });
}
} // namespace

TEST(DeathTest, KilledObjectFailsRequestsAndTellsTheRecipientOnceOnAnIpcThread)
{
    sptr<IRemoteObject> service = NewService();
    sptr<IRemoteObject> proxy = HostIpc::GetProxy(service);
    sptr<CountingRecipient> recipient = new CountingRecipient();
    ASSERT_EQ(SendOnce(proxy), 0);
    ASSERT_TRUE(proxy->AddDeathRecipient(recipient));
    EXPECT_FALSE(proxy->AddDeathRecipient(nullptr));
    EXPECT_FALSE(proxy->IsObjectDead());

    HostIpc::KillObject(service);
    EXPECT_TRUE(proxy->IsObjectDead());
    EXPECT_EQ(SendOnce(proxy), ERR_DEAD_OBJECT);
    EXPECT_EQ(SendOnce(proxy), 32);
    recipient->WaitForCalls(1);
    EXPECT_EQ(recipient->Died(), proxy);
    ASSERT_EQ(recipient->Threads().size(), 1u);
    EXPECT_NE(recipient->Threads()[0], std::this_thread::get_id());

    EXPECT_FALSE(proxy->AddDeathRecipient(recipient));
    EXPECT_FALSE(proxy->RemoveDeathRecipient(recipient));
    HostIpc::KillObject(service); // a second death is no news
    sptr<CountingRecipient> marker = new CountingRecipient();
    sptr<IRemoteObject> other = NewService();
    sptr<IRemoteObject> otherProxy = HostIpc::GetProxy(other);
    ASSERT_TRUE(otherProxy->AddDeathRecipient(marker));
    HostIpc::KillObject(other);
    marker->WaitForCalls(1);
    EXPECT_EQ(recipient->Calls(), 1);
}

TEST(DeathTest, EveryRegistrationIsToldAndARemovedOneIsNot)
{
    sptr<IRemoteObject> service = NewService();
    sptr<IRemoteObject> proxy = HostIpc::GetProxy(service);
    sptr<CountingRecipient> removed = new CountingRecipient();
    sptr<CountingRecipient> first = new CountingRecipient();
    sptr<CountingRecipient> second = new CountingRecipient();
    ASSERT_TRUE(proxy->AddDeathRecipient(removed));
    ASSERT_TRUE(proxy->AddDeathRecipient(first));
    ASSERT_TRUE(proxy->AddDeathRecipient(second));
    EXPECT_TRUE(proxy->RemoveDeathRecipient(removed));
    EXPECT_FALSE(proxy->RemoveDeathRecipient(removed));
    EXPECT_FALSE(proxy->RemoveDeathRecipient(nullptr));

    HostIpc::KillObject(service);
    first->WaitForCalls(1);
    second->WaitForCalls(1);
    EXPECT_EQ(first->Calls(), 1);
    EXPECT_EQ(second->Calls(), 1);
    EXPECT_EQ(removed->Calls(), 0);
}

TEST(DeathTest, RecipientMayRemoveItselfWhileBeingTold)
{
    sptr<IRemoteObject> service = NewService();
    sptr<IRemoteObject> proxy = HostIpc::GetProxy(service);
    bool removedResult = true;
    sptr<CountingRecipient> recipient = new CountingRecipient([&](CountingRecipient &self, const auto &object) {
        sptr<IRemoteObject> dead = object.promote();
        removedResult = dead != nullptr && dead->RemoveDeathRecipient(&self);
    });
    ASSERT_TRUE(proxy->AddDeathRecipient(recipient));
    HostIpc::KillObject(service);
    recipient->WaitForCalls(1);
    EXPECT_FALSE(removedResult); // already taken off the dead proxy, and no deadlock on the way
}

TEST(DeathTest, KillingThroughAProxyKillsTheObjectBehindIt)
{
    sptr<IRemoteObject> service = NewService();
    sptr<IRemoteObject> proxy = HostIpc::GetProxy(service);
    HostIpc::KillObject(proxy);
    EXPECT_TRUE(proxy->IsObjectDead());
    EXPECT_EQ(SendOnce(proxy), ERR_DEAD_OBJECT);
    EXPECT_EQ(SendOnce(service), 0) << "the local object itself still answers in its own process";
}

TEST(DeathTest, ObjectKilledBeforeItCrossesArrivesDead)
{
    sptr<IRemoteObject> callback = NewService();
    HostIpc::KillObject(callback);
    sptr<IRemoteObject> arrived;
    sptr<IRemoteObject> service = new ScriptedStub([&](uint32_t, MessageParcel &data, MessageParcel &, auto &) {
        arrived = data.ReadRemoteObject();
        return 0;
    });
    MessageParcel data;
    ASSERT_TRUE(data.WriteRemoteObject(callback));
    MessageParcel reply;
    MessageOption option;
    ASSERT_EQ(HostIpc::GetProxy(service)->SendRequest(1, data, reply, option), 0);
    ASSERT_NE(arrived, nullptr);
    EXPECT_TRUE(arrived->IsObjectDead());
    EXPECT_EQ(SendOnce(arrived), ERR_DEAD_OBJECT);
    EXPECT_FALSE(arrived->AddDeathRecipient(new CountingRecipient()));
}

TEST(DeathTest, NewObjectAtARecycledAddressIsNotBornDead)
{
    for (int round = 0; round < 20; round++) {
        sptr<IRemoteObject> service = NewService();
        bool deadAtBirth = HostIpc::GetProxy(service)->IsObjectDead();
        ASSERT_FALSE(deadAtBirth) << "round " << round;
        HostIpc::KillObject(service);
    }
}

TEST(DeathTest, RequestInFlightCompletesWhenItsTargetIsKilled)
{
    Latch entered;
    Latch release;
    sptr<IRemoteObject> service = new ScriptedStub([&](uint32_t, MessageParcel &, MessageParcel &reply, auto &) {
        entered.Open();
        release.Wait();
        reply.WriteInt32(6);
        return 0;
    });
    sptr<IRemoteObject> proxy = HostIpc::GetProxy(service);
    int result = -1;
    int32_t value = 0;
    std::thread client([&] {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        result = proxy->SendRequest(1, data, reply, option);
        value = reply.ReadInt32();
    });
    entered.Wait();
    HostIpc::KillObject(service);
    release.Open();
    client.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(value, 6);
    EXPECT_EQ(SendOnce(proxy), ERR_DEAD_OBJECT);
}
} // namespace OHOS::TarnbyTest
