// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_SAMGR_H
#define OHOS_HOST_SAMGR_H

// Host-only controls of the system ability manager, for tests and tools. Never included by the library.
#include <cstdint>

namespace OHOS::HostSamgr {
// While false, SystemAbilityManagerClient::GetSystemAbilityManager() returns nullptr.
void SetManagerAvailable(bool available);
// How many GetSystemAbility/CheckSystemAbility lookups the manager has answered since start or the last Reset.
uint32_t GetSystemAbilityCallCount();
// Forgets every registration, makes the manager available again and zeroes the count.
void Reset();
} // namespace OHOS::HostSamgr

#endif // OHOS_HOST_SAMGR_H
