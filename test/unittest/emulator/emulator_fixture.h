#ifndef TARNBY_TEST_EMULATOR_FIXTURE_H
#define TARNBY_TEST_EMULATOR_FIXTURE_H

// Every test starts with an empty system ability manager, no shared proxy in the library and a running emulator,
// and leaves the platform so. Hand-made requests go through a proxy from the manager, as the library's would.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "collab_ability_callback.h"
#include "host_samgr.h"
#include "if_system_ability_manager.h"
#include "iservice_registry.h"
#include "log_capture.h"
#include "target_info.h"
#include "tarnby_emulator.h"
#include "tarnby_proxy.h"

namespace OHOS::TarnbyTest {
using namespace std::chrono_literals;
using TarnbyEmulator::Emulator;

inline const std::u16string SERVICE_TOKEN = u"ohos.ITarnby.ITarnbyService";
inline const std::u16string CALLBACK_TOKEN = u"ohos.ITarnby.ITarnbyCallback";

// A collaboration callback that keeps every message it gets, whatever thread brings it.
class RecordingCallback : public Tarnby::CollabAbilityCallback {
public:
    struct Message {
        int32_t type;
        int32_t sessionId;
        std::string bytes;
    };

    void OnCollaborationData(int32_t sessionId, const uint8_t *data, uint32_t dataLen) override
    {
        Add({104, sessionId, Text(data, dataLen)});
    }
    void OnCollaborationEvent(int32_t sessionId, const uint8_t *data, uint32_t dataLen) override
    {
        Add({105, sessionId, Text(data, dataLen)});
    }
    std::vector<Message> Messages() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return messages_;
    }

private:
    static std::string Text(const uint8_t *data, uint32_t dataLen)
    {
        return data == nullptr ? std::string() : std::string(reinterpret_cast<const char *>(data), dataLen);
    }
    void Add(Message message)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        messages_.push_back(std::move(message));
    }

    mutable std::mutex mutex_;
    std::vector<Message> messages_;
};

class EmulatorTest : public testing::Test {
protected:
    void SetUp() override
    {
        HostSamgr::Reset();
        Tarnby::TarnbyProxy::DestoryInstance();
        ASSERT_TRUE(emulator_.Start());
    }
    void TearDown() override
    {
        emulator_.Stop();
        Tarnby::TarnbyProxy::DestoryInstance();
        HostSamgr::Reset();
    }

    // A proxy to whatever is registered under the Tarnby id.
    static sptr<IRemoteObject> ServiceProxy()
    {
        sptr<ISystemAbilityManager> manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
        return manager == nullptr ? nullptr : manager->GetSystemAbility(TarnbyEmulator::TARNBY_SERVICE_ID);
    }

    // Sends a hand-made request: `fill` writes everything, the token included. Returns SendRequest's status.
    static int SendRaw(uint32_t code, const std::function<void(MessageParcel &)> &fill, MessageParcel &reply)
    {
        sptr<IRemoteObject> service = ServiceProxy();
        if (service == nullptr) {
            return -1;
        }
        MessageParcel data;
        MessageOption option(MessageOption::TF_SYNC, 8);
        fill(data);
        return service->SendRequest(code, data, reply, option);
    }

    static void WriteEnvelope(MessageParcel &data, uint32_t serviceType, uint32_t subServiceType)
    {
        data.WriteInterfaceToken(SERVICE_TOKEN);
        for (uint32_t field : {serviceType, subServiceType, 0U, 0U, 0U}) {
            data.WriteUint32(field);
        }
    }

    // A target behind its presence flag: network id, type 1, bundle, ability, system ability id 0.
    static void WriteAbilityTarget(MessageParcel &data, const std::string &bundle, const std::string &ability)
    {
        data.WriteInt32(1);
        data.WriteString("peer-network-id");
        data.WriteUint32(1);
        data.WriteString(bundle);
        data.WriteString(ability);
        data.WriteInt32(0);
    }

    static sptr<Tarnby::TargetInfo> Target(const std::string &ability)
    {
        return sptr<Tarnby::TargetInfo>::MakeSptr("peer-network-id", Tarnby::ABILITY_TARGET, "com.example.peer",
                                                  ability, 0);
    }

    // Polls `condition` until it holds or `timeout` passes (callbacks arrive on IPC threads).
    static bool Eventually(const std::function<bool()> &condition, std::chrono::milliseconds timeout = 2000ms)
    {
        auto deadline = std::chrono::steady_clock::now() + timeout;
        while (!condition()) {
            if (std::chrono::steady_clock::now() >= deadline) {
                return false;
            }
            std::this_thread::sleep_for(1ms);
        }
        return true;
    }

    LogCapture logs_;
    Emulator emulator_;
};
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_EMULATOR_FIXTURE_H
