// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_DEMO_CALLBACKS_H
#define TARNBY_DEMO_CALLBACKS_H

// The demo's callback objects: each prints what arrived (and on which thread) and keeps it for the checks.
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "collab_ability_callback.h"
#include "surface_transfer_ability.h"
#include "transcript.h"

namespace OHOS::TarnbyDemo {
// One message or event as a callback saw it.
struct Heard {
    uint32_t code = 0; // message type (104, 105) or event code
    int32_t id = 0;    // session id or event id
    std::string text;
};

// Collects what a callback hears, for any thread to wait on.
class HeardLog {
public:
    void Add(Heard heard);
    // Waits until `count` items have arrived in all; returns them.
    std::vector<Heard> WaitFor(size_t count, std::chrono::milliseconds timeout);
    size_t Count();

private:
    std::mutex mutex_;
    std::condition_variable added_;
    std::vector<Heard> heard_;
};

class DemoCollaborationCallback : public Tarnby::CollabAbilityCallback {
public:
    explicit DemoCollaborationCallback(Transcript &transcript) : transcript_(transcript) {}
    void OnCollaborationData(int32_t collaborationSessionId, const uint8_t *data, uint32_t dataLen) override;
    void OnCollaborationEvent(int32_t collaborationSessionId, const uint8_t *data, uint32_t dataLen) override;
    HeardLog &Log()
    {
        return log_;
    }

private:
    void Hear(const char *hook, uint32_t type, int32_t sessionId, const uint8_t *data, uint32_t dataLen);

    Transcript &transcript_;
    HeardLog log_;
};

// Hears the service's surface events and, through the death recipient, the service's death (code 1012).
class DemoSurfaceCallback : public Tarnby::SurfaceTransferCallback {
public:
    explicit DemoSurfaceCallback(Transcript &transcript) : transcript_(transcript) {}
    int32_t OnEvent(uint32_t code, uint32_t eventId, std::string &data) override;
    HeardLog &Log()
    {
        return log_;
    }

private:
    Transcript &transcript_;
    HeardLog log_;
};
} // namespace OHOS::TarnbyDemo

#endif // TARNBY_DEMO_CALLBACKS_H
