// SPDX-License-Identifier: Apache-2.0
#include "demo_callbacks.h"

namespace OHOS::TarnbyDemo {
void HeardLog::Add(Heard heard)
{
    std::lock_guard<std::mutex> lock(mutex_);
    heard_.push_back(std::move(heard));
    added_.notify_all();
}

std::vector<Heard> HeardLog::WaitFor(size_t count, std::chrono::milliseconds timeout)
{
    std::unique_lock<std::mutex> lock(mutex_);
    added_.wait_for(lock, timeout, [this, count] { return heard_.size() >= count; });
    return heard_;
}

size_t HeardLog::Count()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return heard_.size();
}

void DemoCollaborationCallback::OnCollaborationData(int32_t collaborationSessionId, const uint8_t *data,
                                                    uint32_t dataLen)
{
    Hear("OnCollaborationData", 104, collaborationSessionId, data, dataLen);
}

void DemoCollaborationCallback::OnCollaborationEvent(int32_t collaborationSessionId, const uint8_t *data,
                                                     uint32_t dataLen)
{
    Hear("OnCollaborationEvent", 105, collaborationSessionId, data, dataLen);
}

void DemoCollaborationCallback::Hear(const char *hook, uint32_t type, int32_t sessionId, const uint8_t *data,
                                     uint32_t dataLen)
{
    // The bytes live only during the call: keep a copy.
    std::string text = data == nullptr ? std::string() : std::string(reinterpret_cast<const char *>(data), dataLen);
    transcript_.CallbackArrived(std::string(hook) + "(session=" + std::to_string(sessionId) + ", " +
                                std::to_string(dataLen) + " bytes " + Transcript::Quote(text) + ")");
    log_.Add(Heard{type, sessionId, text});
}

int32_t DemoSurfaceCallback::OnEvent(uint32_t code, uint32_t eventId, std::string &data)
{
    transcript_.CallbackArrived("OnEvent(code=" + std::to_string(code) + ", eventId=" + std::to_string(eventId) + ", " +
                                Transcript::Quote(data) + ")");
    log_.Add(Heard{code, static_cast<int32_t>(eventId), data});
    return 0;
}
} // namespace OHOS::TarnbyDemo
