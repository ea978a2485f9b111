// SPDX-License-Identifier: Apache-2.0
// Costs of the host IPC across real processes, each beside the floor it is judged against:
//   a null synchronous request vs a raw SOCK_SEQPACKET ping-pong between two processes;
//   SendCollaborationData of 4,190,208 bytes to a service that reads them vs one copy of 4 MiB into fresh pages;
//   128 MiB of raw data into a callback's hook vs memcpy between warm buffers, and vs two copies into fresh pages
//   (the block is copied twice: into the sender's memfd, and out of it into the hook's buffer).
// The program runs itself as the peer process ("--serve"), which also plays the Tarnby service.
// --background-load N runs it all beside N processes that spin on the CPU.
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "background_load.h"
#include "callback_skeleton.h"
#include "collaboration_ability.h"
#include "ipc_object_stub.h"
#include "iservice_registry.h"
#include "message_parcel.h"
#include "peer_process.h"
#include "ratio_reporter.h"

namespace OHOS::XprocBenchmark {
namespace {
constexpr int32_t PEER_ID = 5001;
constexpr uint32_t NULL_CALL = 1;
constexpr uint32_t SEND_RAW = 2; // object: a callback, uint32 size -> the callback's result
constexpr size_t FRAME_HEADER = 72;
constexpr uint32_t COLLABORATION_DATA = 4190208;
constexpr size_t RAW_SIZE = MessageParcel::MAX_RAWDATA_SIZE;
constexpr int32_t TARNBY_SA_ID = 70633;
constexpr int SERVICE_CODE_FIELDS = 5;

// Takes collaboration data as a service would: the envelope, the session, the length, then every byte is read.
// It answers with 0; the bookkeeping of the emulator (event log, copies for delivery) is not what is measured here.
class ReadingService : public IPCObjectStub {
public:
    ReadingService() : IPCObjectStub(u"ohos.ITarnby.ITarnbyService") {}
    int OnRemoteRequest(uint32_t, MessageParcel &data, MessageParcel &reply, MessageOption &) override
    {
        data.ReadInterfaceToken();
        for (int field = 0; field < SERVICE_CODE_FIELDS; field++) {
            data.ReadUint32();
        }
        data.ReadInt32();
        uint32_t length = data.ReadUint32();
        const uint8_t *bytes = data.ReadUnpadBuffer(length);
        if (bytes == nullptr) {
            return -1;
        }
        uint64_t sum = 0;
        for (uint32_t at = 0; at + sizeof(uint64_t) <= length; at += sizeof(uint64_t)) {
            uint64_t word;
            std::memcpy(&word, bytes + at, sizeof(word));
            sum += word;
        }
        benchmark::DoNotOptimize(sum);
        return reply.WriteInt32(0) ? 0 : -1;
    }
};

class Peer : public IPCObjectStub {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override
    {
        if (code != SEND_RAW) {
            return 0;
        }
        sptr<IRemoteObject> callback = data.ReadRemoteObject();
        uint32_t size = data.ReadUint32();
        if (callback == nullptr || size > raw_.size()) {
            return -1;
        }
        MessageParcel request;
        request.WriteInterfaceToken(u"ohos.ITarnby.ITarnbyCallback");
        for (uint32_t field : {102u, 105u, 0u, 0u, 0u, 5u, 6u, size}) { // service code, then code, second, length
            request.WriteUint32(field);
        }
        request.WriteRawData(raw_.data(), size);
        MessageParcel answer;
        MessageOption sync;
        return callback->SendRequest(101, request, answer, sync);
    }

private:
    std::vector<char> raw_ = std::vector<char>(RAW_SIZE, 'r');
};

class RawHook : public Tarnby::CallbackSkeleton {
public:
    int32_t OnDataCallback(uint32_t, uint32_t, uint32_t dataLen, std::unique_ptr<char[]> data) override
    {
        received = data == nullptr ? 0 : dataLen;
        return 0;
    }
    uint32_t received = 0;
};

void BM_RawSocketPingPong(benchmark::State &state)
{
    int pair[2];
    socketpair(AF_UNIX, SOCK_SEQPACKET, 0, pair);
    pid_t echo = fork();
    if (echo == 0) {
        close(pair[0]); // so that the parent's close ends the loop
        char message[FRAME_HEADER];
        while (read(pair[1], message, sizeof(message)) > 0 && write(pair[1], message, sizeof(message)) > 0) {
        }
        _exit(0);
    }
    close(pair[1]);
    char message[FRAME_HEADER] = {};
    for (auto _ : state) {
        if (write(pair[0], message, sizeof(message)) != sizeof(message) ||
            read(pair[0], message, sizeof(message)) != sizeof(message)) {
            state.SkipWithError("the echo process failed");
        }
    }
    close(pair[0]);
    waitpid(echo, nullptr, 0);
}
BENCHMARK(BM_RawSocketPingPong)->UseRealTime();

void BM_NullRoundTrip(benchmark::State &state)
{
    sptr<IRemoteObject> remote = TarnbyBenchmark::FindAbility(PEER_ID);
    for (auto _ : state) {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        if (remote == nullptr || remote->SendRequest(NULL_CALL, data, reply, option) != 0) {
            state.SkipWithError("the peer does not answer");
            break;
        }
    }
}
BENCHMARK(BM_NullRoundTrip)->UseRealTime();

// Mapped and unmapped every time: the allocator would hand back the warm pages of the last round.
void BM_CopyFourMiBIntoFreshPages(benchmark::State &state)
{
    std::vector<char> source(4 << 20, 's');
    for (auto _ : state) {
        void *fresh = mmap(nullptr, source.size(), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (fresh == MAP_FAILED) {
            state.SkipWithError("no fresh pages");
            break;
        }
        std::memcpy(fresh, source.data(), source.size());
        benchmark::DoNotOptimize(fresh);
        munmap(fresh, source.size());
    }
    state.SetBytesProcessed(state.iterations() * source.size());
}
BENCHMARK(BM_CopyFourMiBIntoFreshPages)->UseRealTime();

void BM_SendCollaborationData(benchmark::State &state)
{
    auto &ability = Tarnby::CollaborationAbility::GetInstance();
    std::vector<char> data(COLLABORATION_DATA, 'd');
    for (auto _ : state) {
        if (ability.SendCollaborationData(1, data.data(), COLLABORATION_DATA) != 0) {
            state.SkipWithError("the service did not read the data");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * COLLABORATION_DATA);
}
BENCHMARK(BM_SendCollaborationData)->UseRealTime();

void BM_MemcpyWarm128MiB(benchmark::State &state)
{
    std::vector<char> from(RAW_SIZE, 'm');
    std::vector<char> to(RAW_SIZE, 0);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), RAW_SIZE);
        benchmark::DoNotOptimize(to.data());
    }
    state.SetBytesProcessed(state.iterations() * RAW_SIZE);
}
BENCHMARK(BM_MemcpyWarm128MiB)->UseRealTime()->Unit(benchmark::kMillisecond);

// The least the raw-data path can do: two copies of the block, each into pages never touched before.
void BM_TwoCopiesIntoFreshPages128MiB(benchmark::State &state)
{
    std::vector<char> source(RAW_SIZE, 's');
    for (auto _ : state) {
        const char *from = source.data();
        for (int copy = 0; copy < 2; copy++) {
            void *fresh = mmap(nullptr, RAW_SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            if (fresh == MAP_FAILED) {
                state.SkipWithError("no fresh pages");
                return;
            }
            std::memcpy(fresh, from, RAW_SIZE);
            benchmark::DoNotOptimize(fresh);
            munmap(fresh, RAW_SIZE);
        }
    }
    state.SetBytesProcessed(state.iterations() * RAW_SIZE);
}
BENCHMARK(BM_TwoCopiesIntoFreshPages128MiB)->UseRealTime()->Unit(benchmark::kMillisecond);

void BM_RawDataIntoCallbackHook(benchmark::State &state)
{
    sptr<IRemoteObject> remote = TarnbyBenchmark::FindAbility(PEER_ID);
    sptr<RawHook> hook = sptr<RawHook>::MakeSptr();
    for (auto _ : state) {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        data.WriteRemoteObject(hook->AsObject());
        data.WriteUint32(RAW_SIZE);
        if (remote == nullptr || remote->SendRequest(SEND_RAW, data, reply, option) != 0 ||
            hook->received != RAW_SIZE) {
            state.SkipWithError("the hook did not get the block");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * RAW_SIZE);
}
BENCHMARK(BM_RawDataIntoCallbackHook)->UseRealTime()->Unit(benchmark::kMillisecond);

int Serve()
{
    auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (manager->AddSystemAbility(PEER_ID, new Peer()) != 0 ||
        manager->AddSystemAbility(TARNBY_SA_ID, new ReadingService()) != 0) {
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);
    for (;;) {
        pause();
    }
}
} // namespace
} // namespace OHOS::XprocBenchmark

int main(int argc, char **argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--serve") == 0) {
        return OHOS::XprocBenchmark::Serve();
    }
    char directory[] = "/tmp/xproc-bench-XXXXXX";
    if (getenv("OHOS_HOST_IPC_DIR") == nullptr && mkdtemp(directory) != nullptr) {
        setenv("OHOS_HOST_IPC_DIR", directory, 1); // the peers find each other here, and only here
    }
    // The peer lives as long as the run: a benchmark is entered several times, and a service that ended in
    // between would leave the library holding a proxy to a dead process.
    pid_t peer = OHOS::TarnbyBenchmark::SpawnSelf({"--serve"});
    OHOS::TarnbyBenchmark::BackgroundLoad load(OHOS::TarnbyBenchmark::BackgroundLoad::TakeCount(argc, argv));
    OHOS::TarnbyBenchmark::RunWithRatios(argc, argv,
                                         {{"null round trip / socketpair ping-pong (time, goal <= 1.5x)",
                                           "BM_NullRoundTrip", "BM_RawSocketPingPong", false},
                                          {"SendCollaborationData / 4 MiB into fresh pages (time, goal <= 2.5x)",
                                           "BM_SendCollaborationData", "BM_CopyFourMiBIntoFreshPages", false},
                                          {"raw data into a hook / warm memcpy (bandwidth, goal >= 0.5x)",
                                           "BM_RawDataIntoCallbackHook", "BM_MemcpyWarm128MiB", true},
                                          {"raw data into a hook / two copies into fresh pages (bandwidth, goal >= "
                                           "0.8x)",
                                           "BM_RawDataIntoCallbackHook", "BM_TwoCopiesIntoFreshPages128MiB", true}});
    OHOS::TarnbyBenchmark::EndProcess(peer);
    return 0;
}
