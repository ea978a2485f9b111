// SPDX-License-Identifier: Apache-2.0
// The emulator server's control panel driven as a developer's tools drive it: tarnby_emulator_server runs in a
// process of its own, this test is the application (the client library across the host IPC's sockets) and talks to
// the panel with a real HTTP client.
#include <gtest/gtest.h>
#include <httplib.h>
#include <json/json.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "collab_ability_callback.h"
#include "collaboration_ability.h"
#include "start_wait.h"
#include "tarnby_errors.h"
#include "tarnby_proxy.h"

extern char **environ;

namespace OHOS::TarnbyTest {
namespace {
using namespace Tarnby;
using namespace std::chrono_literals;

std::string g_server;    // the server binary
std::string g_directory; // the registry directory of this test process

// The peer's messages as the application's callback receives them.
class Inbox : public CollabAbilityCallback {
public:
    void OnCollaborationData(int32_t, const uint8_t *data, uint32_t dataLen) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        texts_.emplace_back(data == nullptr ? "" : std::string(reinterpret_cast<const char *>(data), dataLen));
        arrived_.notify_all();
    }
    void OnCollaborationEvent(int32_t, const uint8_t *, uint32_t) override {}
    // The text of the `count`-th message, waiting for it (completion, never speed).
    std::string Wait(size_t count)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        arrived_.wait_for(lock, 10s, [&] { return texts_.size() >= count; });
        return texts_.size() >= count ? texts_[count - 1] : "(nothing)";
    }

private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<std::string> texts_;
};

struct Launch {
    pid_t pid = -1;
    int status = -1;        // the exit status when it ended at start
    std::string firstLines; // what it printed before it served (or everything, when it ended)
};

// The server with `arguments`; returns once it printed its panel's address, or once it ended.
Launch StartServer(std::vector<std::string> arguments)
{
    int out[2];
    Launch launch;
    if (pipe(out) != 0) {
        return launch;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDERR_FILENO);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    arguments.insert(arguments.begin(), g_server);
    std::vector<char *> argv;
    for (auto &argument : arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    posix_spawn(&launch.pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    char chunk[256];
    ssize_t got = 0;
    while (launch.firstLines.find("control panel: ") == std::string::npos &&
           (got = read(out[0], chunk, sizeof(chunk))) > 0) {
        launch.firstLines.append(chunk, static_cast<size_t>(got));
    }
    close(out[0]);
    if (got <= 0) {
        waitpid(launch.pid, &launch.status, 0);
        launch.pid = -1;
    }
    return launch;
}

Json::Value Parse(const std::string &text)
{
    Json::Value value;
    std::istringstream(text) >> value;
    return value;
}

class PanelTest : public testing::Test {
protected:
    void SetUp() override
    {
        std::string trace = g_directory + "/trace-" + std::to_string(getpid()) + ".jsonl";
        launch_ = StartServer({"--http", "127.0.0.1:0", "--trace", trace});
        std::smatch match;
        ASSERT_TRUE(
            std::regex_search(launch_.firstLines, match, std::regex(R"(http://127\.0\.0\.1:(\d+)/\?token=(\w+))")))
            << launch_.firstLines;
        port_ = std::stoi(match[1].str());
        token_ = match[2].str();
        tracePath_ = trace;
        client_ = std::make_unique<httplib::Client>("127.0.0.1", port_);
        client_->set_read_timeout(20, 0);
    }
    void TearDown() override
    {
        collaboration_.UnRegisterCollaborationCallback(peer_);
        TarnbyProxy::DestoryInstance();
        if (launch_.pid > 0) {
            kill(launch_.pid, SIGTERM);
            waitpid(launch_.pid, nullptr, 0);
        }
        std::remove(tracePath_.c_str());
    }
    httplib::Headers Token() const
    {
        return {{"Authorization", "Bearer " + token_}};
    }
    Json::Value Get(const std::string &path)
    {
        auto result = client_->Get(path.c_str(), Token());
        return result && result->status == 200 ? Parse(result->body) : Json::Value();
    }
    // The status and body of a POST.
    std::pair<int, Json::Value> Post(const std::string &path, const std::string &body)
    {
        auto result = client_->Post(path.c_str(), Token(), body, "application/json");
        return result ? std::make_pair(result->status, Parse(result->body)) : std::make_pair(0, Json::Value());
    }
    // Registers the inbox for the peer and starts a session to it; the session id.
    int32_t StartSession()
    {
        EXPECT_EQ(collaboration_.RegisterCollaborationCallback(peer_, inbox_), TRBY_OK);
        auto [status, sessionId] = collaboration_.StartCollaboration(4700, peer_, "chat");
        EXPECT_EQ(status, TRBY_OK);
        return sessionId;
    }

    Launch launch_;
    int port_ = 0;
    std::string token_;
    std::string tracePath_;
    std::unique_ptr<httplib::Client> client_;
    CollaborationAbility &collaboration_ = CollaborationAbility::GetInstance();
    sptr<TargetInfo> peer_ = sptr<TargetInfo>::MakeSptr("peer-net", ABILITY_TARGET, "com.example.chat", "Chat", 0);
    sptr<Inbox> inbox_ = sptr<Inbox>::MakeSptr();
};

// The field `name` of a trace entry, or null.
Json::Value Field(const Json::Value &entry, const std::string &name)
{
    for (const Json::Value &field : entry["fields"]) {
        if (field["name"].asString() == name) {
            return field;
        }
    }
    return Json::Value();
}

// The last entry of `operation` in `direction`, or null.
Json::Value Entry(const Json::Value &trace, const std::string &operation, const std::string &direction)
{
    Json::Value found;
    for (const Json::Value &entry : trace) {
        if (entry["operation"].asString() == operation && entry["direction"].asString() == direction) {
            found = entry;
        }
    }
    return found;
}

TEST_F(PanelTest, StateAndTraceShowARealClientsSessionWithItsDecodedFields)
{
    int32_t sessionId = StartSession();
    Json::Value state = Get("/api/state");
    ASSERT_EQ(state["sessions"].size(), 1u) << state;
    EXPECT_EQ(state["sessions"][0]["id"].asInt(), sessionId);
    EXPECT_EQ(state["sessions"][0]["target"].asString(), "ability com.example.chat/Chat on peer-net");
    EXPECT_EQ(state["sessions"][0]["extraData"].asString(), "chat");
    EXPECT_EQ(state["registrations"][0].asString(), "ability com.example.chat/Chat on peer-net");

    // The start's answer is traced once the client's callback returned, which may be after the client went on.
    Json::Value trace = Get("/api/trace");
    for (int i = 0; i < 1000 && Entry(trace, "StartAnswer", "callback").isNull(); i++) {
        std::this_thread::sleep_for(10ms);
        trace = Get("/api/trace");
    }
    Json::Value start = Entry(trace, "StartCollaboration", "request");
    ASSERT_FALSE(start.isNull()) << trace;
    EXPECT_EQ(start["code"].asUInt(), 101u);
    EXPECT_EQ(start["envelope"].asString(), "103/7/0/0/0");
    EXPECT_EQ(start["callingPid"].asInt(), getpid());
    EXPECT_EQ(Field(start, "localId")["value"].asInt(), 4700);
    EXPECT_EQ(Field(start, "target.bundleName")["value"].asString(), "com.example.chat");
    EXPECT_EQ(Field(start, "target.targetType")["type"].asString(), "uint32");
    EXPECT_EQ(Field(start, "callback")["type"].asString(), "object");
    EXPECT_EQ(Field(start, "extraData")["value"].asString(), "chat");
    EXPECT_EQ(start["status"].asInt(), 0);
    Json::Value answer = Entry(trace, "StartAnswer", "callback");
    ASSERT_FALSE(answer.isNull()) << trace;
    EXPECT_EQ(Field(answer, "sessionId")["value"].asInt(), sessionId);

    // The trace file holds the same transactions, one JSON object per line.
    std::ifstream file(tracePath_);
    std::vector<Json::Value> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(Parse(line));
    }
    ASSERT_EQ(lines.size(), trace.size());
    EXPECT_EQ(lines.front()["sequence"], trace[0]["sequence"]);
}

TEST_F(PanelTest, ThePeersDataReachesTheClientsCallbackAndShowsInTheTraceBySize)
{
    int32_t sessionId = StartSession();
    auto [status, body] =
        Post("/api/peer/send", R"({"session": )" + std::to_string(sessionId) + R"(, "text": "hello from the panel"})");
    EXPECT_EQ(status, 200);
    EXPECT_EQ(body["name"].asString(), "EMU_OK");
    EXPECT_EQ(inbox_->Wait(1), "hello from the panel");
    Json::Value message = Entry(Get("/api/trace"), "SessionMessage", "callback");
    EXPECT_EQ(Field(message, "data")["size"].asUInt(), 20u);
    EXPECT_EQ(Field(message, "type")["value"].asInt(), 104);
    EXPECT_EQ(Post("/api/peer/send", R"({"session": 999, "text": "x"})").second["name"].asString(),
              "EMU_ERR_UNKNOWN_SESSION");
}

TEST_F(PanelTest, ScriptedAnswersAndActionsAreWhatTheClientSees)
{
    int32_t sessionId = StartSession();
    auto loaded = Post("/api/scenario", R"({"answers": [{"operation": "StopCollaboration", "status": 777},
                                                         {"operation": "SendCollaborationData", "delayMs": 200},
                                                         {"operation": "StartCollaboration", "drop": true}]})");
    ASSERT_EQ(loaded.first, 200) << loaded.second;
    EXPECT_EQ(collaboration_.StopCollaboration(sessionId), 777);
    EXPECT_EQ(collaboration_.SendCollaborationData(sessionId, "late", 4), TRBY_OK); // answered as usual, later
    EXPECT_GE(Entry(Get("/api/trace"), "SendCollaborationData", "request")["durationMs"].asDouble(), 200.0);
    Internal::SetStartAnswerWait(300ms); // a dropped start is never answered through its callback
    EXPECT_EQ(collaboration_.StartCollaboration(4700, peer_, "x").first, ERR_TRBY_NO_ANSWER);
    Internal::SetStartAnswerWait(Internal::START_ANSWER_WAIT);

    // An action: the peer speaks first, right after the next session starts.
    ASSERT_EQ(Post("/api/scenario",
                   R"({"actions": [{"after": "session.start", "delayMs": 20, "do": "peer-send", "text": "hi first"}]})")
                  .first,
              200);
    StartSession();
    EXPECT_EQ(inbox_->Wait(2), "hi first"); // after "late", which the emulator handed to the target's callback
}

// Each check that keeps other sites and other users out, with exactly what it refuses.
TEST_F(PanelTest, RequestsWithoutTheTokenOrFromAnotherHostOrOriginAreRefused)
{
    std::string host = "127.0.0.1:" + std::to_string(port_);
    struct Case {
        const char *what;
        httplib::Headers headers;
        std::string path;
        int status;
    };
    const Case cases[] = {
        {"no token", {}, "/api/state", 401},
        {"wrong token", {{"Authorization", "Bearer " + std::string(token_.size(), '0')}}, "/api/state", 401},
        {"token of another length", {{"Authorization", "Bearer " + token_ + "0"}}, "/api/state", 401},
        {"page without token", {}, "/", 401},
        {"a rebound DNS name", {{"Host", "panel.attacker.example:" + std::to_string(port_)}}, "/api/state", 403},
        {"another port", {{"Host", "127.0.0.1:1"}}, "/api/state", 403},
        {"another site's page", {{"Origin", "http://attacker.example"}}, "/api/state", 403},
        {"the same host on https", {{"Origin", "https://" + host}}, "/api/state", 403},
        {"the panel's own page", {{"Origin", "http://" + host}}, "/api/state", 200},
        {"token in the address", {}, "/api/state?token=" + token_, 200},
        {"localhost", {{"Host", "localhost:" + std::to_string(port_)}}, "/api/state", 200},
    };
    for (const Case &item : cases) {
        httplib::Headers headers = item.headers;
        bool tokenGiven = item.status != 401 && item.path.find("token=") == std::string::npos;
        if (tokenGiven && headers.count("Authorization") == 0) {
            headers.emplace("Authorization", "Bearer " + token_);
        }
        auto result = client_->Get(item.path.c_str(), headers);
        ASSERT_TRUE(result) << item.what;
        EXPECT_EQ(result->status, item.status) << item.what << ": " << result->body;
    }
    // A refused request changes nothing.
    httplib::Headers foreign = {{"Authorization", "Bearer " + token_}, {"Origin", "http://attacker.example"}};
    EXPECT_EQ(client_->Post("/api/service/kill", foreign, "{}", "application/json")->status, 403);
    EXPECT_TRUE(Get("/api/state")["running"].asBool());
}

TEST_F(PanelTest, MalformedInputGetsA400NamingTheFieldAndChangesNothing)
{
    int32_t sessionId = StartSession();
    const std::pair<const char *, std::string> refused[][1] = {
        {{"/api/peer/send", "{not json"}},
        {{"/api/peer/send", "[1, 2]"}},
        {{"/api/peer/send", R"({"text": "x"})"}},
        {{"/api/peer/send", R"({"session": "1", "text": "x"})"}},
        {{"/api/peer/send", R"({"session": 1, "text": "x", "kind": "shout"})"}},
        {{"/api/surface/event", R"({"connection": 1, "type": 5})"}},
        {{"/api/scenario", R"({"answers": [{"operation": "Fly", "status": 1}]})"}},
        {{"/api/scenario", R"({"answers": [{"operation": "StopCollaboration"}]})"}},
        {{"/api/scenario", R"({"actions": [{"after": "session.start", "do": "explode"}]})"}},
        {{"/api/scenario", R"({"actions": [{"after": "session.start", "do": "kill-service", "count": 0}]})"}},
        {{"/api/scenario", R"({"answer": []})"}},
    };
    const char *named[] = {
        "not JSON",   "object",        "session",          "session", "kind", "type", "answers[0].operation",
        "answers[0]", "actions[0].do", "actions[0].count", "answer"};
    Json::Value scenarioBefore = Get("/api/scenario");
    for (size_t i = 0; i < std::size(refused); i++) {
        auto [status, body] = Post(refused[i][0].first, refused[i][0].second);
        EXPECT_EQ(status, 400) << refused[i][0].second;
        EXPECT_NE(body["error"].asString().find(named[i]), std::string::npos) << body;
    }
    EXPECT_EQ(Get("/api/scenario"), scenarioBefore);
    EXPECT_EQ(Get("/api/state")["sessions"][0]["id"].asInt(), sessionId);
    EXPECT_EQ(Entry(Get("/api/trace"), "SessionMessage", "callback"), Json::Value()); // nothing was sent
}

TEST_F(PanelTest, TheStreamOpensWithTheStateAndCarriesEachTransaction)
{
    std::string received;
    std::thread reader([&] {
        httplib::Client stream("127.0.0.1", port_);
        stream.Get(("/api/stream?token=" + token_).c_str(), [&](const char *data, size_t length) {
            received.append(data, length);
            return received.find("event: trace") == std::string::npos; // stop after the first transaction
        });
    });
    while (Get("/api/state").isNull()) {
    }
    std::this_thread::sleep_for(100ms); // the stream is open before the session starts (completion, not speed)
    StartSession();
    reader.join();
    EXPECT_EQ(received.rfind("event: state\ndata: {", 0), 0u) << received.substr(0, 200);
    EXPECT_NE(received.find("\"operation\":\"RegisterCollaborationCallback\""), std::string::npos);
}

TEST(PanelStartTest, ABadScenarioFileOrAddressKeepsTheServerFromStarting)
{
    std::string path = g_directory + "/bad-scenario.json";
    const std::pair<std::string, std::string> files[] = {
        {R"({"answers": [{"operation": "StopCollaboration", "status": "x"}]})", "answers[0].status"},
        {"{\n  \"actions\": [\n    {\"after\": 1}\n", "Line 4"},
    };
    for (const auto &[text, named] : files) {
        std::ofstream(path) << text;
        Launch launch = StartServer({"--http", "127.0.0.1:0", "--scenario", path});
        EXPECT_EQ(launch.pid, -1);
        EXPECT_TRUE(WIFEXITED(launch.status) && WEXITSTATUS(launch.status) == 2) << launch.status;
        EXPECT_NE(launch.firstLines.find(named), std::string::npos) << launch.firstLines;
    }
    Launch remote = StartServer({"--http", "0.0.0.0:0"});
    EXPECT_EQ(remote.pid, -1);
    EXPECT_NE(remote.firstLines.find("--http-allow-remote"), std::string::npos) << remote.firstLines;
    Launch badAddress = StartServer({"--http", "somewhere:80"});
    EXPECT_NE(badAddress.firstLines.find("cannot use \"--http\""), std::string::npos) << badAddress.firstLines;
}
} // namespace
} // namespace OHOS::TarnbyTest

int main(int argc, char **argv)
{
    char directory[] = "/tmp/panel-test-XXXXXX";
    if (getenv("OHOS_HOST_IPC_DIR") == nullptr && mkdtemp(directory) != nullptr) {
        setenv("OHOS_HOST_IPC_DIR", directory, 1); // this process and the server find each other here
    }
    OHOS::TarnbyTest::g_directory = getenv("OHOS_HOST_IPC_DIR");
    OHOS::TarnbyTest::g_server = TARNBY_EMULATOR_SERVER_PATH;
    testing::InitGoogleTest(&argc, argv);
    int result = RUN_ALL_TESTS();
    std::string remove = "rm -rf " + std::string(directory);
    return system(remove.c_str()) == 0 ? result : 1;
}
