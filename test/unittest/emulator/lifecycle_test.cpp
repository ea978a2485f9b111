// The emulator's life: death told to the client's death recipient, the service found again once it is back with
// its state lost, and a stopped emulator whose old object refuses everything.
#include <thread>

#include "collaboration_ability.h"
#include "death_recipient.h"
#include "emulator_fixture.h"
#include "surface_transfer_ability.h"

namespace OHOS::TarnbyTest {
namespace {
using TarnbyEmulator::EMU_ERR_STOPPED;
using TarnbyEmulator::EMU_ERR_UNKNOWN_SESSION;
using TarnbyEmulator::EMU_OK;

constexpr int32_t SERVICE_DEAD = 1012; // what the library reports without a service

// Remembers the death notice and the thread it came on.
class DeathEvents : public Tarnby::SurfaceTransferCallback {
public:
    int32_t OnEvent(uint32_t code, uint32_t eventId, std::string &data) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        notice_ = std::to_string(code) + " " + std::to_string(eventId) + " " + data;
        thread_ = std::this_thread::get_id();
        return 0;
    }
    std::string Notice() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return notice_;
    }
    std::thread::id Thread() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return thread_;
    }

private:
    mutable std::mutex mutex_;
    std::string notice_;
    std::thread::id thread_;
};

TEST_F(EmulatorTest, DeathIsToldAndTheServiceComesBackWithoutItsState)
{
    auto &collaboration = Tarnby::CollaborationAbility::GetInstance();
    int32_t oldSession = collaboration.StartCollaboration(1, Target("Chat"), "").second;
    ASSERT_NE(oldSession, 0);
    auto events = sptr<DeathEvents>::MakeSptr();
    auto recipient = sptr<Tarnby::DeathRecipient>::MakeSptr();
    recipient->SetCallback(events);
    recipient->SetDeathRecipientid(77);
    sptr<IRemoteObject> service = Tarnby::TarnbyProxy::GetTarnbyRemoteObject();
    ASSERT_NE(service, nullptr);
    ASSERT_TRUE(service->AddDeathRecipient(recipient));

    emulator_.Kill();
    EXPECT_FALSE(emulator_.IsRunning());
    ASSERT_TRUE(Eventually([&] { return !events->Notice().empty(); }));
    EXPECT_EQ(events->Notice(), "1012 77 errorcode");
    EXPECT_NE(events->Thread(), std::this_thread::get_id()); // told on an IPC thread
    // The recipient drops the library's proxy after telling the callback.
    ASSERT_TRUE(Eventually([this] { return logs_.Contains("OnRemoteDied# leave"); }));
    EXPECT_EQ(collaboration.StopCollaboration(oldSession), SERVICE_DEAD);

    ASSERT_TRUE(emulator_.Restart());
    EXPECT_EQ(collaboration.StopCollaboration(oldSession), EMU_ERR_UNKNOWN_SESSION); // found again, state lost
    auto [status, newSession] = collaboration.StartCollaboration(1, Target("Chat"), "");
    EXPECT_EQ(status, EMU_OK);
    EXPECT_NE(newSession, oldSession);
    EXPECT_EQ(emulator_.EventsOfKind("service.killed").size(), 1U);
}

TEST_F(EmulatorTest, StoppedServiceObjectRefusesEverything)
{
    sptr<IRemoteObject> oldService = ServiceProxy();
    ASSERT_NE(oldService, nullptr);
    emulator_.Stop();
    EXPECT_EQ(ServiceProxy(), nullptr);
    EXPECT_EQ(emulator_.ServiceObject(), nullptr);

    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    WriteEnvelope(data, 103, 8);
    data.WriteInt32(1);
    EXPECT_EQ(oldService->SendRequest(101, data, reply, option), EMU_ERR_STOPPED);

    ASSERT_TRUE(emulator_.Start());
    EXPECT_EQ(Tarnby::CollaborationAbility::GetInstance().StopCollaboration(1), EMU_ERR_UNKNOWN_SESSION);
}
} // namespace
} // namespace OHOS::TarnbyTest
