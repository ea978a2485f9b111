// SPDX-License-Identifier: Apache-2.0
// Many threads at once on the library's shared paths against the service emulator: media requests whose events come
// back on IPC threads while the service dies and comes back, beside proxy lookups and drops and log sinks swapped
// under the logging threads. Bounded by iteration counts, not time. Each call must end
// with one of its documented results; the sanitizer builds (ThreadSanitizer above all) watch everything else.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <set>
#include <thread>
#include <vector>

#include "host_log.h"
#include "host_samgr.h"
#include "surface_transfer_ability.h"
#include "tarnby_emulator.h"
#include "tarnby_proxy.h"

namespace OHOS::TarnbyTest {
namespace {
using namespace TarnbyEmulator;
using Tarnby::TarnbyProxy;

// Runs the jobs on threads of their own and, until they end, two more: one looks the shared proxy up and drops it
// over and over, one swaps the log sink back and forth. Returns how many log records reached the swapped-in sinks.
int RunTogether(std::vector<std::function<void()>> jobs)
{
    std::atomic<bool> done{false};
    std::atomic<int> logged{0};
    std::thread lookups([&done] {
        for (int i = 0; !done; ++i) {
            TarnbyProxy::GetTarnbyRemoteObject();
            if (i % 16 == 0) {
                TarnbyProxy::DestoryInstance();
            }
        }
    });
    std::thread sinks([&done, &logged] {
        while (!done) {
            HiLogSetSink([&logged](const HiLogRecord &) { logged.fetch_add(1, std::memory_order_relaxed); });
        }
        HiLogSetSink([](const HiLogRecord &) {});
    });
    std::vector<std::thread> threads(jobs.begin(), jobs.end());
    for (auto &thread : threads) {
        thread.join();
    }
    done = true;
    lookups.join();
    sinks.join();
    return logged;
}

class Events : public Tarnby::SurfaceTransferCallback {
public:
    int32_t OnEvent(uint32_t code, uint32_t, std::string &) override
    {
        deaths += code == 1012;
        return 0;
    }
    std::atomic<int> deaths{0};
};

class StressTest : public testing::Test {
protected:
    void SetUp() override
    {
        HiLogSetSink([](const HiLogRecord &) {});
        HostSamgr::Reset();
        TarnbyProxy::DestoryInstance();
        ASSERT_TRUE(emulator_.Start());
    }
    void TearDown() override
    {
        emulator_.Stop();
        TarnbyProxy::DestoryInstance();
        HiLogSetSink(nullptr);
    }
    Emulator emulator_;
};

TEST_F(StressTest, MediaRequestsWhileTheServiceDiesAndReturns)
{
    auto &surface = Tarnby::SurfaceTransferAbility::GetInstance();
    ASSERT_TRUE(surface.SetDeathRecipient());
    static const char bytes[] = "device";
    auto device = std::make_shared<Tarnby::RemoteDevice>(Tarnby::RemoteDevice{"tv", "", "", "", 0, 7, bytes});
    // The first death reaches the callback of the latest initialisation, on an IPC thread.
    auto witness = sptr<Events>::MakeSptr();
    ASSERT_GT(surface.InitSurfaceTransfer(1, device, witness), 0);
    emulator_.Kill();
    for (int wait = 0; wait < 500 && witness->deaths == 0; ++wait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(witness->deaths, 1);
    ASSERT_TRUE(emulator_.Restart());

    // The emulator's refusals, its stopped object, no service, a failed send.
    const std::set<int32_t> outcomes = {
        EMU_OK, EMU_ERR_UNKNOWN_CONNECTION, EMU_ERR_WRONG_STATE, EMU_ERR_STOPPED, 1012, 0x1B8003F5};
    auto casts = [&] {
        for (int i = 0; i < 300; ++i) {
            int32_t connId = surface.InitSurfaceTransfer(i, device, sptr<Events>::MakeSptr());
            EXPECT_TRUE(connId > 0 || outcomes.count(connId)) << connId;
            // Start and stop make the emulator send an event to the callback.
            for (int32_t result : {surface.StartSurfaceTransfer(connId, "screen", "h264"),
                                   surface.StopSurfaceTransfer(connId), surface.DeInitSurfaceTransfer(connId)}) {
                EXPECT_TRUE(outcomes.count(result)) << result;
            }
        }
    };
    auto deaths = [this] {
        for (int i = 0; i < 40; ++i) {
            emulator_.Kill();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            emulator_.Restart();
        }
    };
    EXPECT_GT(RunTogether({casts, casts, deaths}), 0);
    // Afterwards the service is found again and serves as before.
    TarnbyProxy::DestoryInstance();
    int32_t connId = surface.InitSurfaceTransfer(2, device, witness);
    ASSERT_GT(connId, 0);
    EXPECT_EQ(surface.StartSurfaceTransfer(connId, "screen", "h264"), EMU_OK);
}
} // namespace
} // namespace OHOS::TarnbyTest
