// SPDX-License-Identifier: Apache-2.0
#include "scenario.h"

#include <algorithm>
#include <memory>
#include <set>

namespace OHOS::TarnbyEmulator {
namespace {
const std::set<std::string> ACTIONS = {"peer-send", "peer-event", "surface-event", "kill-service", "restart-service"};
constexpr uint32_t MAX_DELAY_MS = 600000;

// Reads an optional unsigned member; false (with `error`) when it is there but is no number within `max`.
bool Unsigned(const Json::Value &object, const char *name, uint32_t max, uint32_t &value, const std::string &where,
              std::string &error)
{
    if (!object.isMember(name)) {
        return true;
    }
    const Json::Value &member = object[name];
    if (!member.isUInt() || member.asUInt() > max) {
        error = where + "." + name + ": a number from 0 to " + std::to_string(max) + " is expected";
        return false;
    }
    value = member.asUInt();
    return true;
}

bool Text(const Json::Value &object, const char *name, bool required, std::string &value, const std::string &where,
          std::string &error)
{
    if (!object.isMember(name)) {
        if (required) {
            error = where + "." + name + ": missing";
        }
        return !required;
    }
    if (!object[name].isString()) {
        error = where + "." + name + ": a string is expected";
        return false;
    }
    value = object[name].asString();
    return true;
}

bool ParseAnswer(const Json::Value &json, const std::string &where, ScriptedAnswer &answer, std::string &error)
{
    std::vector<std::string> known = OperationNames();
    if (!json.isObject()) {
        error = where + ": an object is expected";
        return false;
    }
    if (!Text(json, "operation", true, answer.operation, where, error)) {
        return false;
    }
    if (std::find(known.begin(), known.end(), answer.operation) == known.end()) {
        error = where + ".operation: \"" + answer.operation + "\" is no operation of the service";
        return false;
    }
    if (json.isMember("status")) {
        if (!json["status"].isInt()) {
            error = where + ".status: an int32 is expected";
            return false;
        }
        answer.status = json["status"].asInt();
    }
    if (json.isMember("drop") && !json["drop"].isBool()) {
        error = where + ".drop: true or false is expected";
        return false;
    }
    answer.drop = json.get("drop", false).asBool();
    if (!Unsigned(json, "delayMs", MAX_DELAY_MS, answer.delayMs, where, error)) {
        return false;
    }
    if (!answer.status && !answer.drop && answer.delayMs == 0) {
        error = where + ": one of status, delayMs or drop is expected";
        return false;
    }
    return true;
}

bool ParseAction(const Json::Value &json, const std::string &where, ScriptedAction &action, std::string &error)
{
    if (!json.isObject()) {
        error = where + ": an object is expected";
        return false;
    }
    if (!Text(json, "after", true, action.after, where, error) || !Text(json, "do", true, action.what, where, error) ||
        !Text(json, "text", false, action.text, where, error) ||
        !Text(json, "extra", false, action.text, where, error)) {
        return false;
    }
    if (ACTIONS.count(action.what) == 0) {
        error = where + ".do: \"" + action.what + "\" is none of peer-send, peer-event, surface-event, kill-service, " +
                "restart-service";
        return false;
    }
    if (!Unsigned(json, "count", 1000000, action.count, where, error) ||
        !Unsigned(json, "delayMs", MAX_DELAY_MS, action.delayMs, where, error) ||
        !Unsigned(json, "type", UINT32_MAX, action.surfaceType, where, error) ||
        !Unsigned(json, "code", UINT32_MAX, action.code, where, error)) {
        return false;
    }
    if (action.count == 0) {
        error = where + ".count: 1 or more is expected";
        return false;
    }
    return true;
}

template <typename Item, typename Parse>
bool ParseList(const Json::Value &root, const char *name, std::vector<Item> &items, Parse parse, std::string &error)
{
    if (!root.isMember(name)) {
        return true;
    }
    if (!root[name].isArray()) {
        error = std::string(name) + ": a list is expected";
        return false;
    }
    for (Json::ArrayIndex i = 0; i < root[name].size(); i++) {
        Item item;
        if (!parse(root[name][i], std::string(name) + "[" + std::to_string(i) + "]", item, error)) {
            return false;
        }
        items.push_back(std::move(item));
    }
    return true;
}
} // namespace

bool ParseScenario(const std::string &text, Scenario &scenario, std::string &error)
{
    Json::CharReaderBuilder builder;
    builder["rejectDupKeys"] = true;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value root;
    std::string errors;
    if (!reader->parse(text.data(), text.data() + text.size(), &root, &errors)) {
        error = "not JSON: " + errors.substr(0, errors.find('\n'));
        return false;
    }
    if (!root.isObject()) {
        error = "an object with \"answers\" and \"actions\" is expected";
        return false;
    }
    for (const std::string &member : root.getMemberNames()) {
        if (member != "answers" && member != "actions") {
            error = member + ": unknown (only answers and actions)";
            return false;
        }
    }
    Scenario parsed;
    if (!ParseList(root, "answers", parsed.answers, ParseAnswer, error) ||
        !ParseList(root, "actions", parsed.actions, ParseAction, error)) {
        return false;
    }
    scenario = std::move(parsed);
    return true;
}

Json::Value ScenarioJson(const Scenario &scenario)
{
    Json::Value json;
    json["answers"] = Json::Value(Json::arrayValue);
    for (const ScriptedAnswer &answer : scenario.answers) {
        Json::Value item;
        item["operation"] = answer.operation;
        if (answer.status) {
            item["status"] = *answer.status;
        }
        item["delayMs"] = answer.delayMs;
        item["drop"] = answer.drop;
        json["answers"].append(item);
    }
    json["actions"] = Json::Value(Json::arrayValue);
    for (const ScriptedAction &action : scenario.actions) {
        Json::Value item;
        item["after"] = action.after;
        item["count"] = action.count;
        item["delayMs"] = action.delayMs;
        item["do"] = action.what;
        item["text"] = action.text;
        json["actions"].append(item);
    }
    return json;
}

ScenarioRunner::ScenarioRunner(Emulator &emulator) : emulator_(emulator), thread_([this] { Run(); })
{
    emulator_.SetRequestHook([this](const DecodedRequest &request) { return Answer(request); });
}

ScenarioRunner::~ScenarioRunner()
{
    emulator_.SetRequestHook(nullptr);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void ScenarioRunner::Load(Scenario scenario)
{
    std::lock_guard<std::mutex> lock(mutex_);
    scenario_ = std::move(scenario);
    seen_.clear();
    fired_.assign(scenario_.actions.size(), false);
    due_.clear();
    changed_.notify_all();
}

Scenario ScenarioRunner::Current() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return scenario_;
}

// On the IPC thread of the request: a late answer holds that thread, as a slow service would.
std::optional<ScriptedReply> ScenarioRunner::Answer(const DecodedRequest &request)
{
    std::optional<ScriptedAnswer> scripted;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const ScriptedAnswer &answer : scenario_.answers) {
            if (answer.operation == request.operation) {
                scripted = answer;
            }
        }
    }
    if (!scripted) {
        return std::nullopt;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(scripted->delayMs));
    if (scripted->status) {
        return ScriptedReply{0, {*scripted->status}};
    }
    if (scripted->drop) {
        return ScriptedReply{0, {0}};
    }
    return std::nullopt; // late, then as usual
}

void ScenarioRunner::OnEvent(const EmulatorEvent &event)
{
    std::lock_guard<std::mutex> lock(mutex_);
    uint32_t seen = ++seen_[event.kind];
    for (size_t i = 0; i < scenario_.actions.size(); i++) {
        const ScriptedAction &action = scenario_.actions[i];
        if (!fired_[i] && action.after == event.kind && action.count == seen) {
            fired_[i] = true;
            due_.push_back(
                {std::chrono::steady_clock::now() + std::chrono::milliseconds(action.delayMs), action, event.id});
            changed_.notify_all();
        }
    }
}

void ScenarioRunner::Run()
{
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stopping_) {
        auto next = std::min_element(due_.begin(), due_.end(), [](const Due &a, const Due &b) { return a.at < b.at; });
        if (next == due_.end()) {
            changed_.wait(lock);
            continue;
        }
        if (changed_.wait_until(lock, next->at) != std::cv_status::timeout) {
            continue; // something changed: look again
        }
        next = std::min_element(due_.begin(), due_.end(), [](const Due &a, const Due &b) { return a.at < b.at; });
        if (next == due_.end() || next->at > std::chrono::steady_clock::now()) {
            continue;
        }
        Due due = *next;
        due_.erase(next);
        lock.unlock();
        Do(due.action, due.id); // outside the lock: the emulator's events come back into OnEvent
        lock.lock();
    }
}

void ScenarioRunner::Do(const ScriptedAction &action, int32_t id)
{
    if (action.what == "peer-send") {
        emulator_.PeerSendData(id, std::vector<uint8_t>(action.text.begin(), action.text.end()));
    } else if (action.what == "peer-event") {
        emulator_.PeerSendEvent(id, action.text);
    } else if (action.what == "surface-event") {
        emulator_.SendSurfaceEvent(id, action.surfaceType, action.code, action.text);
    } else if (action.what == "kill-service") {
        emulator_.Kill();
    } else if (action.what == "restart-service") {
        emulator_.Restart();
    }
}
} // namespace OHOS::TarnbyEmulator
