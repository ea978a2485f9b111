// SPDX-License-Identifier: Apache-2.0
// tarnby_demo: the client library at work against the service emulator, with a readable transcript.
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "scenarios.h"

namespace OHOS::TarnbyDemo {
namespace {
constexpr int EXIT_UNEXPECTED = 1;
constexpr int EXIT_USAGE = 2;

struct Scenario {
    const char *name;
    bool (*run)(DemoContext &context);
    const char *summary;
};

const std::vector<Scenario> SCENARIOS = {
    {"collaboration", RunCollaboration, "register a callback, start a session, send data both ways, stop, unregister"},
    {"audio", RunAudio, "initialise, start, stop and release an audio transfer"},
    {"surface", RunSurface, "a screen cast with screen parameters, cast operations and a virtual display"},
    {"death", RunDeath, "the service dies during a cast; the callback hears 1012; the service is found again"},
};

void PrintUsage(std::ostream &out)
{
    out << "usage: tarnby_demo [--log] [--ipc [--server PATH]] [scenario]\n"
           "\n"
           "Runs the Tarnby client library end to end against the in-process service emulator and prints a\n"
           "transcript: each call with its arguments and the status it returned (name and number), each callback\n"
           "that arrived and on which thread, and what the emulated service did.\n"
           "\n"
           "scenarios:\n";
    for (const Scenario &scenario : SCENARIOS) {
        out << "  " << scenario.name << std::string(15 - std::strlen(scenario.name), ' ') << scenario.summary << "\n";
    }
    out << "  all            every scenario above, in this order (the default)\n"
           "\n"
           "options:\n"
           "  --log          also print the library's log lines (and the emulator's) in the transcript\n"
           "  --ipc          run the emulator as tarnby_emulator_server in a process of its own, reached through\n"
           "                 the cross-process registry (OHOS_HOST_IPC_DIR, a fresh private directory when unset);\n"
           "                 its death is a real SIGKILL and it is started again\n"
           "  --server PATH  the server program for --ipc (default: the one built beside this program)\n"
           "  --help, -h     print this text\n"
           "\n"
           "Exits 0 when every scenario's key results are as expected, 1 when one is not, 2 on a usage error.\n";
}

struct Options {
    bool showLogs = false;
    bool ipc = false;
    std::string server = TARNBY_EMULATOR_SERVER_PATH;
    bool help = false;
    std::string scenario = "all";
};

// False on an unknown option, an unknown scenario or more than one scenario.
bool ParseOptions(int argc, char *argv[], Options &options)
{
    bool scenarioGiven = false;
    for (int i = 1; i < argc; ++i) {
        std::string argument = argv[i];
        if (argument == "--log") {
            options.showLogs = true;
        } else if (argument == "--ipc") {
            options.ipc = true;
        } else if (argument == "--server" && i + 1 < argc) {
            options.server = argv[++i];
        } else if (argument == "--help" || argument == "-h") {
            options.help = true;
        } else if (argument.rfind("-", 0) == 0 || scenarioGiven) {
            std::cerr << "tarnby_demo: unexpected argument \"" << argument << "\"\n";
            return false;
        } else {
            options.scenario = argument;
            scenarioGiven = true;
        }
    }
    bool known = options.scenario == "all";
    for (const Scenario &scenario : SCENARIOS) {
        known = known || options.scenario == scenario.name;
    }
    if (!known) {
        std::cerr << "tarnby_demo: unknown scenario \"" << options.scenario << "\"\n";
    }
    return known;
}

int RunScenarios(const Options &options)
{
    Transcript transcript(options.showLogs);
    std::unique_ptr<ServiceControl> service =
        options.ipc ? TarnbyEmulator::ServiceProcess(options.server) : TarnbyEmulator::InProcessService();
    if (!service->Start()) {
        std::cerr << "tarnby_demo: the emulator could not register the service\n";
        return EXIT_UNEXPECTED;
    }
    transcript.Service("the Tarnby service is registered under 70633, " + service->Where());
    DemoContext context{transcript, *service, sptr<DemoSurfaceCallback>::MakeSptr(transcript)};
    std::vector<std::pair<std::string, bool>> results;
    for (const Scenario &scenario : SCENARIOS) {
        if (options.scenario == "all" || options.scenario == scenario.name) {
            transcript.Section(std::string(scenario.name) + ": " + scenario.summary);
            results.emplace_back(scenario.name, scenario.run(context));
        }
    }
    service->Stop();

    transcript.Section("summary");
    bool allExpected = true;
    for (const auto &[name, expected] : results) {
        transcript.Note(name + ": " + (expected ? "as expected" : "NOT as expected"));
        allExpected = allExpected && expected;
    }
    return allExpected ? 0 : EXIT_UNEXPECTED;
}
} // namespace
} // namespace OHOS::TarnbyDemo

int main(int argc, char *argv[])
{
    using namespace OHOS::TarnbyDemo;
    Options options;
    if (!ParseOptions(argc, argv, options)) {
        PrintUsage(std::cerr);
        return EXIT_USAGE;
    }
    if (options.help) {
        PrintUsage(std::cout);
        return 0;
    }
    char directory[] = "/tmp/tarnby-demo-XXXXXX";
    bool ownDirectory = options.ipc && getenv("OHOS_HOST_IPC_DIR") == nullptr && mkdtemp(directory) != nullptr;
    if (ownDirectory) {
        setenv("OHOS_HOST_IPC_DIR", directory, 1); // before the first IPC use: the mode is read once
    }
    int result = RunScenarios(options);
    if (ownDirectory) {
        std::string remove = std::string("rm -rf ") + directory;
        result = system(remove.c_str()) == 0 ? result : result;
    }
    return result;
}
