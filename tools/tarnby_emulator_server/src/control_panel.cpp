// SPDX-License-Identifier: Apache-2.0
#include "control_panel.h"

#include <httplib.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <regex>

#include "panel_page.h"

namespace OHOS::TarnbyEmulator {
namespace {
constexpr size_t LISTENER_BACKLOG = 2000; // messages a page may fall behind before it is cut off
constexpr int KEEPALIVE_SECONDS = 15;
constexpr int RECENT_EVENTS = 200;

std::string NewToken()
{
    std::random_device random;
    std::string token;
    char digits[9];
    for (int i = 0; i < 4; i++) {
        std::snprintf(digits, sizeof(digits), "%08x", static_cast<unsigned>(random()));
        token += digits;
    }
    return token;
}

bool SameText(const std::string &a, const std::string &b)
{
    unsigned difference = a.size() ^ b.size();
    for (size_t i = 0; i < a.size() && i < b.size(); i++) {
        difference |= static_cast<unsigned char>(a[i]) ^ static_cast<unsigned char>(b[i]);
    }
    return difference == 0;
}

std::string Compact(const Json::Value &value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

void Reply(httplib::Response &response, int status, const Json::Value &body)
{
    response.status = status;
    response.set_content(Compact(body), "application/json");
}

void Fail(httplib::Response &response, int status, const std::string &why)
{
    Json::Value body;
    body["error"] = why;
    Reply(response, status, body);
}

// The request's body as a JSON object; false (and a 400 with the reason) otherwise.
bool Body(const httplib::Request &request, httplib::Response &response, Json::Value &body)
{
    Json::CharReaderBuilder builder;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    std::string errors;
    const std::string &text = request.body;
    if (!reader->parse(text.data(), text.data() + text.size(), &body, &errors) || !body.isObject()) {
        Fail(response, 400, errors.empty() ? "a JSON object is expected" : "not JSON: " + errors);
        return false;
    }
    return true;
}

// A member of `body` that must be there with the type `check` accepts; a 400 naming it otherwise.
template <typename Check>
bool Member(const Json::Value &body, const char *name, Check check, const char *expected, httplib::Response &response)
{
    if (!body.isMember(name) || !check(body[name])) {
        Fail(response, 400, std::string(name) + ": " + expected + " is expected");
        return false;
    }
    return true;
}

bool IsInt(const Json::Value &value)
{
    return value.isInt();
}
bool IsUint(const Json::Value &value)
{
    return value.isUInt();
}
bool IsString(const Json::Value &value)
{
    return value.isString();
}

Json::Value Result(int32_t result)
{
    Json::Value body;
    body["result"] = result;
    const char *name = EmulatorResultName(result);
    body["name"] = name != nullptr ? name : "";
    return body;
}

// "localhost", "127.0.0.1", "[::1]" or any other address literal: names a DNS rebinding could point elsewhere are
// not accepted.
bool AddressLiteral(const std::string &host)
{
    static const std::regex literal(R"(localhost|\d{1,3}(\.\d{1,3}){3}|\[[0-9a-fA-F:.]+\])");
    return std::regex_match(host, literal);
}

bool Loopback(const std::string &host)
{
    return host == "localhost" || host == "127.0.0.1" || host == "[::1]";
}
} // namespace

bool ParsePanelAddress(const std::string &text, PanelOptions &options)
{
    static const std::regex form(R"((?:(\d{1,3}(?:\.\d{1,3}){3}|localhost):)?(\d{1,5}))");
    std::smatch match;
    if (!std::regex_match(text, match, form) || std::stoi(match[2].str()) > 65535) {
        return false;
    }
    if (match[1].matched) {
        options.address = match[1].str() == "localhost" ? "127.0.0.1" : match[1].str();
    }
    options.port = std::stoi(match[2].str());
    return true;
}

ControlPanel::ControlPanel(Emulator &emulator, TraceRecorder &trace, ScenarioRunner &scenario) :
    emulator_(emulator), trace_(trace), scenario_(scenario), server_(std::make_unique<httplib::Server>()),
    token_(NewToken())
{
}

ControlPanel::~ControlPanel()
{
    CloseListeners();
    server_->stop();
    if (thread_.joinable()) {
        thread_.join();
    }
}

bool ControlPanel::Start(const PanelOptions &options, std::string &error)
{
    if (!options.allowRemote && options.address.rfind("127.", 0) != 0) {
        error = options.address + " is not a loopback address: add --http-allow-remote to listen there";
        return false;
    }
    allowRemote_ = options.allowRemote;
    address_ = options.address;
    Route();
    bool bound = options.port == 0 ? (port_ = server_->bind_to_any_port(address_)) > 0
                                   : server_->bind_to_port(address_, port_ = options.port);
    if (!bound) {
        error = "cannot listen on " + address_ + ":" + std::to_string(options.port);
        return false;
    }
    thread_ = std::thread([this] { server_->listen_after_bind(); });
    return true;
}

std::string ControlPanel::Url() const
{
    return "http://" + address_ + ":" + std::to_string(port_) + "/?token=" + token_;
}

bool ControlPanel::Allowed(const httplib::Request &request, httplib::Response &response) const
{
    std::string host = request.get_header_value("Host");
    std::string suffix = ":" + std::to_string(port_);
    bool hostOk = host.size() > suffix.size() && host.compare(host.size() - suffix.size(), suffix.size(), suffix) == 0;
    std::string name = hostOk ? host.substr(0, host.size() - suffix.size()) : "";
    hostOk = hostOk && (Loopback(name) || name == address_ || (allowRemote_ && AddressLiteral(name)));
    if (!hostOk) {
        Fail(response, 403, "Host \"" + host + "\" is not this panel's");
        return false;
    }
    if (request.has_header("Origin") && request.get_header_value("Origin") != "http://" + host) {
        Fail(response, 403, "Origin \"" + request.get_header_value("Origin") + "\" is not this panel's");
        return false;
    }
    std::string bearer = request.get_header_value("Authorization");
    std::string given = bearer.rfind("Bearer ", 0) == 0 ? bearer.substr(7) : request.get_param_value("token");
    if (!SameText(given, token_)) {
        Fail(response, 401, "the access token is missing or wrong");
        return false;
    }
    return true;
}

Json::Value ControlPanel::State() const
{
    EmulatorSnapshot snapshot = emulator_.Snapshot();
    Json::Value state;
    state["running"] = snapshot.running;
    state["sessions"] = Json::Value(Json::arrayValue);
    for (const auto &session : snapshot.sessions) {
        Json::Value item;
        item["id"] = session.id;
        item["local"] = session.local;
        item["target"] = session.target;
        item["extraData"] = session.extraData;
        state["sessions"].append(item);
    }
    state["registrations"] = Json::Value(Json::arrayValue);
    for (const std::string &target : snapshot.registrations) {
        state["registrations"].append(target);
    }
    state["transfers"] = Json::Value(Json::arrayValue);
    for (const auto &transfer : snapshot.transfers) {
        Json::Value item;
        item["id"] = transfer.id;
        item["kind"] = transfer.kind;
        item["remote"] = transfer.remote;
        item["state"] = TransferStateName(transfer.state);
        state["transfers"].append(item);
    }
    return state;
}

void ControlPanel::Route()
{
    server_->set_pre_routing_handler([this](const httplib::Request &request, httplib::Response &response) {
        return Allowed(request, response) ? httplib::Server::HandlerResponse::Unhandled
                                          : httplib::Server::HandlerResponse::Handled;
    });
    server_->Get("/", [](const httplib::Request &, httplib::Response &response) {
        response.set_content(PANEL_PAGE, "text/html; charset=utf-8");
    });
    server_->Get("/api/state",
                 [this](const httplib::Request &, httplib::Response &response) { Reply(response, 200, State()); });
    server_->Get("/api/events", [this](const httplib::Request &, httplib::Response &response) {
        std::vector<EmulatorEvent> events = emulator_.Events();
        Json::Value list(Json::arrayValue);
        for (size_t i = events.size() > RECENT_EVENTS ? events.size() - RECENT_EVENTS : 0; i < events.size(); i++) {
            list.append(EventJson(events[i]));
        }
        Reply(response, 200, list);
    });
    server_->Get("/api/trace", [this](const httplib::Request &, httplib::Response &response) {
        Reply(response, 200, trace_.Entries());
    });
    server_->Get("/api/scenario", [this](const httplib::Request &, httplib::Response &response) {
        Reply(response, 200, ScenarioJson(scenario_.Current()));
    });
    server_->Get("/api/stream", [this](const httplib::Request &, httplib::Response &response) { Stream(response); });
    server_->Post("/api/peer/send", [this](const httplib::Request &request, httplib::Response &response) {
        Json::Value body;
        if (!Body(request, response, body) || !Member(body, "session", IsInt, "an int32", response) ||
            !Member(body, "text", IsString, "a string", response)) {
            return;
        }
        std::string kind = body.get("kind", "data").isString() ? body.get("kind", "data").asString() : "";
        if (kind != "data" && kind != "event") {
            return Fail(response, 400, "kind: \"data\" or \"event\" is expected");
        }
        std::string text = body["text"].asString();
        int32_t session = body["session"].asInt();
        Reply(response, 200,
              Result(kind == "data" ? emulator_.PeerSendData(session, std::vector<uint8_t>(text.begin(), text.end()))
                                    : emulator_.PeerSendEvent(session, text)));
    });
    server_->Post("/api/surface/event", [this](const httplib::Request &request, httplib::Response &response) {
        Json::Value body;
        if (!Body(request, response, body) || !Member(body, "connection", IsInt, "an int32", response) ||
            !Member(body, "type", IsUint, "40001, 40002 or 10001", response)) {
            return;
        }
        uint32_t type = body["type"].asUInt();
        if ((type != 40001 && type != 40002 && type != 10001) || !body.get("code", 0u).isUInt() ||
            !body.get("extra", "").isString()) {
            return Fail(response, 400, "type: 40001, 40002 or 10001, code: a uint32, extra: a string are expected");
        }
        Reply(response, 200,
              Result(emulator_.SendSurfaceEvent(body["connection"].asInt(), type, body.get("code", 0u).asUInt(),
                                                body.get("extra", "").asString())));
    });
    server_->Post("/api/service/kill", [this](const httplib::Request &, httplib::Response &response) {
        emulator_.Kill();
        Reply(response, 200, State());
        Publish("state", State());
    });
    server_->Post("/api/service/restart", [this](const httplib::Request &, httplib::Response &response) {
        bool back = emulator_.Restart();
        Reply(response, back ? 200 : 500, State());
        Publish("state", State());
    });
    server_->Post("/api/scenario", [this](const httplib::Request &request, httplib::Response &response) {
        Scenario scenario;
        std::string error;
        if (!ParseScenario(request.body, scenario, error)) {
            return Fail(response, 400, error);
        }
        scenario_.Load(scenario);
        Reply(response, 200, ScenarioJson(scenario));
        Publish("scenario", ScenarioJson(scenario));
    });
}

void ControlPanel::Publish(const std::string &kind, const Json::Value &data)
{
    std::string message = "event: " + kind + "\ndata: " + Compact(data) + "\n\n";
    std::lock_guard<std::mutex> lock(listenersMutex_);
    for (const auto &listener : listeners_) {
        std::lock_guard<std::mutex> listenerLock(listener->mutex);
        if (listener->messages.size() >= LISTENER_BACKLOG) {
            listener->closed = true; // a page that stopped reading is cut off, not waited for
        } else {
            listener->messages.push_back(message);
        }
        listener->changed.notify_all();
    }
}

// One page's stream: the state first, then every update as it happens, on a thread of the HTTP server.
void ControlPanel::Stream(httplib::Response &response)
{
    auto listener = std::make_shared<Listener>();
    listener->messages.push_back("event: state\ndata: " + Compact(State()) + "\n\n");
    {
        std::lock_guard<std::mutex> lock(listenersMutex_);
        listeners_.push_back(listener);
    }
    response.set_header("Cache-Control", "no-store");
    response.set_chunked_content_provider(
        "text/event-stream",
        [listener](size_t, httplib::DataSink &sink) {
            std::unique_lock<std::mutex> lock(listener->mutex);
            listener->changed.wait_for(lock, std::chrono::seconds(KEEPALIVE_SECONDS),
                                       [&] { return !listener->messages.empty() || listener->closed; });
            if (listener->closed) {
                return false;
            }
            if (listener->messages.empty()) {
                return sink.write(": keep-alive\n\n", 14); // also finds pages that went away
            }
            std::deque<std::string> messages;
            messages.swap(listener->messages);
            lock.unlock();
            for (const std::string &message : messages) {
                if (!sink.write(message.data(), message.size())) {
                    return false;
                }
            }
            return true;
        },
        [this, listener](bool) {
            std::lock_guard<std::mutex> lock(listenersMutex_);
            listeners_.erase(std::remove(listeners_.begin(), listeners_.end(), listener), listeners_.end());
        });
}

void ControlPanel::CloseListeners()
{
    std::lock_guard<std::mutex> lock(listenersMutex_);
    for (const auto &listener : listeners_) {
        std::lock_guard<std::mutex> listenerLock(listener->mutex);
        listener->closed = true;
        listener->changed.notify_all();
    }
}
} // namespace OHOS::TarnbyEmulator
