// The service's death: the recipient's own rules, then the whole path from a killed service to the caller's callback
// and a fresh lookup. The surface front is a process-wide singleton whose recipient is registered at most once, so
// the end-to-end cases each run in a new process of this binary.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "audio_transfer_ability.h"
#include "death_recipient.h"
#include "host_samgr.h"
#include "log_expect.h"
#include "media_test_support.h"
#include "surface_transfer_ability.h"
#include "tarnby_proxy.h"

namespace OHOS::Tarnby {
namespace {
using namespace TarnbyTest;

constexpr ExpectedLabel CLIENT_LABEL = {0xD004612, "TRBYClient"};
constexpr uint32_t SERVICE_DEAD = 1012;

testing::AssertionResult IsDeathEvent(const std::vector<Event> &events, uint32_t id, const std::string &category)
{
    if (events.size() != 1) {
        return testing::AssertionFailure() << events.size() << " events";
    }
    const Event &event = events[0];
    if (event.code != SERVICE_DEAD || event.eventId != id || event.extra != category) {
        return testing::AssertionFailure()
               << "OnEvent(" << event.code << ", " << event.eventId << ", \"" << event.extra << "\")";
    }
    return testing::AssertionSuccess();
}

// Bounded wait for work done on IPC threads.
bool WaitUntil(const std::function<bool()> &done)
{
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// Registered beside the library's recipient, to know when the death has been reported.
class DeathProbe : public IRemoteObject::DeathRecipient {
public:
    void OnRemoteDied(const wptr<IRemoteObject> &) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        died_ = true;
        cv_.notify_all();
    }
    bool WaitForDeath()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return cv_.wait_for(lock, std::chrono::seconds(5), [this] { return died_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable cv_;
    bool died_ = false;
};

class DeathRecipientTest : public ServiceTestBase {
protected:
    sptr<Tarnby::DeathRecipient> recipient_ = sptr<Tarnby::DeathRecipient>::MakeSptr();
};

TEST_F(DeathRecipientTest, KeepsTheFirstCallbackUntilADeath)
{
    auto first = sptr<EventRecorder>::MakeSptr();
    auto second = sptr<EventRecorder>::MakeSptr();
    recipient_->SetDeathRecipientid(5);
    recipient_->SetCallback(first);
    recipient_->SetCallback(second);
    recipient_->OnRemoteDied(nullptr);
    EXPECT_TRUE(IsDeathEvent(first->Events(), 5, "errorcode"));
    EXPECT_TRUE(second->Events().empty());

    // The death forgot the callback and the id: the next callback is stored and hears id 0.
    recipient_->SetCallback(second);
    recipient_->OnRemoteDied(nullptr);
    EXPECT_TRUE(IsDeathEvent(second->Events(), 0, "errorcode"));
    EXPECT_EQ(first->Events().size(), 1u);
}

TEST_F(DeathRecipientTest, CategoryOutlivesADeathButNotDestroyData)
{
    auto first = sptr<EventRecorder>::MakeSptr();
    auto second = sptr<EventRecorder>::MakeSptr();
    recipient_->SetCategory("custom");
    recipient_->SetCallback(first);
    recipient_->OnRemoteDied(nullptr);
    recipient_->SetCallback(second);
    recipient_->OnRemoteDied(nullptr);
    EXPECT_TRUE(IsDeathEvent(first->Events(), 0, "custom"));
    EXPECT_TRUE(IsDeathEvent(second->Events(), 0, "custom"));

    auto dropped = sptr<EventRecorder>::MakeSptr();
    recipient_->SetCallback(dropped);
    recipient_->SetDeathRecipientid(3);
    recipient_->DestroyData();
    recipient_->OnRemoteDied(nullptr);
    EXPECT_TRUE(dropped->Events().empty());
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CLIENT_LABEL, "callback is nullptr."));

    auto last = sptr<EventRecorder>::MakeSptr();
    recipient_->SetCallback(last);
    recipient_->OnRemoteDied(nullptr);
    EXPECT_TRUE(IsDeathEvent(last->Events(), 0, "errorcode"));
}

TEST_F(DeathRecipientTest, DeathWithoutCallbackStillDropsTheProxy)
{
    ASSERT_NE(TarnbyProxy::GetInstance(), nullptr);
    ASSERT_EQ(HostSamgr::GetSystemAbilityCallCount(), 1u);
    recipient_->OnRemoteDied(nullptr);
    EXPECT_TRUE(Logged(logs_, LOG_INFO, CLIENT_LABEL, "callback is nullptr."));
    EXPECT_TRUE(logs_.Find("clear resource when death"));
    ASSERT_NE(TarnbyProxy::GetInstance(), nullptr);
    EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount(), 2u);
}

class ServiceDeathTest : public MediaServiceTest {
protected:
    void SetUp() override
    {
        MediaServiceTest::SetUp();
        requests_->SetReply(SURFACE_SERVICE_TYPE, 17, {7});
    }

    // Runs `scenario` in a new process of this binary, where the surface front has no death recipient yet. Its
    // failures come back as that process's exit code and its error output.
    static void InFreshProcess(const std::function<void()> &scenario)
    {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        EXPECT_EXIT(
            {
                scenario();
                ExitWithResult();
            },
            testing::ExitedWithCode(0), "");
    }

    static void ExitWithResult()
    {
        const testing::TestResult *result = testing::UnitTest::GetInstance()->current_test_info()->result();
        for (int i = 0; i < result->total_part_count(); ++i) {
            const testing::TestPartResult &part = result->GetTestPartResult(i);
            if (part.failed()) {
                std::fprintf(stderr, "%s:%d: %s\n", part.file_name(), part.line_number(), part.message());
            }
        }
        std::_Exit(result->Failed() ? 1 : 0);
    }

    // The recipient has finished with the death once it logged its last line.
    bool DeathHandled() const
    {
        HiLogRecord record;
        return logs_.Find("leave", &record) && record.tag == std::string(CLIENT_LABEL.tag);
    }

    static SurfaceTransferAbility &Surface()
    {
        return SurfaceTransferAbility::GetInstance();
    }
};

TEST_F(ServiceDeathTest, DeathReachesTheFirstCallbackAndTheNextCallFindsANewService)
{
    InFreshProcess([this] {
        ASSERT_TRUE(Surface().SetDeathRecipient());
        EXPECT_TRUE(Logged(logs_, LOG_INFO, PROXY_LABEL, "AddDeathRecipient result = 1."));
        auto first = sptr<EventRecorder>::MakeSptr();
        auto second = sptr<EventRecorder>::MakeSptr();
        ASSERT_EQ(Surface().InitSurfaceTransfer(3, MakeDevice(), first), 7);
        ASSERT_EQ(Surface().InitSurfaceTransfer(3, MakeDevice(), second), 7);
        uint32_t lookups = HostSamgr::GetSystemAbilityCallCount();

        service_->Kill();
        ASSERT_TRUE(first->WaitForEvents(1));
        EXPECT_TRUE(IsDeathEvent(first->Events(), 7, "errorcode"));
        EXPECT_NE(first->Events()[0].thread, std::this_thread::get_id());
        ASSERT_TRUE(WaitUntil([this] { return DeathHandled(); }));
        EXPECT_TRUE(second->Events().empty());
        EXPECT_TRUE(logs_.Find("clear resource when death"));

        // The proxy is gone: the next call of any front looks the service up and finds the new one.
        auto reborn = sptr<FakeTarnbyService>::MakeSptr();
        ASSERT_TRUE(reborn->Register());
        auto rebornRequests = MediaRequestLog::Teach(*reborn);
        rebornRequests->SetReply(SURFACE_SERVICE_TYPE, 17, {9});
        EXPECT_EQ(AudioTransferAbility::GetInstance().StartAudioTransfer(3), 0);
        EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount(), lookups + 1);
        EXPECT_EQ(reborn->RequestCount(), 1u);

        // After the death the recipient takes a new callback, with the new id.
        auto third = sptr<EventRecorder>::MakeSptr();
        ASSERT_EQ(Surface().InitSurfaceTransfer(3, MakeDevice(), third), 9);
        Surface().GetDeathRecipient()->OnRemoteDied(nullptr);
        EXPECT_TRUE(IsDeathEvent(third->Events(), 9, "errorcode"));
        EXPECT_EQ(first->Events().size(), 1u);
    });
}

TEST_F(ServiceDeathTest, InitBeforeSetDeathRecipientLeavesTheDeathUnheard)
{
    InFreshProcess([this] {
        auto callback = sptr<EventRecorder>::MakeSptr();
        ASSERT_EQ(Surface().InitSurfaceTransfer(3, MakeDevice(), callback), 7);
        EXPECT_TRUE(Surface().SetDeathRecipient());
        EXPECT_FALSE(logs_.Contains("AddDeathRecipient"));

        auto probe = sptr<DeathProbe>::MakeSptr();
        ASSERT_TRUE(TarnbyProxy::GetTarnbyRemoteObject()->AddDeathRecipient(probe));
        uint32_t lookups = HostSamgr::GetSystemAbilityCallCount();
        service_->Kill();
        ASSERT_TRUE(probe->WaitForDeath());
        EXPECT_TRUE(callback->Events().empty());
        // Nobody dropped the proxy: the next request still goes to the dead service.
        EXPECT_EQ(Surface().StopSurfaceTransfer(3), SEND_FAILED);
        EXPECT_EQ(HostSamgr::GetSystemAbilityCallCount(), lookups);
    });
}

TEST_F(ServiceDeathTest, SetDeathRecipientWithoutServiceRegistersLater)
{
    InFreshProcess([this] {
        HostSamgr::Reset();
        EXPECT_FALSE(Surface().SetDeathRecipient());
        EXPECT_TRUE(Logged(logs_, LOG_ERROR, PROXY_LABEL, "Tarnby dead"));
        // Nothing was created by the failed call, so a later one still registers.
        ASSERT_TRUE(service_->Register());
        EXPECT_TRUE(Surface().SetDeathRecipient());
        EXPECT_TRUE(Logged(logs_, LOG_INFO, PROXY_LABEL, "AddDeathRecipient result = 1."));
    });
}
} // namespace
} // namespace OHOS::Tarnby
