// SPDX-License-Identifier: Apache-2.0
// The host IPC's costs as curves, each point beside its floor measured in the same run, written as CSV:
//   latency percentiles (p50/p90/p99/p99.9) against concurrent client threads, vs that many raw ping-pong pairs;
//   round-trip time against payload size (64 B to 128 MiB), vs a ping-pong plus one copy into fresh pages;
//   one-way request throughput against client threads, vs raw one-way messages to a draining reader;
//   callback fan-out (one service calling back 1, 10, 100 objects in each of 1-8 processes), vs ping-pongs;
//   memory per idle connection and per registered callback object (RSS of 1,000 of each).
// --mode xproc (default) runs the service in a second process (this program, "--serve"); --mode inproc keeps it in
// this process behind the simulated boundary (the floor there is a condition-variable ping-pong between threads).
// --csv-dir DIR names the folder of the CSV files; --background-load N adds N spinning processes.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "background_load.h"
#include "host_ipc_proxy.h"
#include "host_xproc.h"
#include "ipc_object_stub.h"
#include "iservice_registry.h"
#include "message_parcel.h"
#include "peer_process.h"

namespace OHOS::CurvesBenchmark {
namespace {
using TarnbyBenchmark::EndProcess;
using TarnbyBenchmark::FindAbility;
using TarnbyBenchmark::SpawnSelf;
using Clock = std::chrono::steady_clock;
constexpr int32_t PEER_ID = 5002;
constexpr uint32_t NULL_CALL = 1;
constexpr uint32_t REGISTER = 2; // an object to call back
constexpr uint32_t FAN_OUT = 3;  // calls every registered object once -> the number called
constexpr uint32_t FORGET = 4;   // drops every registered object
constexpr size_t FRAME_HEADER = 72;
constexpr int MEMORY_COUNT = 1000;
constexpr size_t PERCENTILE_SAMPLES = 4000;

bool g_crossProcess = true;
sptr<IRemoteObject> g_peerStub; // the peer in this process (in-process mode)

// --- the peer: answers null calls, keeps objects and calls them back --------------------------------------------

class Peer : public IPCObjectStub {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (code == REGISTER) {
            objects_.push_back(data.ReadRemoteObject());
        } else if (code == FORGET) {
            objects_.clear();
        } else if (code == FAN_OUT) {
            int32_t called = 0;
            for (const auto &object : objects_) {
                MessageParcel request;
                MessageParcel answer;
                MessageOption sync;
                called += object != nullptr && object->SendRequest(NULL_CALL, request, answer, sync) == 0 ? 1 : 0;
            }
            return reply.WriteInt32(called) ? 0 : -1;
        }
        return 0;
    }

private:
    std::mutex mutex_;
    std::vector<sptr<IRemoteObject>> objects_;
};

class Silent : public IPCObjectStub {
public:
    int OnRemoteRequest(uint32_t, MessageParcel &, MessageParcel &, MessageOption &) override
    {
        return 0;
    }
};

sptr<IRemoteObject> PeerObject()
{
    static sptr<IRemoteObject> peer = g_crossProcess ? FindAbility(PEER_ID) : HostIpc::GetProxy(g_peerStub);
    return peer;
}

int Call(uint32_t code, MessageParcel &data, int flags = MessageOption::TF_SYNC)
{
    MessageParcel reply;
    MessageOption option(flags);
    return PeerObject()->SendRequest(code, data, reply, option);
}

uint64_t RssKiB(pid_t pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string name;
    uint64_t value = 0;
    while (status >> name) {
        if (name == "VmRSS:" && status >> value) {
            return value;
        }
        status.ignore(1 << 20, '\n');
    }
    return 0;
}

// --- floors --------------------------------------------------------------------------------------------------------

// A ping-pong partner: a process echoing on a socketpair (across processes), or a thread answering through a
// condition variable (in one process). Each Ping() is one round trip.
class PingPartner {
public:
    static constexpr char PING = 1;

    PingPartner()
    {
        if (g_crossProcess) {
            socketpair(AF_UNIX, SOCK_SEQPACKET, 0, pair_);
            echo_ = fork();
            if (echo_ == 0) {
                close(pair_[0]);
                char message[FRAME_HEADER];
                while (read(pair_[1], message, sizeof(message)) > 0) {
                    if (message[0] == PING && write(pair_[1], message, sizeof(message)) <= 0) {
                        break;
                    }
                }
                _exit(0);
            }
            close(pair_[1]);
        } else {
            thread_ = std::thread([this] {
                std::unique_lock<std::mutex> lock(mutex_);
                while (true) {
                    cv_.wait(lock, [this] { return turn_ != 0 || pending_ > 0; });
                    pending_ = 0; // one-way messages: taken, not answered
                    if (turn_ < 0) {
                        return;
                    }
                    if (turn_ > 0) {
                        turn_ = 0;
                        cv_.notify_all();
                    }
                }
            });
        }
    }
    ~PingPartner()
    {
        if (g_crossProcess) {
            shutdown(pair_[0], SHUT_RDWR); // the echoes forked later hold copies of this end
            close(pair_[0]);
            waitpid(echo_, nullptr, 0);
            return;
        }
        {
            std::lock_guard<std::mutex> lock(mutex_);
            turn_ = -1;
        }
        cv_.notify_all();
        thread_.join();
    }
    void Ping()
    {
        if (g_crossProcess) {
            char message[FRAME_HEADER] = {PING};
            if (write(pair_[0], message, sizeof(message)) > 0) {
                (void)read(pair_[0], message, sizeof(message));
            }
            return;
        }
        std::unique_lock<std::mutex> lock(mutex_);
        turn_ = 1;
        cv_.notify_all();
        cv_.wait(lock, [this] { return turn_ == 0; });
    }
    // A message the partner takes without answering.
    void Send()
    {
        if (g_crossProcess) {
            char message[FRAME_HEADER] = {};
            (void)write(pair_[0], message, sizeof(message));
            return;
        }
        std::lock_guard<std::mutex> lock(mutex_);
        pending_++;
        cv_.notify_all();
    }

private:
    int pair_[2] = {-1, -1};
    pid_t echo_ = -1;
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable cv_;
    int turn_ = 0;
    int pending_ = 0;
};

// --- measurement helpers -------------------------------------------------------------------------------------------

// Runs `round` `perThread` times on each of `threads` threads (each with its own state from `prepare`), timing
// every round; the percentiles go to the state's counters in microseconds.
template <typename Prepare, typename Round>
void TimeRounds(benchmark::State &state, int threads, Prepare prepare, Round round)
{
    size_t perThread = std::max<size_t>(PERCENTILE_SAMPLES / threads, 500);
    std::vector<std::vector<double>> samples(threads);
    for (auto _ : state) {
        std::vector<std::thread> workers;
        for (int t = 0; t < threads; t++) {
            workers.emplace_back([&, t] {
                auto context = prepare();
                samples[t].reserve(perThread);
                for (size_t i = 0; i < perThread; i++) {
                    Clock::time_point start = Clock::now();
                    round(context);
                    samples[t].push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
                }
            });
        }
        for (auto &worker : workers) {
            worker.join();
        }
    }
    std::vector<double> all;
    for (const auto &part : samples) {
        all.insert(all.end(), part.begin(), part.end());
    }
    std::sort(all.begin(), all.end());
    for (const auto &[name, quantile] :
         {std::pair<const char *, double>{"p50", 0.5}, {"p90", 0.9}, {"p99", 0.99}, {"p99.9", 0.999}}) {
        state.counters[name] = all.empty() ? 0 : all[std::min(all.size() - 1, size_t(quantile * all.size()))];
    }
}

struct NoContext {};

// --- latency against client threads -------------------------------------------------------------------------------

void BM_Latency(benchmark::State &state)
{
    TimeRounds(
        state, state.range(0), [] { return NoContext{}; },
        [](NoContext &) {
            MessageParcel data;
            if (Call(NULL_CALL, data) != 0) {
                std::abort(); // a benchmark of a broken runtime means nothing
            }
        });
}
BENCHMARK(BM_Latency)->ArgName("threads")->RangeMultiplier(2)->Range(1, 16)->Iterations(1)->UseRealTime();

void BM_LatencyFloor(benchmark::State &state)
{
    TimeRounds(
        state, state.range(0), [] { return std::make_unique<PingPartner>(); },
        [](std::unique_ptr<PingPartner> &partner) { partner->Ping(); });
}
BENCHMARK(BM_LatencyFloor)->ArgName("threads")->RangeMultiplier(2)->Range(1, 16)->Iterations(1)->UseRealTime();

// --- round trip against payload size -------------------------------------------------------------------------------

constexpr int64_t PAYLOAD_MIN = 64;
constexpr int64_t PAYLOAD_MAX = 128 << 20;

void BM_Payload(benchmark::State &state)
{
    std::vector<char> bytes(state.range(0), 'p');
    for (auto _ : state) {
        MessageParcel data;
        data.SetMaxCapacity(bytes.size() + 4096);
        if (!data.WriteRawData(bytes.data(), bytes.size()) || Call(NULL_CALL, data) != 0) {
            state.SkipWithError("the payload did not arrive");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Payload)->ArgName("bytes")->RangeMultiplier(2)->Range(PAYLOAD_MIN, PAYLOAD_MAX)->UseRealTime();

void BM_PayloadFloor(benchmark::State &state)
{
    std::vector<char> bytes(state.range(0), 'f');
    PingPartner partner;
    for (auto _ : state) {
        void *fresh = mmap(nullptr, bytes.size(), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (fresh == MAP_FAILED) {
            state.SkipWithError("no fresh pages");
            break;
        }
        std::memcpy(fresh, bytes.data(), bytes.size());
        benchmark::DoNotOptimize(fresh);
        partner.Ping();
        munmap(fresh, bytes.size());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_PayloadFloor)->ArgName("bytes")->RangeMultiplier(2)->Range(PAYLOAD_MIN, PAYLOAD_MAX)->UseRealTime();

// --- one-way throughput against client threads ---------------------------------------------------------------------

constexpr int ONE_WAY_BURST = 200; // below what a connection lets wait, so that none is dropped

// Each thread sends its burst of one-way requests, then one synchronous request, which its connection answers
// only after the requests before it were taken off the socket.
void BM_OneWay(benchmark::State &state)
{
    int threads = state.range(0);
    for (auto _ : state) {
        std::vector<std::thread> workers;
        for (int t = 0; t < threads; t++) {
            workers.emplace_back([] {
                for (int i = 0; i < ONE_WAY_BURST; i++) {
                    MessageParcel data;
                    Call(NULL_CALL, data, MessageOption::TF_ASYNC);
                }
                MessageParcel data;
                Call(NULL_CALL, data);
            });
        }
        for (auto &worker : workers) {
            worker.join();
        }
    }
    state.SetItemsProcessed(state.iterations() * threads * ONE_WAY_BURST);
}
BENCHMARK(BM_OneWay)->ArgName("threads")->RangeMultiplier(2)->Range(1, 8)->UseRealTime();

// The same number of raw one-way messages, each thread to its own partner, then one ping.
void BM_OneWayFloor(benchmark::State &state)
{
    int threads = state.range(0);
    std::vector<std::unique_ptr<PingPartner>> partners;
    for (int t = 0; t < threads; t++) {
        partners.push_back(std::make_unique<PingPartner>());
    }
    for (auto _ : state) {
        std::vector<std::thread> workers;
        for (int t = 0; t < threads; t++) {
            workers.emplace_back([&partners, t] {
                for (int i = 0; i < ONE_WAY_BURST; i++) {
                    partners[t]->Send();
                }
                partners[t]->Ping();
            });
        }
        for (auto &worker : workers) {
            worker.join();
        }
    }
    state.SetItemsProcessed(state.iterations() * threads * ONE_WAY_BURST);
}
BENCHMARK(BM_OneWayFloor)->ArgName("threads")->RangeMultiplier(2)->Range(1, 8)->UseRealTime();

// --- callback fan-out ----------------------------------------------------------------------------------------------

// `processes` client processes, each registering `objects` callback objects with the peer; each round the peer calls
// every one of them once. Across processes only.
void BM_FanOut(benchmark::State &state)
{
    int objects = state.range(0);
    int processes = state.range(1);
    MessageParcel forget;
    Call(FORGET, forget);
    std::vector<pid_t> clients;
    for (int p = 0; p < processes; p++) {
        clients.push_back(SpawnSelf({"--fan-out-client", std::to_string(objects)}));
    }
    for (auto _ : state) {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        if (PeerObject()->SendRequest(FAN_OUT, data, reply, option) != 0 || reply.ReadInt32() != objects * processes) {
            state.SkipWithError("not every callback object was called");
            break;
        }
    }
    Call(FORGET, forget);
    for (pid_t client : clients) {
        EndProcess(client);
    }
    state.counters["callbacks"] = objects * processes;
    state.SetItemsProcessed(state.iterations() * objects * processes);
}

// --- memory --------------------------------------------------------------------------------------------------------

int ConnectRaw(const std::string &path)
{
    int fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    sockaddr_un address{AF_UNIX, {}};
    std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    if (fd >= 0 && connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

pid_t g_peerPid = -1;

// RSS of the peer process before and after 1,000 idle connections to it, in bytes per connection.
void BM_MemoryPerIdleConnection(benchmark::State &state)
{
    for (auto _ : state) {
        uint64_t before = RssKiB(g_peerPid);
        std::vector<int> idle;
        std::string path = HostIpc::CrossProcessDirectory() + "/sa-" + std::to_string(PEER_ID);
        for (int i = 0; i < MEMORY_COUNT; i++) {
            idle.push_back(ConnectRaw(path));
        }
        MessageParcel data;
        Call(NULL_CALL, data);                                       // the peer has taken them all by now
        std::this_thread::sleep_for(std::chrono::milliseconds(200)); // and set each up
        uint64_t after = RssKiB(g_peerPid);
        for (int fd : idle) {
            close(fd);
        }
        state.counters["bytes_each"] = after > before ? (after - before) * 1024.0 / MEMORY_COUNT : 0.0;
    }
}

// RSS of both sides before and after 1,000 callback objects of this process are registered with the peer.
void BM_MemoryPerCallbackObject(benchmark::State &state)
{
    for (auto _ : state) {
        MessageParcel forget;
        Call(FORGET, forget);
        pid_t self = getpid();
        uint64_t peerBefore = RssKiB(g_crossProcess ? g_peerPid : self);
        uint64_t ownBefore = RssKiB(self);
        std::vector<sptr<IRemoteObject>> objects;
        for (int i = 0; i < MEMORY_COUNT; i++) {
            objects.push_back(new Silent());
            MessageParcel data;
            data.WriteRemoteObject(objects.back());
            Call(REGISTER, data);
        }
        uint64_t peerAfter = RssKiB(g_crossProcess ? g_peerPid : self);
        uint64_t ownAfter = RssKiB(self);
        Call(FORGET, forget);
        state.counters["peer_bytes_each"] =
            peerAfter > peerBefore ? (peerAfter - peerBefore) * 1024.0 / MEMORY_COUNT : 0;
        state.counters["own_bytes_each"] = ownAfter > ownBefore ? (ownAfter - ownBefore) * 1024.0 / MEMORY_COUNT : 0;
    }
}
BENCHMARK(BM_MemoryPerCallbackObject)->Iterations(1)->UseRealTime();

// --- CSV -----------------------------------------------------------------------------------------------------------

// The console table, and one CSV file per benchmark family in the folder: the arguments, the real time per
// iteration in microseconds, the items or bytes per second and the counters, one row per run (the median of the
// repetitions when there are several).
class CsvReporter : public benchmark::ConsoleReporter {
public:
    CsvReporter(std::string folder, std::string mode) : folder_(std::move(folder)), mode_(std::move(mode)) {}

    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            bool single = run.run_type == Run::RT_Iteration && run.repetitions <= 1;
            if (!run.error_occurred && (median || single)) {
                Write(run);
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

private:
    void Write(const Run &run)
    {
        std::string family = run.run_name.function_name;
        std::string path = folder_ + "/" + mode_ + "_" + family.substr(3) + ".csv";
        bool fresh = written_.insert(path).second;
        std::ofstream csv(path, fresh ? std::ios::trunc : std::ios::app);
        std::vector<std::string> arguments = Arguments(run.run_name.args);
        if (fresh) {
            csv << ArgumentNames(run.run_name.args) << "time_us";
            for (const auto &[name, counter] : run.counters) {
                csv << "," << name;
            }
            csv << "\n";
        }
        for (const std::string &argument : arguments) {
            csv << argument << ",";
        }
        csv << run.GetAdjustedRealTime() * TimeUnitToMicros(run.time_unit);
        for (const auto &[name, counter] : run.counters) {
            csv << "," << counter.value;
        }
        csv << "\n";
    }
    // "threads:4/x:2" -> "threads,x," and {"4", "2"}
    static std::vector<std::string> Arguments(const std::string &args)
    {
        std::vector<std::string> values;
        for (size_t at = 0; at < args.size();) {
            size_t colon = args.find(':', at);
            size_t slash = args.find('/', at);
            if (slash == std::string::npos) {
                slash = args.size();
            }
            values.push_back(args.substr(colon == std::string::npos || colon > slash ? at : colon + 1,
                                         slash - (colon == std::string::npos || colon > slash ? at : colon + 1)));
            at = slash + 1;
        }
        return values;
    }
    static std::string ArgumentNames(const std::string &args)
    {
        std::string names;
        for (size_t at = 0; at < args.size();) {
            size_t colon = args.find(':', at);
            size_t slash = std::min(args.find('/', at), args.size());
            names += args.substr(at, (colon < slash ? colon : slash) - at) + ",";
            at = slash + 1;
        }
        return names;
    }
    static double TimeUnitToMicros(benchmark::TimeUnit unit)
    {
        switch (unit) {
            case benchmark::kNanosecond:
                return 1e-3;
            case benchmark::kMillisecond:
                return 1e3;
            case benchmark::kSecond:
                return 1e6;
            default:
                return 1;
        }
    }

    std::string folder_;
    std::string mode_;
    std::set<std::string> written_;
};

// --- roles ---------------------------------------------------------------------------------------------------------

int Serve()
{
    auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (manager->AddSystemAbility(PEER_ID, new Peer()) != 0) {
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);
    for (;;) {
        pause();
    }
}

int FanOutClient(int objects)
{
    std::vector<sptr<IRemoteObject>> kept;
    for (int i = 0; i < objects; i++) {
        kept.push_back(new Silent());
        MessageParcel data;
        data.WriteRemoteObject(kept.back());
        if (Call(REGISTER, data) != 0) {
            return 1;
        }
    }
    std::printf("registered\n");
    std::fflush(stdout);
    for (;;) {
        pause();
    }
}

std::string TakeOption(int &argc, char **argv, const char *flag, const std::string &fallback)
{
    std::string value = fallback;
    int kept = 1;
    for (int i = 1; i < argc; i++) {
        if (std::strcmp(argv[i], flag) == 0 && i + 1 < argc) {
            value = argv[++i];
        } else {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;
    argv[argc] = nullptr;
    return value;
}
} // namespace

int Main(int argc, char **argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--serve") == 0) {
        return Serve();
    }
    if (argc > 2 && std::strcmp(argv[1], "--fan-out-client") == 0) {
        return FanOutClient(std::atoi(argv[2]));
    }
    std::string mode = TakeOption(argc, argv, "--mode", "xproc");
    std::string folder = TakeOption(argc, argv, "--csv-dir", ".");
    int load = TarnbyBenchmark::BackgroundLoad::TakeCount(argc, argv);
    g_crossProcess = mode == "xproc";
    if (!g_crossProcess && mode != "inproc") {
        std::fprintf(stderr, "--mode is xproc or inproc\n");
        return 2;
    }
    char directory[] = "/tmp/curves-bench-XXXXXX";
    if (g_crossProcess && getenv("OHOS_HOST_IPC_DIR") == nullptr && mkdtemp(directory) != nullptr) {
        setenv("OHOS_HOST_IPC_DIR", directory, 1);
    }
    if (g_crossProcess) {
        g_peerPid = SpawnSelf({"--serve"});
    } else {
        unsetenv("OHOS_HOST_IPC_DIR");
        g_peerStub = new Peer();
    }
    if (PeerObject() == nullptr) {
        std::fprintf(stderr, "the peer is not there\n");
        EndProcess(g_peerPid);
        return 1;
    }
    if (g_crossProcess) { // fan-out over processes, and connections: the simulated boundary has neither
        benchmark::RegisterBenchmark("BM_FanOut", BM_FanOut)
            ->ArgNames({"objects", "processes"})
            ->ArgsProduct({{1, 10, 100}, {1, 2, 4, 8}})
            ->UseRealTime();
        benchmark::RegisterBenchmark("BM_MemoryPerIdleConnection", BM_MemoryPerIdleConnection)
            ->Iterations(1)
            ->UseRealTime();
    }
    benchmark::Initialize(&argc, argv);
    int status = 0;
    {
        TarnbyBenchmark::BackgroundLoad spinners(load);
        CsvReporter reporter(folder, mode);
        benchmark::RunSpecifiedBenchmarks(&reporter);
    }
    benchmark::Shutdown();
    EndProcess(g_peerPid);
    return status;
}
} // namespace OHOS::CurvesBenchmark

int main(int argc, char **argv)
{
    return OHOS::CurvesBenchmark::Main(argc, argv);
}
