#ifndef TARNBY_TEST_RECORDING_CALLBACK_H
#define TARNBY_TEST_RECORDING_CALLBACK_H

// A callback object that records every hook the skeleton calls, and a fixture that builds callback parcels by hand in
// wire order and delivers them the way the service does.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "callback_skeleton.h"
#include "fake_tarnby_service.h"
#include "host_ipc_proxy.h"
#include "log_capture.h"
#include "log_expect.h"

namespace OHOS::TarnbyTest {
class RecordingCallback : public Tarnby::CallbackSkeleton {
public:
    struct Event {
        uint32_t code = 0;
        uint32_t eventId = 0;
        std::string extra;
    };
    struct RawData {
        uint32_t code = 0;
        uint32_t second = 0;
        uint32_t dataLen = 0;
        std::unique_ptr<char[]> data;
    };
    struct Received {
        int32_t channel = 0;
        bool isNull = false;
        uint32_t len = 0;
        std::string bytes;
    };

    int32_t OnDataCallback(uint32_t code, uint32_t second, uint32_t dataLen, std::unique_ptr<char[]> data) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        Note("OnDataCallback");
        rawData_ = RawData{code, second, dataLen, std::move(data)};
        return dataResult_;
    }
    int32_t OnEvent(uint32_t code, uint32_t eventId, std::string &extra) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        Note("OnEvent");
        event_ = Event{code, eventId, extra};
        return eventResult_;
    }
    void OnDataReceiverReady(int32_t channel) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        Note("OnDataReceiverReady");
        readyChannel_ = channel;
    }
    void OnDataReceived(int32_t channel, const char *data, uint32_t len) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        Note("OnDataReceived");
        received_ = Received{channel, data == nullptr, len, data == nullptr ? "" : std::string(data, len)};
    }

    void SetResults(int32_t dataResult, int32_t eventResult)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        dataResult_ = dataResult;
        eventResult_ = eventResult;
    }
    std::vector<std::string> Hooks() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return hooks_;
    }
    std::thread::id HookThread() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return hookThread_;
    }
    // The raw data handed to OnDataCallback, with its buffer; the recorder gives it up.
    RawData TakeRawData()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::move(rawData_);
    }
    Event LastEvent() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return event_;
    }
    int32_t ReadyChannel() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return readyChannel_;
    }
    Received LastReceived() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return received_;
    }

private:
    void Note(const char *hook)
    {
        hooks_.emplace_back(hook);
        hookThread_ = std::this_thread::get_id();
    }

    mutable std::mutex mutex_;
    std::vector<std::string> hooks_;
    std::thread::id hookThread_;
    int32_t dataResult_ = 0;
    int32_t eventResult_ = 0;
    RawData rawData_;
    Event event_;
    int32_t readyChannel_ = 0;
    Received received_;
};

using ParcelFill = std::function<void(MessageParcel &)>;

// The service-code fields in wire order.
inline void WriteServiceCode(MessageParcel &data, uint32_t serviceType, uint32_t subServiceType,
                             uint32_t operateCode = 0, uint32_t subOperateCode = 0, uint32_t command = 0)
{
    for (uint32_t field : {serviceType, subServiceType, operateCode, subOperateCode, command}) {
        ASSERT_TRUE(data.WriteUint32(field));
    }
}

inline int32_t ReplyHead(MessageParcel &reply)
{
    EXPECT_EQ(reply.GetDataSize(), sizeof(int32_t)) << "the reply holds more or less than one int32";
    return reply.ReadInt32();
}

class CallbackTest : public testing::Test {
protected:
    // Across the simulated process boundary, as the service calls: through a proxy, on an IPC thread. The reply is
    // what the service would read back; the returned status crosses only when the reply is empty.
    int Deliver(uint32_t code, MessageParcel &reply, const ParcelFill &fill)
    {
        return SendCallback(HostIpc::GetProxy(callback_), code, fill, &reply);
    }
    // Straight into OnRemoteRequest, so that the return value and the read position of `data` can be seen.
    int CallDirect(uint32_t code, MessageParcel &data, MessageParcel &reply)
    {
        MessageOption option(MessageOption::TF_SYNC);
        return callback_->OnRemoteRequest(code, data, reply, option);
    }
    static void StartParcel(MessageParcel &data, const std::u16string &token = CALLBACK_TOKEN)
    {
        ASSERT_TRUE(data.WriteInterfaceToken(token));
    }

    LogCapture logs_;
    sptr<RecordingCallback> callback_ = sptr<RecordingCallback>::MakeSptr();
};
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_RECORDING_CALLBACK_H
