// Audio and surface transfers through the client library against the emulator: connection ids, the state each
// operation needs, and the surface events told to the callback given at initialisation.
#include <tuple>

#include "audio_transfer_ability.h"
#include "emulator_fixture.h"
#include "surface_transfer_ability.h"

namespace OHOS::TarnbyTest {
namespace {
using TarnbyEmulator::EMU_ERR_UNKNOWN_CONNECTION;
using TarnbyEmulator::EMU_ERR_WRONG_STATE;
using TarnbyEmulator::EMU_OK;
using TarnbyEmulator::TransferState;

// Keeps every event (code, eventId, data) the surface callback hears.
class SurfaceEvents : public Tarnby::SurfaceTransferCallback {
public:
    using Event = std::tuple<uint32_t, uint32_t, std::string>;
    int32_t OnEvent(uint32_t code, uint32_t eventId, std::string &data) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        events_.emplace_back(code, eventId, data);
        return 0;
    }
    std::vector<Event> Events() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return events_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<Event> events_;
};

TEST_F(EmulatorTest, AudioTransferFollowsItsStates)
{
    auto &audio = Tarnby::AudioTransferAbility::GetInstance();
    const auto business = static_cast<Tarnby::BusinessType>(2);
    auto [status, connId] = audio.InitAudioTransfer("peer-network-id", "Speaker", business);
    ASSERT_EQ(status, EMU_OK);
    ASSERT_GT(connId, 0);
    EXPECT_EQ(emulator_.AudioState(connId), TransferState::INITIALISED);
    EXPECT_EQ(audio.StopAudioTransfer(connId), EMU_ERR_WRONG_STATE);
    EXPECT_EQ(audio.StartAudioTransfer(connId), EMU_OK);
    EXPECT_EQ(emulator_.AudioState(connId), TransferState::STARTED);
    EXPECT_EQ(audio.StartAudioTransfer(connId), EMU_ERR_WRONG_STATE);
    EXPECT_EQ(audio.DeInitAudioTransfer(connId, business), EMU_ERR_WRONG_STATE); // stop first
    EXPECT_EQ(audio.StopAudioTransfer(connId), EMU_OK);
    EXPECT_EQ(emulator_.AudioState(connId), TransferState::STOPPED);
    EXPECT_EQ(audio.StartAudioTransfer(connId), EMU_OK); // a stopped transfer starts again
    EXPECT_EQ(audio.StopAudioTransfer(connId), EMU_OK);
    EXPECT_EQ(audio.DeInitAudioTransfer(connId, business), EMU_OK);
    EXPECT_EQ(emulator_.AudioState(connId), TransferState::NONE);
    EXPECT_EQ(audio.StartAudioTransfer(connId), EMU_ERR_UNKNOWN_CONNECTION);
    EXPECT_NE(audio.InitAudioTransfer("peer-network-id", "Speaker", business).second, connId); // ids are fresh
}

TEST_F(EmulatorTest, SurfaceTransferTellsItsCallback)
{
    auto &surface = Tarnby::SurfaceTransferAbility::GetInstance();
    auto events = sptr<SurfaceEvents>::MakeSptr();
    const char deviceData[] = "device";
    auto device = std::make_shared<Tarnby::RemoteDevice>();
    device->firstText = "Living room TV";
    device->dataLen = sizeof(deviceData);
    device->data = deviceData;
    int32_t connId = surface.InitSurfaceTransfer(5, device, events);
    ASSERT_GT(connId, 0);
    EXPECT_EQ(emulator_.SurfaceState(connId), TransferState::INITIALISED);

    auto param = std::make_shared<Tarnby::ScreenParam>();
    param->firstValue = 1920;
    std::string text = "portrait";
    EXPECT_EQ(surface.SetScreenParam(connId, static_cast<Tarnby::CastSetScreenParamType>(1), param), EMU_OK);
    EXPECT_EQ(surface.CastOperation(connId, static_cast<Tarnby::CastOperationType>(7)), EMU_ERR_WRONG_STATE);
    EXPECT_EQ(surface.StartSurfaceTransfer(connId, "surface", "h264"), EMU_OK);
    EXPECT_EQ(surface.CastOperation(connId, static_cast<Tarnby::CastOperationType>(7)), EMU_OK);
    EXPECT_EQ(surface.SetVirtualDisplayParam(connId, 2, text), EMU_OK);
    EXPECT_EQ(surface.DeInitSurfaceTransfer(connId), EMU_ERR_WRONG_STATE); // stop first
    EXPECT_EQ(surface.StopSurfaceTransfer(connId), EMU_OK);
    EXPECT_EQ(emulator_.SendSurfaceEvent(connId, 10001, 42, "pushed"), 0);
    EXPECT_EQ(surface.DeInitSurfaceTransfer(connId), EMU_OK);
    EXPECT_EQ(surface.StopSurfaceTransfer(connId), EMU_ERR_UNKNOWN_CONNECTION);

    const std::string id = std::to_string(connId);
    std::vector<SurfaceEvents::Event> expected = {
        {0, 40001, "{\"connId\":" + id + ",\"state\":\"started\"}"},
        {7, 10001, "{\"connId\":" + id + ",\"operation\":7}"},
        {0, 40002, "{\"connId\":" + id + ",\"state\":\"stopped\"}"},
        {42, 10001, "pushed"},
    };
    EXPECT_EQ(events->Events(), expected);
    TarnbyEmulator::EmulatorEvent screen;
    ASSERT_TRUE(emulator_.WaitForEvent("surface.screen", 0ms, &screen));
    EXPECT_NE(screen.text.find("[1920,0,0,0,0]"), std::string::npos) << screen.text;
}
} // namespace
} // namespace OHOS::TarnbyTest
