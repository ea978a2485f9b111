// What one small library request costs beside what the host IPC itself costs, in one run:
//   a bare synchronous round trip through a proxy (one int32 each way);
//   a library request with one int32 field (StartAudioTransfer) to a minimal service under 70633, which answers 0;
//   a condition-variable ping-pong between two threads, the floor of any hand-over to an IPC thread.
// The library logs about five info lines per request: run with stderr to /dev/null to leave the terminal out.
#include <benchmark/benchmark.h>

#include <condition_variable>
#include <cstdio>
#include <map>
#include <mutex>
#include <string>
#include <thread>

#include "audio_transfer_ability.h"
#include "host_ipc_proxy.h"
#include "ipc_object_stub.h"
#include "iservice_registry.h"
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

// Keeps each benchmark's time per iteration so that the ratios can be printed after the table. With
// --benchmark_repetitions the medians are compared (add --benchmark_enable_random_interleaving=true so that a
// burst of load on the machine spreads over all three instead of landing on one).
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const auto &run : runs) {
            bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (!run.error_occurred && (median || run.run_type == Run::RT_Iteration)) {
                (median ? medians_ : lastRuns_)[run.run_name.function_name] = run.GetAdjustedRealTime();
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void PrintRatios() const
    {
        double bare = Get("BM_BareRoundTrip");
        if (bare <= 0) {
            return;
        }
        std::printf("%s library request / bare round trip: %.2fx (goal <= 1.2x)\n", Kind(),
                    Get("BM_LibraryRequest") / bare);
        std::printf("%s condvar ping-pong / bare round trip: %.2fx\n", Kind(), Get("BM_CondvarPingPong") / bare);
    }

private:
    const char *Kind() const
    {
        return medians_.empty() ? "last run:" : "medians:";
    }
    double Get(const std::string &name) const
    {
        const auto &times = medians_.empty() ? lastRuns_ : medians_;
        auto found = times.find(name);
        return found == times.end() ? 0 : found->second;
    }
    std::map<std::string, double> lastRuns_;
    std::map<std::string, double> medians_;
};
} // namespace
} // namespace OHOS::IpcBenchmark

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    OHOS::IpcBenchmark::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
    benchmark::Shutdown();
    return 0;
}
