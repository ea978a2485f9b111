// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EMULATOR_SERVER_CONTROL_PANEL_H
#define TARNBY_EMULATOR_SERVER_CONTROL_PANEL_H

// The emulator's control panel over HTTP: a web page, a JSON API with everything the in-process emulator offers, and
// a stream of live updates (Server-Sent Events). It is a control port on a developer's machine: it listens on the
// loopback address unless told otherwise, every request must carry the access token printed at start, and a request
// whose Host or Origin is not the panel's own is refused, so no other site and no rebound DNS name can drive it.
#include <json/json.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "scenario.h"
#include "tarnby_emulator.h"
#include "trace_recorder.h"

namespace httplib {
class Server;
class Request;
class Response;
} // namespace httplib

namespace OHOS::TarnbyEmulator {
struct PanelOptions {
    std::string address = "127.0.0.1";
    int port = 0; // 0: any free port
    bool allowRemote = false;
};

// "[ADDR:]PORT" into `options`; false when it is neither.
bool ParsePanelAddress(const std::string &text, PanelOptions &options);

class ControlPanel {
public:
    ControlPanel(Emulator &emulator, TraceRecorder &trace, ScenarioRunner &scenario);
    ~ControlPanel();
    ControlPanel(const ControlPanel &) = delete;
    ControlPanel &operator=(const ControlPanel &) = delete;

    // Binds and starts serving on a thread of its own; false (with `error`) when it cannot.
    bool Start(const PanelOptions &options, std::string &error);
    // The address to open in a browser, with the token.
    std::string Url() const;
    // Sends `data` to every live page as an event named `kind`.
    void Publish(const std::string &kind, const Json::Value &data);
    // The state as the API shows it.
    Json::Value State() const;

private:
    struct Listener {
        std::mutex mutex;
        std::condition_variable changed;
        std::deque<std::string> messages;
        bool closed = false;
    };

    void Route();
    bool Allowed(const httplib::Request &request, httplib::Response &response) const;
    void Stream(httplib::Response &response);
    void CloseListeners();

    Emulator &emulator_;
    TraceRecorder &trace_;
    ScenarioRunner &scenario_;
    std::unique_ptr<httplib::Server> server_;
    std::thread thread_;
    std::string token_;
    std::string address_;
    int port_ = 0;
    bool allowRemote_ = false;
    std::mutex listenersMutex_;
    std::vector<std::shared_ptr<Listener>> listeners_;
};
} // namespace OHOS::TarnbyEmulator

#endif // TARNBY_EMULATOR_SERVER_CONTROL_PANEL_H
