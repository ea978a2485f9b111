// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_TEST_HOOK_RECORDER_H
#define TARNBY_TEST_HOOK_RECORDER_H

// A callback object that records every hook call as text ("Stop(b, a, c, 4)"), so that a test states the expected
// calls, arguments in position, in one line.
#include <mutex>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "callback_skeleton.h"

namespace OHOS::TarnbyTest {
// A byte block in one line: itself when short, else a hash of it.
inline std::string Fingerprint(const char *bytes, size_t size)
{
    std::string_view block = bytes == nullptr ? "null" : std::string_view(bytes, size);
    return block.size() <= 12 ? std::string(block) : "#" + std::to_string(std::hash<std::string_view>()(block));
}

class HookRecorder : public Tarnby::CallbackSkeleton {
public:
    explicit HookRecorder(int32_t answer = 42) : answer_(answer) {}

    std::vector<std::string> Calls() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return calls_;
    }
    int32_t OnDataCallback(uint32_t code, uint32_t second, uint32_t dataLen, std::unique_ptr<char[]> data) override
    {
        return Record("OnDataCallback", code, second, dataLen, Fingerprint(data.get(), dataLen));
    }
    int32_t OnEvent(uint32_t code, uint32_t eventId, std::string &extra) override
    {
        return Record("OnEvent", code, eventId, extra);
    }
    void OnDataReceiverReady(int32_t channel) override
    {
        Record("OnDataReceiverReady", channel);
    }
    void OnDataReceived(int32_t channel, const char *data, uint32_t len) override
    {
        Record("OnDataReceived", channel, Fingerprint(data, len), len);
    }
    int32_t DisconnectDevice(std::string deviceKey, uint32_t serviceType) override
    {
        return Record("DisconnectDevice", deviceKey, serviceType);
    }
    // The states as "[1 2 3]", the infos as "[device/linkType/connectState ...]".
    int32_t StateNotify(int32_t state, std::vector<uint32_t> states,
                        std::vector<sptr<Tarnby::ServiceStateInfo>> infos) override
    {
        std::string shownStates;
        for (uint32_t value : states) {
            shownStates += (shownStates.empty() ? "" : " ") + std::to_string(value);
        }
        std::string shownInfos;
        for (const auto &info : infos) {
            shownInfos += (shownInfos.empty() ? "" : " ") + info->GetDeviceId() + "/" +
                          std::to_string(info->GetLinkType()) + "/" + std::to_string(info->GetConnectState());
        }
        return Record("StateNotify", state, "[" + shownStates + "]", "[" + shownInfos + "]");
    }
    int32_t OnServiceStateChanged(std::string firstString, std::string secondString, std::string extraInfo,
                                  int32_t firstInt, int32_t secondInt) override
    {
        return Record("OnServiceStateChanged", firstString, secondString, extraInfo, firstInt, secondInt);
    }
    int32_t OnServiceStateChanged(Tarnby::ServiceStateChangeContext context) override
    {
        return Record("Context", context.secondInt, context.firstString, context.secondString, context.extraInfo,
                      context.firstInt);
    }
    int32_t OnDisconnected(std::string first, int32_t value) override
    {
        return Record("OnDisconnected", first, value);
    }
    int32_t OnDisconnected(std::string second, std::string third) override
    {
        return Record("OnDisconnected", second, third);
    }
    int32_t ApplyResult(std::string first, std::string second, std::string third, int32_t value,
                        int32_t resultCode) override
    {
        return Record("ApplyResult", first, second, third, value, resultCode);
    }
    int32_t Stop(std::string first, std::string second, std::string third, int32_t value) override
    {
        return Record("Stop", first, second, third, value);
    }

private:
    // "name(first, second, ...)", kept in order; the hook answers `answer_`.
    template <typename First, typename... Rest>
    int32_t Record(const char *name, const First &first, const Rest &...rest)
    {
        std::ostringstream text;
        text << name << "(" << first;
        ((text << ", " << rest), ...);
        std::lock_guard<std::mutex> lock(mutex_);
        calls_.push_back(text.str() + ")");
        return answer_;
    }

    const int32_t answer_;
    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
};

// The reply as the int32 values it holds.
inline std::vector<int32_t> ReplyValues(MessageParcel &reply)
{
    std::vector<int32_t> values;
    while (reply.GetReadableBytes() >= sizeof(int32_t)) {
        values.push_back(reply.ReadInt32());
    }
    return values;
}
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_HOOK_RECORDER_H
