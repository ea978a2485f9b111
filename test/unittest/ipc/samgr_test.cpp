// The host system ability manager: registrations handed out as shared proxies, availability, killed abilities.
#include <gtest/gtest.h>

#include "host_ipc.h"
#include "host_ipc_proxy.h"
#include "host_samgr.h"
#include "ipc_test_support.h"
#include "iservice_registry.h"

namespace OHOS::TarnbyTest {
namespace {
constexpr int32_t SERVICE_ID = 70633;

class SamgrTest : public testing::Test {
protected:
    void SetUp() override
    {
        HostSamgr::Reset();
    }
    void TearDown() override
    {
        HostSamgr::Reset();
    }

    static sptr<ISystemAbilityManager> Manager()
    {
        return SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    }
};

sptr<IRemoteObject> NewService(int32_t answer)
{
    return new ScriptedStub([answer](uint32_t, MessageParcel &, MessageParcel &reply, MessageOption &) {
        reply.WriteInt32(answer);
        return 0;
    });
}

int32_t Ask(const sptr<IRemoteObject> &remote)
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    return remote->SendRequest(1, data, reply, option) == 0 ? reply.ReadInt32() : -1;
}
} // namespace

TEST_F(SamgrTest, RegisteredAbilityIsHandedOutAsItsSharedProxy)
{
    sptr<IRemoteObject> service = NewService(31);
    ASSERT_NE(Manager(), nullptr);
    EXPECT_EQ(Manager()->AddSystemAbility(SERVICE_ID, service), ERR_OK);
    sptr<IRemoteObject> found = Manager()->GetSystemAbility(SERVICE_ID);
    ASSERT_NE(found, nullptr);
    EXPECT_TRUE(found->IsProxyObject());
    EXPECT_NE(found, service);
    EXPECT_EQ(found, HostIpc::GetProxy(service));
    EXPECT_EQ(Manager()->CheckSystemAbility(SERVICE_ID), found);
    EXPECT_EQ(Manager()->GetSystemAbility(SERVICE_ID, ""), found);
    EXPECT_EQ(Ask(found), 31);
}

TEST_F(SamgrTest, UnknownIdGivesNothingAndBadIdsAreRefused)
{
    EXPECT_EQ(Manager()->GetSystemAbility(SERVICE_ID), nullptr);
    EXPECT_EQ(Manager()->CheckSystemAbility(SERVICE_ID), nullptr);
    sptr<IRemoteObject> service = NewService(1);
    EXPECT_NE(Manager()->AddSystemAbility(-1, service), ERR_OK);
    EXPECT_NE(Manager()->AddSystemAbility(0x01000000, service), ERR_OK);
    EXPECT_NE(Manager()->AddSystemAbility(SERVICE_ID, nullptr), ERR_OK);
    EXPECT_EQ(Manager()->AddSystemAbility(0x00ffffff, service), ERR_OK);
    EXPECT_EQ(Manager()->AddSystemAbility(0, service), ERR_OK);
    EXPECT_EQ(Manager()->GetSystemAbility(-1), nullptr);
    EXPECT_NE(Manager()->GetSystemAbility(0x00ffffff), nullptr);
}

TEST_F(SamgrTest, RemovedAbilityIsGone)
{
    ASSERT_EQ(Manager()->AddSystemAbility(SERVICE_ID, NewService(1)), ERR_OK);
    EXPECT_EQ(Manager()->RemoveSystemAbility(SERVICE_ID), ERR_OK);
    EXPECT_EQ(Manager()->GetSystemAbility(SERVICE_ID), nullptr);
    EXPECT_NE(Manager()->RemoveSystemAbility(SERVICE_ID), ERR_OK);
}

TEST_F(SamgrTest, LaterRegistrationReplacesTheEarlierOne)
{
    ASSERT_EQ(Manager()->AddSystemAbility(SERVICE_ID, NewService(1)), ERR_OK);
    ASSERT_EQ(Manager()->AddSystemAbility(SERVICE_ID, NewService(2)), ERR_OK);
    EXPECT_EQ(Ask(Manager()->GetSystemAbility(SERVICE_ID)), 2);
}

TEST_F(SamgrTest, UnavailableManagerIsEmptyUntilSwitchedBack)
{
    ASSERT_EQ(Manager()->AddSystemAbility(SERVICE_ID, NewService(1)), ERR_OK);
    HostSamgr::SetManagerAvailable(false);
    EXPECT_EQ(Manager(), nullptr);
    HostSamgr::SetManagerAvailable(true);
    ASSERT_NE(Manager(), nullptr);
    EXPECT_NE(Manager()->GetSystemAbility(SERVICE_ID), nullptr) << "registrations survive an outage";
    HostSamgr::SetManagerAvailable(false);
    HostSamgr::Reset();
    EXPECT_NE(Manager(), nullptr);
}

TEST_F(SamgrTest, ManagerObjectCanBeDroppedAndReachedAgain)
{
    ASSERT_EQ(Manager()->AddSystemAbility(SERVICE_ID, NewService(4)), ERR_OK);
    SystemAbilityManagerClient::GetInstance().DestroySystemAbilityManagerObject();
    ASSERT_NE(Manager(), nullptr);
    EXPECT_EQ(Ask(Manager()->GetSystemAbility(SERVICE_ID)), 4);
}

TEST_F(SamgrTest, KilledAbilityIsDropped)
{
    sptr<IRemoteObject> service = NewService(1);
    ASSERT_EQ(Manager()->AddSystemAbility(SERVICE_ID, service), ERR_OK);
    sptr<IRemoteObject> before = Manager()->GetSystemAbility(SERVICE_ID);
    HostIpc::KillObject(service);
    EXPECT_EQ(Manager()->GetSystemAbility(SERVICE_ID), nullptr);
    EXPECT_EQ(Manager()->CheckSystemAbility(SERVICE_ID), nullptr);
    EXPECT_TRUE(before->IsObjectDead());

    sptr<IRemoteObject> restarted = NewService(2);
    ASSERT_EQ(Manager()->AddSystemAbility(SERVICE_ID, restarted), ERR_OK);
    sptr<IRemoteObject> after = Manager()->GetSystemAbility(SERVICE_ID);
    ASSERT_NE(after, nullptr);
    EXPECT_NE(after, before);
    EXPECT_EQ(Ask(after), 2);
}

TEST_F(SamgrTest, LookupsAreCountedUntilReset)
{
    EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount(), 0u);
    ASSERT_EQ(Manager()->AddSystemAbility(SERVICE_ID, NewService(1)), ERR_OK);
    Manager()->GetSystemAbility(SERVICE_ID);
    Manager()->GetSystemAbility(SERVICE_ID + 1);
    Manager()->CheckSystemAbility(SERVICE_ID);
    EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount(), 3u);
    HostSamgr::Reset();
    EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount(), 0u);
    EXPECT_EQ(Manager()->GetSystemAbility(SERVICE_ID), nullptr);
}

TEST_F(SamgrTest, ManagerDescriptorAndDefaultExtraProperties)
{
    EXPECT_EQ(ISystemAbilityManager::GetDescriptor(), u"OHOS.ISystemAbilityManager");
    ISystemAbilityManager::SAExtraProp prop;
    EXPECT_FALSE(prop.isDistributed);
    EXPECT_EQ(prop.dumpFlags, 8u);
    EXPECT_EQ(SAMANAGER_INTERFACE_TOKEN, u"ohos.samgr.accessToken");
}
} // namespace OHOS::TarnbyTest
