// SPDX-License-Identifier: Apache-2.0
// What one small library request costs beside what the host IPC itself costs, in one run:
//   a bare synchronous round trip through a proxy (one int32 each way);
//   a library request with one int32 field (StartAudioTransfer) to a minimal service under 70633, which answers 0;
//   a condition-variable ping-pong between two threads, the floor of any hand-over to an IPC thread.
// The library logs about five info lines per request: run with stderr to /dev/null to leave the terminal out.
#include <benchmark/benchmark.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "audio_transfer_ability.h"
#include "host_ipc_proxy.h"
#include "ipc_object_stub.h"
#include "iservice_registry.h"
#include "ratio_reporter.h"
#include "tarnby_proxy.h"

namespace OHOS::IpcBenchmark {
namespace {
constexpr int32_t TARNBY_SA_ID = 70633;

// Answers every request with int32 0 and reads nothing: the service side costs as little as it can.
class ZeroService : public IPCObjectStub {
public:
    ZeroService() : IPCObjectStub(u"ohos.ITarnby.ITarnbyService") {}
    int OnRemoteRequest(uint32_t, MessageParcel &, MessageParcel &reply, MessageOption &) override
    {
        return reply.WriteInt32(0) ? 0 : -1;
    }
};

void BM_BareRoundTrip(benchmark::State &state)
{
    sptr<IRemoteObject> stub = new ZeroService();
    sptr<IRemoteObject> proxy = HostIpc::GetProxy(stub);
    for (auto _ : state) {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        data.WriteInt32(1);
        benchmark::DoNotOptimize(proxy->SendRequest(1, data, reply, option));
        benchmark::DoNotOptimize(reply.ReadInt32());
    }
}
BENCHMARK(BM_BareRoundTrip);

void BM_LibraryRequest(benchmark::State &state)
{
    sptr<IRemoteObject> service = new ZeroService();
    auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    manager->AddSystemAbility(TARNBY_SA_ID, service);
    auto &audio = Tarnby::AudioTransferAbility::GetInstance();
    if (audio.StartAudioTransfer(1) != 0) {
        state.SkipWithError("the library request did not reach the service");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(audio.StartAudioTransfer(1));
    }
    Tarnby::TarnbyProxy::DestoryInstance();
    manager->RemoveSystemAbility(TARNBY_SA_ID);
}
BENCHMARK(BM_LibraryRequest);

void BM_CondvarPingPong(benchmark::State &state)
{
    std::mutex mutex;
    std::condition_variable cv;
    int turn = 0; // 1: the other thread's turn, 2: back to the caller, -1: stop
    std::thread other([&] {
        std::unique_lock<std::mutex> lock(mutex);
        while (true) {
            cv.wait(lock, [&] { return turn == 1 || turn == -1; });
            if (turn == -1) {
                return;
            }
            turn = 2;
            cv.notify_all();
        }
    });
    for (auto _ : state) {
        std::unique_lock<std::mutex> lock(mutex);
        turn = 1;
        cv.notify_all();
        cv.wait(lock, [&] { return turn == 2; });
    }
    {
        std::lock_guard<std::mutex> lock(mutex);
        turn = -1;
    }
    cv.notify_all();
    other.join();
}
BENCHMARK(BM_CondvarPingPong);

} // namespace
} // namespace OHOS::IpcBenchmark

int main(int argc, char **argv)
{
    OHOS::TarnbyBenchmark::RunWithRatios(
        argc, argv,
        {{"library request / bare round trip (goal <= 1.2x)", "BM_LibraryRequest", "BM_BareRoundTrip", false},
         {"condvar ping-pong / bare round trip", "BM_CondvarPingPong", "BM_BareRoundTrip", false}});
    return 0;
}
