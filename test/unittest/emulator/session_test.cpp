// Collaboration sessions through the client library against the emulator.
#include <thread>

#include "collaboration_ability.h"
#include "emulator_fixture.h"

namespace OHOS::TarnbyTest {
namespace {
using TarnbyEmulator::EMU_ERR_BAD_TARGET;
using TarnbyEmulator::EMU_ERR_NOT_REGISTERED;
using TarnbyEmulator::EMU_ERR_UNKNOWN_SESSION;
using TarnbyEmulator::EMU_OK;

class SessionTest : public EmulatorTest {
protected:
    Tarnby::CollaborationAbility &Ability()
    {
        return Tarnby::CollaborationAbility::GetInstance();
    }
    int32_t Send(int32_t sessionId, const std::string &text)
    {
        return Ability().SendCollaborationData(sessionId, text.data(), text.size());
    }
};

TEST_F(SessionTest, FullSessionFromRegistrationToUnregistration)
{
    auto callback = sptr<RecordingCallback>::MakeSptr();
    sptr<Tarnby::TargetInfo> target = Target("ChatAbility");
    ASSERT_EQ(Ability().RegisterCollaborationCallback(target, callback), EMU_OK);

    auto [status, sessionId] = Ability().StartCollaboration(4700, target, "hello");
    ASSERT_EQ(status, EMU_OK);
    EXPECT_NE(sessionId, 0);
    EXPECT_EQ(emulator_.Sessions(), std::vector<int32_t>{sessionId});
    TarnbyEmulator::EmulatorEvent started;
    ASSERT_TRUE(emulator_.WaitForEvent("session.start", 0ms, &started));
    EXPECT_EQ(started.payload, "hello"); // the extra data reached the service
    EXPECT_NE(started.text.find("system-ability 4700"), std::string::npos) << started.text;

    EXPECT_EQ(Send(sessionId, "from the app"), EMU_OK);
    EXPECT_EQ(emulator_.PeerSendData(sessionId, {'p', 'e', 'e', 'r'}), EMU_OK);
    EXPECT_EQ(Ability().StopCollaboration(sessionId), EMU_OK);

    // Each message was delivered before the call that caused it returned.
    std::vector<RecordingCallback::Message> messages = callback->Messages();
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_EQ(messages[0].type, 104);
    EXPECT_EQ(messages[0].sessionId, sessionId);
    EXPECT_EQ(messages[0].bytes, "from the app");
    EXPECT_EQ(messages[1].bytes, "peer");
    EXPECT_EQ(messages[2].type, 105);
    EXPECT_EQ(messages[2].bytes, "stopped");
    EXPECT_TRUE(emulator_.Sessions().empty());

    // A stopped session is gone; so is the registration once removed.
    EXPECT_EQ(Send(sessionId, "late"), EMU_ERR_UNKNOWN_SESSION);
    EXPECT_EQ(Ability().StopCollaboration(sessionId), EMU_ERR_UNKNOWN_SESSION);
    EXPECT_EQ(Ability().UnRegisterCollaborationCallback(target), EMU_OK);
    EXPECT_EQ(Ability().UnRegisterCollaborationCallback(target), EMU_ERR_NOT_REGISTERED);
}

TEST_F(SessionTest, TwoSessionsAtOnceKeepTheirDataApart)
{
    auto chat = sptr<RecordingCallback>::MakeSptr();
    auto files = sptr<RecordingCallback>::MakeSptr();
    ASSERT_EQ(Ability().RegisterCollaborationCallback(Target("ChatAbility"), chat), EMU_OK);
    ASSERT_EQ(Ability().RegisterCollaborationCallback(Target("FileAbility"), files), EMU_OK);
    int32_t chatSession = Ability().StartCollaboration(1, Target("ChatAbility"), "").second;
    int32_t fileSession = Ability().StartCollaboration("com.example.app", "Main", Target("FileAbility"), "").second;
    ASSERT_NE(chatSession, 0);
    ASSERT_NE(fileSession, 0);
    ASSERT_NE(chatSession, fileSession);

    constexpr int MESSAGES = 20;
    auto sendAll = [this](int32_t session, const std::string &prefix) {
        for (int i = 0; i < MESSAGES; ++i) {
            EXPECT_EQ(Send(session, prefix + std::to_string(i)), EMU_OK);
        }
    };
    std::thread chatSender(sendAll, chatSession, "chat-");
    std::thread fileSender(sendAll, fileSession, "file-");
    chatSender.join();
    fileSender.join();

    auto onlyFrom = [](const std::vector<RecordingCallback::Message> &messages, int32_t session,
                       const std::string &prefix) {
        for (const auto &message : messages) {
            if (message.sessionId != session || message.bytes.rfind(prefix, 0) != 0) {
                return false;
            }
        }
        return messages.size() == MESSAGES;
    };
    EXPECT_TRUE(onlyFrom(chat->Messages(), chatSession, "chat-"));
    EXPECT_TRUE(onlyFrom(files->Messages(), fileSession, "file-"));
}

TEST_F(SessionTest, StartBetweenTwoTargetsCarriesTheRawData)
{
    auto callback = sptr<RecordingCallback>::MakeSptr();
    ASSERT_EQ(Ability().RegisterCollaborationCallback(Target("Viewer"), callback), EMU_OK);
    const char raw[] = {'r', 'a', 'w', '\0', 'x'};
    auto [status, sessionId] = Ability().StartCollaboration(Target("Source"), Target("Viewer"), raw, sizeof(raw));
    ASSERT_EQ(status, EMU_OK);
    TarnbyEmulator::EmulatorEvent started;
    ASSERT_TRUE(emulator_.WaitForEvent("session.start", 0ms, &started));
    EXPECT_EQ(started.payload, std::string(raw, sizeof(raw)));
    EXPECT_EQ(emulator_.PeerSendEvent(sessionId, "ready"), EMU_OK);
    ASSERT_EQ(callback->Messages().size(), 1U);
    EXPECT_EQ(callback->Messages()[0].type, 105);
}

TEST_F(SessionTest, RefusalsComeBackAsResults)
{
    // A target kind the service does not know is refused through the inner callback.
    auto unknownKind = sptr<Tarnby::TargetInfo>::MakeSptr("peer", 7, "b", "a", 0);
    EXPECT_EQ(Ability().StartCollaboration(1, unknownKind, "").first, EMU_ERR_BAD_TARGET);
    // Data for a session whose target has no registered callback is not delivered.
    int32_t sessionId = Ability().StartCollaboration(1, Target("Nobody"), "").second;
    ASSERT_NE(sessionId, 0);
    EXPECT_EQ(Send(sessionId, "lost"), EMU_ERR_NOT_REGISTERED);
    EXPECT_EQ(emulator_.PeerSendData(12345, {1}), EMU_ERR_UNKNOWN_SESSION);
}
} // namespace
} // namespace OHOS::TarnbyTest
