#ifndef TARNBY_TEST_COLLABORATION_FIXTURE_H
#define TARNBY_TEST_COLLABORATION_FIXTURE_H

// A fake service that decodes the collaboration requests by itself and answers start requests through their inner
// callback, as the real service does: inside the request before replying, from its own thread after replying, or
// never. Threads it starts are joined before each test ends.
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "collaboration_ability.h"
#include "collaboration_wire.h"
#include "service_test_base.h"
#include "target_info.h"

namespace OHOS::TarnbyTest {
using Answer = std::pair<int32_t, int32_t>; // (result, session id), as the service reports a start

inline constexpr uint32_t START_ANSWER_CODE = 103;
inline constexpr uint32_t MAX_DATA_LEN = 4190208;
inline constexpr unsigned int COLLABORATION_DOMAIN = 0xD004624;
inline constexpr unsigned int COLL_PROC_DOMAIN = 0xD004625;
inline constexpr unsigned int CALLBACK_DOMAIN = 0xD004616;
inline const std::string WAITING_LINE = "enter, time:20"; // the caller is waiting for the answer
inline const std::string WRONG_TOKEN_LINE =
    "receive wrong interface token = ohos.ITarnby.ITarnbyService, expect ohos.ITarnby.ITarnbyCallback";

enum class AnswerTiming {
    BEFORE_REPLY, // inside the request, before the synchronous reply
    AFTER_REPLY,  // from the service's own thread once the caller waits
    NEVER,
};

inline std::vector<char> Pattern(size_t size, uint32_t seed)
{
    std::vector<char> bytes(size);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>((i * 131 + seed) % 251);
    }
    return bytes;
}

inline bool SameBytes(const std::optional<std::vector<uint8_t>> &got, const std::vector<char> &expected)
{
    return got.has_value() && got->size() == expected.size() &&
           std::equal(got->begin(), got->end(), expected.begin(),
                      [](uint8_t a, char b) { return a == static_cast<uint8_t>(b); });
}

class CollaborationTest : public ServiceTestBase {
protected:
    void TearDown() override
    {
        JoinServiceThreads();
        {
            // Proxies to the caller's callbacks go before the platform is reset.
            std::lock_guard<std::mutex> lock(mutex_);
            starts_.clear();
            sessions_.clear();
        }
        ServiceTestBase::TearDown();
    }

    Tarnby::CollaborationAbility &Ability()
    {
        return Tarnby::CollaborationAbility::GetInstance();
    }

    static sptr<Tarnby::TargetInfo> PeerAbility()
    {
        return sptr<Tarnby::TargetInfo>::MakeSptr("0123456789abcdef", Tarnby::ABILITY_TARGET, "com.example.peer",
                                                  "PeerAbility", 0);
    }
    static WireTarget PeerAbilityOnWire()
    {
        return PresentTarget("0123456789abcdef", 1, "com.example.peer", "PeerAbility", 0);
    }
    static sptr<Tarnby::TargetInfo> PeerSystemAbility()
    {
        return sptr<Tarnby::TargetInfo>::MakeSptr("fedcba9876543210", Tarnby::SYSTEM_ABILITY_TARGET, "", "", 4700);
    }
    static WireTarget PeerSystemAbilityOnWire()
    {
        return PresentTarget("fedcba9876543210", 0, "", "", 4700);
    }

    // Start requests (both subServiceTypes) are decoded, kept, and answered with `answer` at `timing`.
    void ScriptStarts(AnswerTiming timing, Answer answer)
    {
        ScriptStarts([this, timing, answer](const StartRequest &request, size_t index) {
            Deliver(request.callback, timing, answer, index);
        });
    }
    // Start requests are decoded, kept, and handed to `answer` with their position among all start requests.
    void ScriptStarts(std::function<void(const StartRequest &, size_t)> answer)
    {
        RequestHandler handler = [this, answer](const RequestEnvelope &envelope, MessageParcel &data, MessageParcel &) {
            StartRequest request = ReadStartRequest(envelope.subServiceType, data);
            size_t index = Keep(request);
            answer(request, index);
            return 0; // the start requests read nothing from the reply
        };
        service_->On(COLLABORATION_SERVICE, SUB_START, handler);
        service_->On(COLLABORATION_SERVICE, SUB_START_WITH_DATA, handler);
    }

    // Register, unregister, send and stop are decoded, kept, and replied with `result`.
    void ScriptSessions(int32_t result)
    {
        for (uint32_t sub : {SUB_REGISTER, SUB_UNREGISTER, SUB_SEND_DATA, SUB_STOP}) {
            service_->On(COLLABORATION_SERVICE, sub,
                         [this, result](const RequestEnvelope &envelope, MessageParcel &data, MessageParcel &reply) {
                             SessionRequest request = ReadSessionRequest(envelope.subServiceType, data);
                             std::lock_guard<std::mutex> lock(mutex_);
                             sessions_.push_back(std::move(request));
                             reply.WriteInt32(result);
                             return 0;
                         });
        }
    }

    // Every collaboration request fails at the transport: the handler returns an error and writes no reply.
    void ScriptTransportFailure()
    {
        service_->OnAny([](const RequestEnvelope &, MessageParcel &, MessageParcel &) { return 5; });
    }

    void Deliver(const sptr<IRemoteObject> &callback, AnswerTiming timing, Answer answer, size_t index)
    {
        if (timing == AnswerTiming::BEFORE_REPLY) {
            RecordAnswerResult(SendAnswer(callback, answer));
        } else if (timing == AnswerTiming::AFTER_REPLY) {
            RunOnServiceThread([this, callback, answer, index] {
                bool waiting = WaitForWaiters(index + 1);
                RecordAnswerResult(waiting ? SendAnswer(callback, answer) : -1);
            });
        }
    }

    // The service's answer to a start request: callback token, code, result, session id.
    static int SendAnswer(const sptr<IRemoteObject> &callback, Answer answer, uint32_t code = START_ANSWER_CODE)
    {
        return SendCallback(callback, code, [answer](MessageParcel &parcel) {
            parcel.WriteInt32(answer.first);
            parcel.WriteInt32(answer.second);
        });
    }
    // The same answer behind another token.
    static int SendAnswerWithToken(const sptr<IRemoteObject> &callback, const std::u16string &token, Answer answer)
    {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option(MessageOption::TF_SYNC);
        data.WriteInterfaceToken(token);
        data.WriteInt32(answer.first);
        data.WriteInt32(answer.second);
        return callback->SendRequest(START_ANSWER_CODE, data, reply, option);
    }

    // True once `count` callers have entered the wait for their answer.
    bool WaitForWaiters(size_t count)
    {
        for (int round = 0; round < 30000; ++round) {
            if (logs_.Count(WAITING_LINE) >= count) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }

    void RunOnServiceThread(std::function<void()> work)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        threads_.emplace_back(std::move(work));
    }
    void JoinServiceThreads()
    {
        std::vector<std::thread> threads;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            threads.swap(threads_);
        }
        for (auto &thread : threads) {
            thread.join();
        }
    }

    std::vector<StartRequest> StartRequests()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return starts_;
    }
    std::vector<SessionRequest> SessionRequests()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return sessions_;
    }
    std::vector<int> AnswerResults()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return answerResults_;
    }
    void RecordAnswerResult(int result)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        answerResults_.push_back(result);
    }

    // The one request of the given kind that reached the service, with its envelope checked.
    template <typename Request>
    static Request Only(const std::vector<Request> &requests)
    {
        EXPECT_EQ(requests.size(), 1u);
        return requests.empty() ? Request{} : requests.front();
    }
    void ExpectOneEnvelope(uint32_t subServiceType)
    {
        auto envelopes = service_->Requests();
        ASSERT_EQ(envelopes.size(), 1u);
        const RequestEnvelope &envelope = envelopes.front();
        EXPECT_EQ(envelope.code, 101u);
        EXPECT_EQ(envelope.flags, 0);
        EXPECT_EQ(envelope.waitTime, 8);
        EXPECT_TRUE(envelope.token == SERVICE_TOKEN);
        EXPECT_EQ(envelope.serviceType, COLLABORATION_SERVICE);
        EXPECT_EQ(envelope.subServiceType, subServiceType);
        EXPECT_EQ(envelope.operateCode, 0u);
        EXPECT_EQ(envelope.subOperateCode, 0u);
        EXPECT_EQ(envelope.command, 0u);
    }

    // Whether `message` was logged at `level` under `tag` (and that tag's domain).
    bool Logged(const std::string &message, LogLevel level, const std::string &tag = "TRBYCollaboration") const
    {
        for (const auto &record : logs_.Records()) {
            if (LogCapture::Message(record) == message && record.level == level && record.tag == tag &&
                record.type == LOG_CORE && record.domain == DomainOf(tag)) {
                return true;
            }
        }
        return false;
    }
    static unsigned int DomainOf(const std::string &tag)
    {
        if (tag == "TRBYCollProc") {
            return COLL_PROC_DOMAIN;
        }
        return tag == "TRBYCallback" ? CALLBACK_DOMAIN : COLLABORATION_DOMAIN;
    }

private:
    size_t Keep(const StartRequest &request)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        starts_.push_back(request);
        return starts_.size() - 1;
    }

    std::mutex mutex_;
    std::vector<StartRequest> starts_;
    std::vector<SessionRequest> sessions_;
    std::vector<int> answerResults_;
    std::vector<std::thread> threads_;
};
} // namespace OHOS::TarnbyTest

#endif // TARNBY_TEST_COLLABORATION_FIXTURE_H
