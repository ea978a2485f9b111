// Finding the service: the one shared proxy, the three ways the lookup fails, concurrent first callers, and what
// DestoryInstance leaves to the holders of a copy.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "host_samgr.h"
#include "iremote_broker.h"
#include "log_expect.h"
#include "service_test_base.h"
#include "tarnby_proxy.h"

namespace OHOS::Tarnby {
namespace {
using TarnbyTest::FakeTarnbyService;
using TarnbyTest::Logged;
using TarnbyTest::PROXY_LABEL;
using TarnbyTest::SERVICE_TOKEN;

using Creator = std::function<sptr<IRemoteBroker>(const sptr<IRemoteObject> &)>;

sptr<IRemoteBroker> CreateTarnbyProxy(const sptr<IRemoteObject> &object)
{
    return sptr<TarnbyProxy>::MakeSptr(object);
}

// While it lives, the creator registered for the service descriptor is `creator` (none when empty); afterwards a
// plain TarnbyProxy creator is registered again.
class ScopedServiceCreator {
public:
    explicit ScopedServiceCreator(const Creator &creator)
    {
        BrokerRegistration::Get().Unregister(SERVICE_TOKEN);
        if (creator) {
            BrokerRegistration::Get().Register(SERVICE_TOKEN, creator, &Owner());
        }
    }
    ~ScopedServiceCreator()
    {
        BrokerRegistration::Get().Unregister(SERVICE_TOKEN);
        BrokerRegistration::Get().Register(SERVICE_TOKEN, CreateTarnbyProxy, &Owner());
    }

private:
    static const BrokerDelegatorBase &Owner()
    {
        static BrokerDelegatorBase owner;
        return owner;
    }
};

int32_t SendMarker(const sptr<ITarnbyService> &proxy)
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option(MessageOption::TF_SYNC, 8);
    if (TarnbyProxy::BuildCollaborationServiceCode(data, 103, 8, 0, 0, 0) != 0) {
        return -1;
    }
    return proxy->CollaborationToDeviceEvent(data, reply, option);
}

class ProxyLookupTest : public TarnbyTest::ServiceTestBase {};

TEST_F(ProxyLookupTest, OneProxyAroundTheServiceObject)
{
    size_t before = HostSamgr::GetSystemAbilityCallCount();
    sptr<ITarnbyService> first = TarnbyProxy::GetInstance();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(TarnbyProxy::GetInstance(), first);
    sptr<IRemoteObject> remote = TarnbyProxy::GetTarnbyRemoteObject();
    ASSERT_NE(remote, nullptr);
    EXPECT_EQ(remote, first->AsObject());
    EXPECT_TRUE(remote->IsProxyObject());
    EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount() - before, 1u);
    EXPECT_EQ(SendMarker(first), 0);
    EXPECT_EQ(service_->RequestCount(), 1u);
}

TEST_F(ProxyLookupTest, ManagerUnavailableGivesEmptyAndCachesNothing)
{
    HostSamgr::SetManagerAvailable(false);
    size_t before = HostSamgr::GetSystemAbilityCallCount();
    EXPECT_EQ(TarnbyProxy::GetInstance(), nullptr);
    EXPECT_EQ(TarnbyProxy::GetTarnbyRemoteObject(), nullptr);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "failed to get system manager"));
    EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount(), before);

    HostSamgr::SetManagerAvailable(true);
    EXPECT_NE(TarnbyProxy::GetInstance(), nullptr);
}

TEST_F(ProxyLookupTest, UnregisteredServiceGivesEmptyAndEveryCallLooksAgain)
{
    HostSamgr::Reset();
    size_t before = HostSamgr::GetSystemAbilityCallCount();
    EXPECT_EQ(TarnbyProxy::GetInstance(), nullptr);
    EXPECT_EQ(TarnbyProxy::GetInstance(), nullptr);
    EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount() - before, 2u);
    EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "failed to get TARNBY_SA_ID"));
    EXPECT_FALSE(logs_.Find("failed to get system manager"));

    ASSERT_TRUE(service_->Register());
    sptr<ITarnbyService> proxy = TarnbyProxy::GetInstance();
    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(SendMarker(proxy), 0);
}

TEST_F(ProxyLookupTest, ObjectThatCannotBeCastGivesEmpty)
{
    {
        ScopedServiceCreator noCreator(nullptr);
        EXPECT_EQ(TarnbyProxy::GetInstance(), nullptr);
        EXPECT_EQ(TarnbyProxy::GetTarnbyRemoteObject(), nullptr);
        EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "failed to iface cast"));
        EXPECT_FALSE(logs_.Find("failed to get TARNBY_SA_ID"));
    }
    EXPECT_NE(TarnbyProxy::GetInstance(), nullptr);
}

// Every round starts with no proxy and lets several threads ask at the same moment: the manager is asked once and
// every thread gets the same proxy, whichever of them wins the race to create it.
TEST_F(ProxyLookupTest, ConcurrentFirstCallersShareOneLookup)
{
    constexpr int rounds = 200;
    constexpr int threadCount = 4;
    std::atomic<int> created{0};
    ScopedServiceCreator counting([&created](const sptr<IRemoteObject> &object) {
        created++;
        return CreateTarnbyProxy(object);
    });
    for (int round = 0; round < rounds; ++round) {
        TarnbyProxy::DestoryInstance();
        size_t before = HostSamgr::GetSystemAbilityCallCount();
        created = 0;
        std::atomic<int> waiting{threadCount};
        std::vector<sptr<ITarnbyService>> results(threadCount);
        std::vector<std::thread> threads;
        for (int i = 0; i < threadCount; ++i) {
            threads.emplace_back([&waiting, &results, i] {
                waiting--;
                while (waiting.load() > 0) {
                    std::this_thread::yield();
                }
                results[i] = TarnbyProxy::GetInstance();
            });
        }
        for (auto &thread : threads) {
            thread.join();
        }
        ASSERT_EQ(HostSamgr::GetSystemAbilityCallCount() - before, 1u) << "round " << round;
        ASSERT_EQ(created.load(), 1) << "round " << round;
        ASSERT_NE(results[0], nullptr);
        for (const auto &result : results) {
            ASSERT_EQ(result, results[0]) << "round " << round;
        }
    }
}

TEST_F(ProxyLookupTest, DestroyLooksTheServiceUpAgain)
{
    sptr<ITarnbyService> old = TarnbyProxy::GetInstance();
    ASSERT_NE(old, nullptr);
    sptr<IRemoteObject> oldRemote = TarnbyProxy::GetTarnbyRemoteObject();

    // The service comes back as a new object: the next lookup must find that one.
    TarnbyProxy::DestoryInstance();
    HostSamgr::Reset();
    sptr<FakeTarnbyService> restarted = sptr<FakeTarnbyService>::MakeSptr();
    ASSERT_TRUE(restarted->Register());
    size_t before = HostSamgr::GetSystemAbilityCallCount();
    sptr<IRemoteObject> newRemote = TarnbyProxy::GetTarnbyRemoteObject();
    ASSERT_NE(newRemote, nullptr);
    EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount() - before, 1u);
    EXPECT_NE(newRemote, oldRemote);
    sptr<ITarnbyService> current = TarnbyProxy::GetInstance();
    ASSERT_NE(current, nullptr);
    EXPECT_NE(current, old);
    EXPECT_EQ(current->AsObject(), newRemote);

    EXPECT_EQ(SendMarker(current), 0);
    EXPECT_EQ(restarted->RequestCount(), 1u);
    // The copy from before still reaches the object it was made for.
    EXPECT_EQ(SendMarker(old), 0);
    EXPECT_EQ(service_->RequestCount(), 1u);
    EXPECT_EQ(restarted->RequestCount(), 1u);

    service_->Kill();
    EXPECT_EQ(SendMarker(old), 1008);
    EXPECT_EQ(SendMarker(current), 0);
}

TEST_F(ProxyLookupTest, HeldCopyOutlivesDestroy)
{
    sptr<ITarnbyService> held = TarnbyProxy::GetInstance();
    ASSERT_NE(held, nullptr);
    TarnbyProxy::DestoryInstance();
    EXPECT_FALSE(logs_.Find("clear resource when death"));
    EXPECT_EQ(SendMarker(held), 0);

    held = nullptr;
    EXPECT_TRUE(Logged(logs_, LOG_INFO, PROXY_LABEL, "clear resource when death"));
}
} // namespace
} // namespace OHOS::Tarnby
