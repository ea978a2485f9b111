// SPDX-License-Identifier: Apache-2.0
// The service emulator's request decoding, driven as a client process would: any request code and body reach the
// running emulator's service object (token right, wrong or missing; service codes biased to the real ones; callback
// objects and descriptors anywhere). The emulator must refuse what it cannot read, never crash or leak.
#include <cstdint>

#include "fuzz_parcel.h"
#include "tarnby_emulator.h"

namespace {
constexpr uint32_t RESTART_EVERY = 1000; // inputs between restarts, so that sessions and connections stay few
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace OHOS;
    using namespace OHOS::TarnbyFuzz;
    FuzzInput in = OpenInput(data, size);
    static auto *emulator = new TarnbyEmulator::Emulator(); // kept for the whole run: the fuzzer exits, never returns
    static uint32_t inputs = 0;
    if (inputs++ % RESTART_EVERY == 0) { // the first input starts it
        emulator->Stop();
        emulator->Start();
    }
    DeliverPeerRequest(in, SERVICE_TOKEN, [](uint32_t code, auto &request, auto &reply, auto &option) {
        emulator->ServiceObject()->SendRequest(code, request, reply, option);
    });
    return 0;
}
