// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_TEST_SERVICE_FIXTURE_H
#define TARNBY_TEST_SERVICE_FIXTURE_H

// The one fixture of the tests that talk to the service: an empty system ability manager, no shared proxy in the
// library, the service emulator running under 70633 and the log captured; all of it undone after the test. A test
// that needs the service to answer oddly scripts it with Script(); what the service read is in Requests().
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "host_samgr.h"
#include "log_capture.h"
#include "tarnby_emulator.h"
#include "tarnby_proxy.h"

namespace OHOS::TarnbyTest {
using namespace std::chrono_literals;
using TarnbyEmulator::DecodedRequest;
using TarnbyEmulator::ScriptedReply;

class ServiceTest : public testing::Test {
protected:
    void SetUp() override
    {
        RemoveService();
        ASSERT_TRUE(emulator_.Start());
    }
    void TearDown() override
    {
        emulator_.SetRequestHook(nullptr);
        emulator_.Stop();
        RemoveService();
    }

    // No service from here on: nothing registered under 70633 and no shared proxy in the library.
    void RemoveService()
    {
        HostSamgr::Reset();
        Tarnby::TarnbyProxy::DestoryInstance();
    }
    // Every request is answered by `answer` (after it has seen the decoded request) with int32 values and status 0.
    void Script(std::function<std::vector<int32_t>(const DecodedRequest &)> answer)
    {
        emulator_.SetRequestHook([answer](const DecodedRequest &request) {
            return std::optional<ScriptedReply>(ScriptedReply{0, answer(request)});
        });
    }
    // Every request fails at the transport with `status` and no reply data.
    void ScriptTransportFailure(int status = 5)
    {
        emulator_.SetRequestHook([status](const DecodedRequest &) {
            return std::optional<ScriptedReply>(ScriptedReply{status, {}});
        });
    }
    // The one request that reached the service (an empty one when there is not exactly one).
    DecodedRequest OnlyRequest() const
    {
        auto requests = emulator_.Requests();
        EXPECT_EQ(requests.size(), 1u);
        return requests.size() == 1 ? requests.front() : DecodedRequest{};
    }

    // Polls `done` (work of IPC threads) for up to five seconds.
    static bool Eventually(const std::function<bool()> &done)
    {
        for (int round = 0; round < 5000 && !done(); ++round) {
            std::this_thread::sleep_for(1ms);
        }
        return done();
    }

    TarnbyEmulator::Emulator emulator_;
    LogCapture logs_;
};
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_SERVICE_FIXTURE_H
