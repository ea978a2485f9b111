// The demo program, run as a user runs it: every scenario's key results appear in its transcript and it exits 0;
// usage errors exit non-zero.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <string>

namespace {
struct DemoRun {
    int exitCode = -1;
    std::string output; // stdout and stderr together
};

DemoRun RunDemo(const std::string &arguments)
{
    DemoRun run;
    std::string command = std::string(TARNBY_DEMO_PATH) + " " + arguments + " 2>&1";
    FILE *pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return run;
    }
    char buffer[4096];
    size_t got = 0;
    while ((got = fread(buffer, 1, sizeof(buffer), pipe)) > 0) {
        run.output.append(buffer, got);
    }
    int status = pclose(pipe);
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

// Whether one line of `output` holds every fragment, in the given order.
testing::AssertionResult Shows(const std::string &output, std::initializer_list<std::string> fragments)
{
    size_t lineStart = 0;
    while (lineStart < output.size()) {
        size_t lineEnd = output.find('\n', lineStart);
        lineEnd = lineEnd == std::string::npos ? output.size() : lineEnd;
        size_t at = lineStart;
        bool all = true;
        for (const std::string &fragment : fragments) {
            at = output.find(fragment, at);
            all = all && at != std::string::npos && at + fragment.size() <= lineEnd;
            if (!all) {
                break;
            }
            at += fragment.size();
        }
        if (all) {
            return testing::AssertionSuccess();
        }
        lineStart = lineEnd + 1;
    }
    testing::AssertionResult failure = testing::AssertionFailure() << "no line with";
    for (const std::string &fragment : fragments) {
        failure << " [" << fragment << "]";
    }
    return failure << " in the transcript:\n" << output;
}

TEST(DemoTest, AllScenariosShowTheirKeyResultsAndExitZero)
{
    DemoRun run = RunDemo("all");
    EXPECT_EQ(run.exitCode, 0) << run.output;
    const std::string &out = run.output;
    // collaboration: a fresh session, data both ways on the IPC thread, a refused id, the event on stop
    EXPECT_TRUE(Shows(out, {"StartCollaboration(localId=4700, ", ") -> TRBY_OK (0), session id 1"}));
    const std::string heard = "callback on ipc thread: OnCollaborationData(session=1, ";
    EXPECT_TRUE(Shows(out, {heard + "18 bytes \"hello from the app\")"}));
    EXPECT_TRUE(Shows(out, {heard + "19 bytes \"hello from the peer\")"}));
    EXPECT_TRUE(Shows(out, {"SendCollaborationData(session=999, \"lost\") -> EMU_ERR_UNKNOWN_SESSION (290004)"}));
    EXPECT_TRUE(Shows(out, {"callback on ipc thread: OnCollaborationEvent(session=1, 7 bytes \"stopped\")"}));
    // audio: states kept by the service
    EXPECT_TRUE(Shows(out, {"InitAudioTransfer(", ") -> TRBY_OK (0), connId 2"}));
    EXPECT_TRUE(Shows(out, {"StartAudioTransfer(connId=2) -> EMU_ERR_WRONG_STATE (290006)"}));
    EXPECT_TRUE(Shows(out, {"StartAudioTransfer(connId=2) -> EMU_ERR_UNKNOWN_CONNECTION (290005)"}));
    EXPECT_TRUE(Shows(out, {"-> ERR_TRBY_NOT_SUPPORTED (461440999)"}));
    // surface: the service's connection id, events for start, the cast operation and stop
    EXPECT_TRUE(Shows(out, {"-> 3 (the service's connection id)"}));
    EXPECT_TRUE(Shows(out, {"callback on ipc thread: OnEvent(code=0, eventId=40001, ", "\"connId\":3"}));
    EXPECT_TRUE(Shows(out, {"callback on ipc thread: OnEvent(code=2, eventId=10001, ", "\"operation\":2"}));
    EXPECT_TRUE(Shows(out, {"callback on ipc thread: OnEvent(code=0, eventId=40002, ", "\"connId\":3"}));
    // death: 1012 with the transfer's id heard on an IPC thread, no service, then the service found again
    EXPECT_TRUE(Shows(out, {"callback on ipc thread: OnEvent(code=1012, eventId=4, \"errorcode\")"}));
    EXPECT_TRUE(Shows(out, {"StopSurfaceTransfer(connId=4) -> ERR_TRBY_SERVICE_DEAD (1012)"}));
    EXPECT_TRUE(Shows(out, {"StopSurfaceTransfer(connId=4) -> EMU_ERR_UNKNOWN_CONNECTION (290005)"}));
    EXPECT_TRUE(Shows(out, {"-> 5 (the service's connection id)"}));
    for (const char *scenario : {"collaboration", "audio", "surface", "death"}) {
        EXPECT_TRUE(Shows(out, {std::string("  ") + scenario + ": as expected"}));
    }
    EXPECT_EQ(out.find("not as expected"), std::string::npos);
    EXPECT_EQ(out.find(" log "), std::string::npos); // the library's lines only with --log
}

TEST(DemoTest, LogOptionAddsTheLibrarysLines)
{
    DemoRun run = RunDemo("--log collaboration");
    EXPECT_EQ(run.exitCode, 0) << run.output;
    EXPECT_TRUE(Shows(run.output, {"log E TRBYCollaboration: [", "]StartCollaboration# enter"}));
    EXPECT_TRUE(Shows(run.output, {"log I TRBYEmulator: session.start# session 1 opened"}));
    EXPECT_EQ(run.output.find("== audio"), std::string::npos); // only the scenario asked for
}

TEST(DemoTest, UsageErrorsPrintTheUsageAndFail)
{
    for (const char *arguments : {"bogus", "--verbose", "audio death"}) {
        DemoRun run = RunDemo(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments;
        EXPECT_TRUE(Shows(run.output, {"usage: tarnby_demo"})) << arguments;
    }
    DemoRun help = RunDemo("--help");
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(Shows(help.output, {"  death ", "the service dies"}));
}
} // namespace
