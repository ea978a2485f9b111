// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EMULATOR_SERVER_SCENARIO_H
#define TARNBY_EMULATOR_SERVER_SCENARIO_H

// Scripted behaviour of the emulated service, from a JSON file or the control panel:
//   {"answers": [{"operation": "StopCollaboration", "status": 777},       answer with this int32 instead
//                {"operation": "StartAudioTransfer", "delayMs": 500},    answer as usual, that much later
//                {"operation": "StartCollaboration", "drop": true}],     answer 0 and do nothing else (a start is
//                                                                        then never answered through its callback)
//    "actions": [{"after": "session.start", "delayMs": 100, "do": "peer-send", "text": "hello"},
//                {"after": "audio.start", "count": 3, "do": "kill-service"}]}
// An action runs once, `delayMs` after the `count`-th event of kind `after` (counted from when it was loaded); the
// peer's actions go to the session (or connection) of that event. "do" is one of peer-send, peer-event,
// surface-event (with "type", "code", "extra"), kill-service, restart-service.
#include <json/json.h>

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "service_control.h"
#include "tarnby_emulator.h"

namespace OHOS::TarnbyEmulator {
struct ScriptedAnswer {
    std::string operation;
    std::optional<int32_t> status;
    uint32_t delayMs = 0;
    bool drop = false;
};

struct ScriptedAction {
    std::string after;
    uint32_t count = 1;
    uint32_t delayMs = 0;
    std::string what;
    std::string text;
    uint32_t surfaceType = 40001;
    uint32_t code = 0;
};

struct Scenario {
    std::vector<ScriptedAnswer> answers;
    std::vector<ScriptedAction> actions;
};

// Parses and checks a scenario; on failure `error` names the field (and jsoncpp's line for bad JSON).
bool ParseScenario(const std::string &text, Scenario &scenario, std::string &error);
Json::Value ScenarioJson(const Scenario &scenario);

// Plays a scenario against an emulator: its answers through the request hook, its actions when their events come.
class ScenarioRunner {
public:
    explicit ScenarioRunner(Emulator &emulator);
    ~ScenarioRunner();
    ScenarioRunner(const ScenarioRunner &) = delete;
    ScenarioRunner &operator=(const ScenarioRunner &) = delete;

    // Replaces the scenario (and forgets the counts and pending actions of the old one).
    void Load(Scenario scenario);
    Scenario Current() const;
    // Every event of the emulator, in order (the server forwards its event sink here).
    void OnEvent(const EmulatorEvent &event);

private:
    struct Due {
        std::chrono::steady_clock::time_point at;
        ScriptedAction action;
        int32_t id;
    };
    std::optional<ScriptedReply> Answer(const DecodedRequest &request);
    void Run();
    void Do(const ScriptedAction &action, int32_t id);

    Emulator &emulator_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    Scenario scenario_;
    std::map<std::string, uint32_t> seen_; // events of each kind since the scenario was loaded
    std::vector<bool> fired_;
    std::vector<Due> due_;
    bool stopping_ = false;
    std::thread thread_;
};
} // namespace OHOS::TarnbyEmulator

#endif // TARNBY_EMULATOR_SERVER_SCENARIO_H
