// SPDX-License-Identifier: Apache-2.0
// The host system ability manager: registrations handed out as shared proxies, availability, killed abilities.
#include <gtest/gtest.h>

#include "host_ipc.h"
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
    // Registers a service that answers `answer`.
    static sptr<IRemoteObject> Add(int32_t answer, int32_t id = SERVICE_ID)
    {
        sptr<IRemoteObject> service = new ScriptedStub(
            [answer](auto, auto &, MessageParcel &reply, auto &...) { return reply.WriteInt32(answer) ? 0 : -1; });
        EXPECT_EQ(Manager()->AddSystemAbility(id, service), ERR_OK);
        return service;
    }
    // What the ability registered under `id` answers, -1 when there is none.
    static int32_t Ask(int32_t id = SERVICE_ID)
    {
        sptr<IRemoteObject> remote = Manager()->GetSystemAbility(id);
        MessageParcel data, reply;
        return remote != nullptr && Send(remote, data, reply) == 0 ? reply.ReadInt32() : -1;
    }
};
} // namespace

TEST_F(SamgrTest, RegistrationsAreHandedOutAsSharedProxiesUntilKilledOrRemovedAndOutlastTheManagerItself)
{
    EXPECT_EQ(Ask(), -1);
    sptr<IRemoteObject> service = Add(31);
    sptr<IRemoteObject> found = Manager()->GetSystemAbility(SERVICE_ID);
    ASSERT_NE(found, nullptr);
    EXPECT_TRUE(found->IsProxyObject() && found == ProxyOf(service));
    EXPECT_TRUE(Manager()->CheckSystemAbility(SERVICE_ID) == found &&
                Manager()->GetSystemAbility(SERVICE_ID, "") == found);
    EXPECT_EQ(Ask(), 31);
    EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount(), 5u);
    sptr<IRemoteObject> replacement = Add(32); // a later registration replaces the earlier one
    EXPECT_EQ(Ask(), 32);
    sptr<IRemoteObject> before = Manager()->GetSystemAbility(SERVICE_ID);
    HostIpc::KillObject(replacement); // a killed ability is dropped until it registers again
    EXPECT_TRUE(Manager()->GetSystemAbility(SERVICE_ID) == nullptr &&
                Manager()->CheckSystemAbility(SERVICE_ID) == nullptr);
    EXPECT_TRUE(before->IsObjectDead());
    Add(33);
    EXPECT_TRUE(Manager()->GetSystemAbility(SERVICE_ID) != before && Ask() == 33);
    HostSamgr::Reset();
    EXPECT_TRUE(HostSamgr::GetSystemAbilityCallCount() == 0 && Ask() == -1);
    // Ids outside the range and null objects are refused; removal works once.
    sptr<IRemoteObject> unregistered = new ScriptedStub();
    for (int32_t bad : {-1, 0x01000000}) {
        EXPECT_NE(Manager()->AddSystemAbility(bad, unregistered), ERR_OK) << bad;
    }
    EXPECT_NE(Manager()->AddSystemAbility(SERVICE_ID, nullptr), ERR_OK);
    Add(1, 0x00ffffff);
    Add(2, 0);
    EXPECT_EQ(std::pair(Ask(0x00ffffff), Ask(0)), std::pair(1, 2));
    EXPECT_TRUE(Manager()->RemoveSystemAbility(0) == ERR_OK && Ask(0) == -1);
    EXPECT_NE(Manager()->RemoveSystemAbility(0), ERR_OK);
    // An unavailable or dropped manager keeps its registrations.
    Add(4);
    HostSamgr::SetManagerAvailable(false);
    EXPECT_EQ(Manager(), nullptr);
    HostSamgr::SetManagerAvailable(true);
    EXPECT_EQ(Ask(), 4);
    SystemAbilityManagerClient::GetInstance().DestroySystemAbilityManagerObject();
    EXPECT_EQ(Ask(), 4);
    HostSamgr::SetManagerAvailable(false);
    HostSamgr::Reset();
    EXPECT_NE(Manager(), nullptr) << "a reset makes the manager available again";
    EXPECT_EQ(ISystemAbilityManager::GetDescriptor(), u"OHOS.ISystemAbilityManager");
    EXPECT_EQ(SAMANAGER_INTERFACE_TOKEN, u"ohos.samgr.accessToken");
    ISystemAbilityManager::SAExtraProp prop;
    EXPECT_TRUE(!prop.isDistributed && prop.dumpFlags == 8u);
}
} // namespace OHOS::TarnbyTest
