#ifndef TARNBY_TEST_CALLBACK_WIRE_H
#define TARNBY_TEST_CALLBACK_WIRE_H

// Callback parcels written the way the service writes them, and a callback that records every hook call as text
// ("Stop(b, a, c, 4)") so that a test states the expected calls, arguments in position, in one line.
#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "callback_skeleton.h"
#include "fake_tarnby_service.h"
#include "message_option.h"
#include "message_parcel.h"

namespace OHOS::TarnbyTest {
inline constexpr uint32_t VESKOR_CODE = 501;
inline constexpr uint32_t SURFACE_CODE = 601;

// The token and the service code; the service type and the three qualifiers carry values the readers must skip.
inline void WriteCallbackHeader(MessageParcel &data, uint32_t subServiceType)
{
    data.WriteInterfaceToken(CALLBACK_TOKEN);
    for (uint32_t field : {9u, subServiceType, 1u, 2u, 3u}) {
        data.WriteUint32(field);
    }
}

// The raw block of a service-state change: `len`, then the text with its terminating zero byte.
inline void WriteExtraInfo(MessageParcel &data, const std::string &text)
{
    data.WriteUint32(static_cast<uint32_t>(text.size()));
    if (!text.empty()) {
        data.WriteRawData(text.c_str(), text.size() + 1);
    }
}

class HookRecorder : public Tarnby::CallbackSkeleton {
public:
    explicit HookRecorder(int32_t answer = 42) : answer_(answer) {}

    std::vector<std::string> Calls() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return calls_;
    }

    // Calls OnRemoteRequest as the IPC framework would, with a body written by `body` after the header.
    int32_t Deliver(uint32_t code, uint32_t subServiceType, const std::function<void(MessageParcel &)> &body,
                    MessageParcel &reply)
    {
        MessageParcel data;
        WriteCallbackHeader(data, subServiceType);
        if (body) {
            body(data);
        }
        MessageOption option;
        return OnRemoteRequest(code, data, reply, option);
    }

    int32_t OnEvent(uint32_t code, uint32_t eventId, std::string &extra) override
    {
        return Record("OnEvent(", code, ", ", eventId, ", ", extra, ")");
    }
    int32_t DisconnectDevice(std::string deviceKey, uint32_t serviceType) override
    {
        return Record("DisconnectDevice(", deviceKey, ", ", serviceType, ")");
    }
    int32_t StateNotify(int32_t state, std::vector<uint32_t> states,
                        std::vector<sptr<Tarnby::ServiceStateInfo>> infos) override
    {
        std::ostringstream text;
        text << "StateNotify(" << state << ", [";
        for (size_t i = 0; i < states.size(); ++i) {
            text << (i == 0 ? "" : " ") << states[i];
        }
        text << "], [";
        for (size_t i = 0; i < infos.size(); ++i) {
            text << (i == 0 ? "" : " ") << infos[i]->GetDeviceId() << "/" << infos[i]->GetLinkType() << "/"
                 << infos[i]->GetConnectState();
        }
        return Record(text.str(), "])");
    }
    int32_t OnServiceStateChanged(std::string firstString, std::string secondString, std::string extraInfo,
                                  int32_t firstInt, int32_t secondInt) override
    {
        return Record("OnServiceStateChanged(", firstString, ", ", secondString, ", ", extraInfo, ", ", firstInt, ", ",
                      secondInt, ")");
    }
    int32_t OnServiceStateChanged(Tarnby::ServiceStateChangeContext context) override
    {
        return Record("Context{", context.secondInt, ", ", context.firstString, ", ", context.secondString, ", ",
                      context.extraInfo, ", ", context.firstInt, "}");
    }
    int32_t OnDisconnected(std::string first, int32_t value) override
    {
        return Record("OnDisconnected(", first, ", ", value, ")");
    }
    int32_t OnDisconnected(std::string second, std::string third) override
    {
        return Record("OnDisconnected(", second, ", ", third, ")");
    }
    int32_t ApplyResult(std::string first, std::string second, std::string third, int32_t value,
                        int32_t resultCode) override
    {
        return Record("ApplyResult(", first, ", ", second, ", ", third, ", ", value, ", ", resultCode, ")");
    }
    int32_t Stop(std::string first, std::string second, std::string third, int32_t value) override
    {
        return Record("Stop(", first, ", ", second, ", ", third, ", ", value, ")");
    }

private:
    template <typename... Parts>
    int32_t Record(const Parts &...parts)
    {
        std::ostringstream text;
        (text << ... << parts);
        std::lock_guard<std::mutex> lock(mutex_);
        calls_.push_back(text.str());
        return answer_;
    }

    const int32_t answer_;
    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
};

// The reply holds exactly one int32 of this value.
inline testing::AssertionResult ReplyIs(MessageParcel &reply, int32_t expected)
{
    if (reply.GetDataSize() != sizeof(int32_t)) {
        return testing::AssertionFailure() << "reply of " << reply.GetDataSize() << " bytes";
    }
    int32_t value = reply.ReadInt32();
    if (value != expected) {
        return testing::AssertionFailure() << "reply " << value;
    }
    return testing::AssertionSuccess();
}
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_CALLBACK_WIRE_H
