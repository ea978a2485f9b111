// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EMULATOR_CONTROL_H
#define TARNBY_EMULATOR_CONTROL_H

// How another process steers the emulator that tarnby_emulator_server runs: a second system ability beside the
// service, answering what a test or demo asks the emulator in-process (the peer's side of a session, the states of
// the transfers). The service itself is registered under 70633 as usual.
#include <cstdint>

namespace OHOS::TarnbyEmulator {
inline constexpr int32_t EMULATOR_CONTROL_ID = 7063300;

enum ControlCode : uint32_t {
    CONTROL_PEER_SEND_DATA = 1, // int32 session id, uint32 size, the bytes -> int32 EmulatorResult
    CONTROL_AUDIO_STATE = 2,    // int32 connection id -> int32 TransferState
    CONTROL_SURFACE_STATE = 3,  // int32 connection id -> int32 TransferState
    CONTROL_SURFACE_EVENT = 4,  // int32 connection id, uint32 sub service type, uint32 code, string extra -> int32
    // int32 0, the callback object, then the change (WriteServiceStateChangeFields) -> int32 the callback's answer
    CONTROL_SERVICE_STATE_CHANGE = 5,
};
} // namespace OHOS::TarnbyEmulator

#endif // TARNBY_EMULATOR_CONTROL_H
