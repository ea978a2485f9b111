#ifndef TARNBY_TEST_IPC_TEST_SUPPORT_H
#define TARNBY_TEST_IPC_TEST_SUPPORT_H

// Doubles for the host IPC tests: a stub whose handler the test scripts, a latch, and a counting death recipient.
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ipc_object_stub.h"
#include "message_parcel.h"

namespace OHOS::TarnbyTest {
using Handler = std::function<int(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option)>;

class ScriptedStub : public IPCObjectStub {
public:
    explicit ScriptedStub(Handler handler, std::u16string descriptor = u"test.ScriptedStub") :
        IPCObjectStub(std::move(descriptor)), handler_(std::move(handler))
    {
    }

    int OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override
    {
        return handler_(code, data, reply, option);
    }

private:
    Handler handler_;
};

// Opens once; waiters pass from then on.
class Latch {
public:
    void Open()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        open_ = true;
        opened_.notify_all();
    }
    void Wait()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        opened_.wait(lock, [this] { return open_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool open_ = false;
};

// Records every call: how many, on which thread, and which object died.
class CountingRecipient : public IRemoteObject::DeathRecipient {
public:
    using Action = std::function<void(CountingRecipient &self, const wptr<IRemoteObject> &object)>;
    explicit CountingRecipient(Action action = nullptr) : action_(std::move(action)) {}

    void OnRemoteDied(const wptr<IRemoteObject> &object) override
    {
        if (action_) {
            action_(*this, object);
        }
        std::lock_guard<std::mutex> lock(mutex_);
        calls_++;
        threads_.push_back(std::this_thread::get_id());
        died_ = object.promote();
        called_.notify_all();
    }
    void WaitForCalls(int count)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        called_.wait(lock, [this, count] { return calls_ >= count; });
    }
    int Calls()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return calls_;
    }
    std::vector<std::thread::id> Threads()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return threads_;
    }
    sptr<IRemoteObject> Died()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return died_;
    }

private:
    Action action_;
    std::mutex mutex_;
    std::condition_variable called_;
    int calls_ = 0;
    std::vector<std::thread::id> threads_;
    sptr<IRemoteObject> died_;
};
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_IPC_TEST_SUPPORT_H
