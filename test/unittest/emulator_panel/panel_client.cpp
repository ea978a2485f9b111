// SPDX-License-Identifier: Apache-2.0
// An application for the browser test: it registers a callback for its peer, starts a session, says so, and prints
// every message the peer sends until one arrives or 30 seconds pass.
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>

#include "collab_ability_callback.h"
#include "collaboration_ability.h"
#include "tarnby_errors.h"

using namespace OHOS;
using namespace OHOS::Tarnby;

class Inbox : public CollabAbilityCallback {
public:
    void OnCollaborationData(int32_t, const uint8_t *data, uint32_t dataLen) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        text_ = data == nullptr ? "" : std::string(reinterpret_cast<const char *>(data), dataLen);
        received_ = true;
        arrived_.notify_all();
    }
    void OnCollaborationEvent(int32_t, const uint8_t *, uint32_t) override {}
    bool Wait(std::string &text)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        arrived_.wait_for(lock, std::chrono::seconds(30), [this] { return received_; });
        text = text_;
        return received_;
    }

private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::string text_;
    bool received_ = false;
};

int main()
{
    auto &collaboration = CollaborationAbility::GetInstance();
    auto peer = sptr<TargetInfo>::MakeSptr("peer-net", ABILITY_TARGET, "com.example.chat", "Chat", 0);
    auto inbox = sptr<Inbox>::MakeSptr();
    auto [status, sessionId] = std::make_pair(collaboration.RegisterCollaborationCallback(peer, inbox), 0);
    if (status == TRBY_OK) {
        std::tie(status, sessionId) = collaboration.StartCollaboration(4700, peer, "from the browser test");
    }
    std::printf("session %d started: %d\n", sessionId, status);
    std::fflush(stdout);
    std::string text;
    bool received = status == TRBY_OK && inbox->Wait(text);
    std::printf("received: %s\n", received ? text.c_str() : "(nothing)");
    return received ? 0 : 1;
}
