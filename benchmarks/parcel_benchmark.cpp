// SPDX-License-Identifier: Apache-2.0
// Cost of the Parcel primitives every request and callback goes through, next to a plain memcpy of the same
// payload for the bulk case. scripts/parcel_bench_compare.sh runs this program built from two trees, alternated.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "parcel.h"
#include "test_parcelable.h"

using namespace OHOS;

namespace {
constexpr size_t BULK_SIZE = 4 * 1024 * 1024;
constexpr size_t PAGE_SIZE = 4096;
constexpr int WORDS = 256;
constexpr int VECTOR_LENGTH = 64;

void Restart(Parcel &parcel)
{
    parcel.RewindWrite(0);
    parcel.RewindRead(0);
}
} // namespace

static void BM_ParcelInt32RoundTrip(benchmark::State &state)
{
    Parcel parcel;
    int32_t value = 0;
    for (auto _ : state) {
        Restart(parcel);
        parcel.WriteInt32(value++);
        benchmark::DoNotOptimize(parcel.ReadInt32());
    }
}
BENCHMARK(BM_ParcelInt32RoundTrip);

static void BM_ParcelInt32x256WriteRead(benchmark::State &state)
{
    Parcel parcel;
    for (auto _ : state) {
        Restart(parcel);
        for (int i = 0; i < WORDS; i++) {
            parcel.WriteInt32(i);
        }
        int32_t sum = 0;
        for (int i = 0; i < WORDS; i++) {
            sum += parcel.ReadInt32();
        }
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(BM_ParcelInt32x256WriteRead);

static void BM_ParcelInt32Vector64RoundTrip(benchmark::State &state)
{
    Parcel parcel;
    const std::vector<int32_t> values(VECTOR_LENGTH, 7);
    std::vector<int32_t> out;
    for (auto _ : state) {
        Restart(parcel);
        parcel.WriteInt32Vector(values);
        parcel.ReadInt32Vector(&out);
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(BM_ParcelInt32Vector64RoundTrip);

static void BM_ParcelableRoundTrip(benchmark::State &state)
{
    Parcel parcel;
    sptr<IntParcelable> record = new IntParcelable(42);
    for (auto _ : state) {
        Restart(parcel);
        parcel.WriteStrongParcelable(record);
        sptr<IntParcelable> back = parcel.ReadStrongParcelable<IntParcelable>();
        benchmark::DoNotOptimize(back.GetRefPtr());
    }
}
BENCHMARK(BM_ParcelableRoundTrip);

static void BM_ParcelString16TokenRoundTrip(benchmark::State &state)
{
    Parcel parcel;
    const std::u16string token = u"ohos.ITarnby.ITarnbyService";
    std::u16string out;
    for (auto _ : state) {
        Restart(parcel);
        parcel.WriteString16(token);
        parcel.ReadString16(out);
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(BM_ParcelString16TokenRoundTrip);

static void BM_ParcelStringVectorRoundTrip(benchmark::State &state)
{
    Parcel parcel;
    const std::vector<std::string> texts(8, std::string(12, 'x'));
    std::vector<std::string> out;
    for (auto _ : state) {
        Restart(parcel);
        parcel.WriteStringVector(texts);
        parcel.ReadStringVector(&out);
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(BM_ParcelStringVectorRoundTrip);

static void BM_ParcelBuffer4KiB(benchmark::State &state)
{
    Parcel parcel;
    std::vector<uint8_t> payload(PAGE_SIZE, 0x5a);
    for (auto _ : state) {
        Restart(parcel);
        parcel.WriteBuffer(payload.data(), payload.size());
        benchmark::DoNotOptimize(parcel.ReadBuffer(PAGE_SIZE));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * PAGE_SIZE);
}
BENCHMARK(BM_ParcelBuffer4KiB);

static void BM_ParcelString32RoundTrip(benchmark::State &state)
{
    Parcel parcel;
    const std::string text(32, 'x');
    std::string out;
    for (auto _ : state) {
        parcel.RewindWrite(0);
        parcel.RewindRead(0);
        parcel.WriteString(text);
        parcel.ReadString(out);
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(BM_ParcelString32RoundTrip);

// A fresh parcel each time, so the growth to 4 MiB is part of the cost, as when a reply is copied.
static void BM_ParcelBuffer4MiB(benchmark::State &state)
{
    std::vector<uint8_t> payload(BULK_SIZE, 0x5a);
    for (auto _ : state) {
        Parcel parcel;
        parcel.SetMaxCapacity(BULK_SIZE + 64);
        parcel.WriteBuffer(payload.data(), payload.size());
        benchmark::DoNotOptimize(parcel.ReadBuffer(BULK_SIZE));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * BULK_SIZE);
}
BENCHMARK(BM_ParcelBuffer4MiB);

static void BM_Memcpy4MiB(benchmark::State &state)
{
    std::vector<uint8_t> payload(BULK_SIZE, 0x5a);
    std::vector<uint8_t> target(BULK_SIZE);
    for (auto _ : state) {
        memcpy(target.data(), payload.data(), payload.size());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * BULK_SIZE);
}
BENCHMARK(BM_Memcpy4MiB);

// The fair baseline for the parcel case: the target block is new each time, so its pages are touched anew.
static void BM_Memcpy4MiBFreshBuffer(benchmark::State &state)
{
    std::vector<uint8_t> payload(BULK_SIZE, 0x5a);
    for (auto _ : state) {
        auto *target = static_cast<uint8_t *>(malloc(BULK_SIZE));
        memcpy(target, payload.data(), payload.size());
        benchmark::DoNotOptimize(target);
        free(target);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * BULK_SIZE);
}
BENCHMARK(BM_Memcpy4MiBFreshBuffer);

BENCHMARK_MAIN();
