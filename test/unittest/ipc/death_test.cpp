// KillObject: a local object dies as if its process exited; proxies fail and their recipients are told once.
#include <future>

#include <gtest/gtest.h>

#include "host_ipc.h"
#include "ipc_test_support.h"

namespace OHOS::TarnbyTest {
TEST(DeathTest, KilledObjectFailsRequestsAndTellsEachRemainingRecipientOnceOnAnIpcThread)
{
    sptr<IRemoteObject> service =
        new ScriptedStub([](uint32_t, MessageParcel &, MessageParcel &, auto &) { return 0; });
    sptr<IRemoteObject> proxy = ProxyOf(service);
    sptr<CountingRecipient> told = new CountingRecipient(), removed = new CountingRecipient();
    bool selfRemoved = true;
    sptr<CountingRecipient> remover = new CountingRecipient([&selfRemoved](CountingRecipient &self, const auto &dead) {
        selfRemoved = dead.promote() != nullptr && dead.promote()->RemoveDeathRecipient(&self); // must not deadlock
    });
    EXPECT_FALSE(proxy->AddDeathRecipient(nullptr) || proxy->RemoveDeathRecipient(nullptr));
    ASSERT_TRUE(proxy->AddDeathRecipient(removed) && proxy->AddDeathRecipient(told) &&
                proxy->AddDeathRecipient(remover));
    EXPECT_TRUE(proxy->RemoveDeathRecipient(removed));
    EXPECT_FALSE(proxy->RemoveDeathRecipient(removed) || proxy->IsObjectDead());

    HostIpc::KillObject(service);
    EXPECT_TRUE(proxy->IsObjectDead());
    EXPECT_EQ(SendEmpty(proxy), ERR_DEAD_OBJECT);
    EXPECT_EQ(SendEmpty(service), 0) << "the local object itself still answers in its own process";
    sptr<IRemoteObject> died;
    EXPECT_NE(told->WaitForCalls(1, &died)[0], std::this_thread::get_id());
    EXPECT_EQ(died, proxy);
    remover->WaitForCalls(1);
    EXPECT_FALSE(selfRemoved) << "already taken off the dead proxy";
    EXPECT_FALSE(proxy->AddDeathRecipient(told) || proxy->RemoveDeathRecipient(told));

    HostIpc::KillObject(ProxyOf(service)); // a second death is no news; killing through a proxy works as well
    sptr<CountingRecipient> marker = new CountingRecipient();
    sptr<IRemoteObject> other = new ScriptedStub();
    sptr<IRemoteObject> otherProxy = ProxyOf(other); // held: a recipient lives only as long as its proxy
    ASSERT_TRUE(otherProxy->AddDeathRecipient(marker));
    HostIpc::KillObject(otherProxy);
    marker->WaitForCalls(1); // deaths are told in order: anything more for `told` would have come by now
    EXPECT_EQ(told->WaitForCalls(0).size(), 1u);
    EXPECT_EQ(removed->WaitForCalls(0).size(), 0u);
}

TEST(DeathTest, ObjectKilledBeforeItCrossesArrivesDeadAndARecycledAddressIsNotBornDead)
{
    sptr<IRemoteObject> callback = new ScriptedStub();
    HostIpc::KillObject(callback);
    sptr<IRemoteObject> arrived;
    sptr<IRemoteObject> service = new ScriptedStub([&](uint32_t, MessageParcel &data, MessageParcel &, auto &) {
        arrived = data.ReadRemoteObject();
        return 0;
    });
    MessageParcel data, reply;
    ASSERT_TRUE(data.WriteRemoteObject(callback));
    ASSERT_EQ(Send(ProxyOf(service), data, reply), 0);
    ASSERT_NE(arrived, nullptr);
    EXPECT_EQ(SendEmpty(arrived), ERR_DEAD_OBJECT);
    EXPECT_FALSE(arrived->AddDeathRecipient(new CountingRecipient()));
    for (int round = 0; round < 20; round++) {
        sptr<IRemoteObject> fresh = new ScriptedStub();
        ASSERT_FALSE(ProxyOf(fresh)->IsObjectDead()) << "round " << round;
        HostIpc::KillObject(fresh);
    }
}

TEST(DeathTest, RequestInFlightCompletesWhenItsTargetIsKilled)
{
    std::promise<void> entered, release;
    sptr<IRemoteObject> service = new ScriptedStub([&](uint32_t, MessageParcel &, MessageParcel &reply, auto &) {
        entered.set_value();
        release.get_future().wait();
        return reply.WriteInt32(6) ? 0 : -1;
    });
    sptr<IRemoteObject> proxy = ProxyOf(service);
    auto call = std::async(std::launch::async, [proxy] {
        MessageParcel data, reply;
        return Send(proxy, data, reply) == 0 ? reply.ReadInt32() : -1;
    });
    entered.get_future().wait();
    HostIpc::KillObject(service);
    release.set_value();
    EXPECT_EQ(call.get(), 6);
    EXPECT_EQ(SendEmpty(proxy), ERR_DEAD_OBJECT);
}
} // namespace OHOS::TarnbyTest
