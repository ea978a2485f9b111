// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EMULATOR_PROTOCOL_H
#define TARNBY_EMULATOR_PROTOCOL_H

// The numbers and descriptors of the Tarnby protocol, as the service knows them.
#include <cstdint>
#include <string>

#include "tarnby_wire.h"

namespace OHOS::TarnbyEmulator {

// Request codes of the client's requests.
inline constexpr uint32_t COLLABORATION_EVENT = 101;
inline constexpr uint32_t SURFACE_TRANSFER_EVENT = 601;

// Service types (first service-code field).
inline constexpr uint32_t COLLABORATION = 103;
inline constexpr uint32_t AUDIO_TRANSFER = 104;
inline constexpr uint32_t SURFACE_TRANSFER = 105;

// Request codes of the service's calls back: the start answer and session messages share one; surface events use
// the surface request code.
inline constexpr uint32_t SESSION_CALLBACK = 103;
inline constexpr uint32_t SURFACE_CALLBACK = SURFACE_TRANSFER_EVENT;
inline constexpr uint32_t DEVICE_CONNECT_CALLBACK = 501;

// The largest collaboration payload either way: 4,190,208 bytes.
inline constexpr uint32_t MAX_DATA_LEN = 0x3FF000;
} // namespace OHOS::TarnbyEmulator

#endif // TARNBY_EMULATOR_PROTOCOL_H
