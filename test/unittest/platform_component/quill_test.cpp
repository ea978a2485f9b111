// SPDX-License-Identifier: Apache-2.0
// A component written for the device, built unchanged against the host: its client finds a fake service by the
// platform's id, reads a parcelable back into a shared_ptr and is called back, in one process and across two; its
// log lines carry its own tag and domain, in the host's log format.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <regex>
#include <string>

#include "host_samgr.h"
#include "iservice_registry.h"
#include "log_capture.h"
#include "quill_service.h"

extern char **environ;

namespace OHOS::Quill {
namespace {
constexpr int32_t CALLED_BACK_LEVEL = 7;

class FakeQuill : public QuillServiceStub {
public:
    int32_t GetBucket(int32_t bucket, std::shared_ptr<BucketInfo> &info) override
    {
        info = std::make_shared<BucketInfo>();
        info->bucket = bucket;
        info->name = "bucket-" + std::to_string(bucket);
        info->levels = {1, 2, 3};
        return 0;
    }
    int32_t Subscribe(int32_t bucket, const sptr<IQuillCallback> &callback) override
    {
        if (callback == nullptr) {
            return -1;
        }
        callback->OnLevel(bucket, CALLED_BACK_LEVEL);
        return 0;
    }
};

class LevelRecorder : public QuillCallbackStub {
public:
    void OnLevel(int32_t bucket, int32_t level) override
    {
        heard = bucket * 100 + level;
    }
    int32_t heard = 0;
};

// What a client of the component does; 0 when every answer is as the fake service gives it.
int UseTheComponent()
{
    QuillClient::GetInstance().Reset();
    sptr<IQuillService> service = QuillClient::GetInstance().GetService();
    std::shared_ptr<BucketInfo> info;
    if (service == nullptr || service->GetBucket(3, info) != 0 || info == nullptr || info->name != "bucket-3" ||
        info->levels != std::list<int32_t>{1, 2, 3}) {
        return 1;
    }
    auto recorder = sptr<LevelRecorder>::MakeSptr();
    return service->Subscribe(4, recorder) == 0 && recorder->heard == 4 * 100 + CALLED_BACK_LEVEL ? 0 : 2;
}

TEST(PlatformComponentTest, BuildsUnchangedAndRoundTripsInOneProcessWithItsOwnLogLabels)
{
    HostSamgr::Reset();
    TarnbyTest::LogCapture logs;
    auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    ASSERT_EQ(manager->AddSystemAbility(QUILL_SERVICE_ID, new FakeQuill()), 0);
    EXPECT_EQ(UseTheComponent(), 0);
    bool tagged = false;
    bool legacy = false;
    for (const HiLogRecord &record : logs.Records()) {
        tagged |= record.tag == "QuillClient" && record.domain == 0xD001799 && record.type == LOG_CORE &&
                  record.level == LOG_INFO && record.text == "[GetBucket] bucket 3: 0";
        legacy |= record.tag == "QuillLegacy" && record.domain == 0xD001799 && record.text == "subscribed to 4";
    }
    EXPECT_TRUE(tagged && legacy);
    HostSamgr::Reset();
    QuillClient::GetInstance().Reset();
}

// The client in a second process, which logs to its standard error as the host does.
TEST(PlatformComponentTest, RoundTripsAcrossProcessesAndLogsInTheHostFormat)
{
    char directory[] = "/tmp/quill-test-XXXXXX";
    ASSERT_NE(mkdtemp(directory), nullptr);
    setenv("OHOS_HOST_IPC_DIR", directory, 1);
    int errors[2];
    ASSERT_EQ(pipe2(errors, O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, errors[1], STDERR_FILENO);
    char *argv[] = {const_cast<char *>("/proc/self/exe"), const_cast<char *>("service"), nullptr};
    pid_t service = -1;
    ASSERT_EQ(posix_spawn(&service, argv[0], &actions, nullptr, argv, environ), 0);
    argv[1] = const_cast<char *>("client");
    pid_t client = -1;
    ASSERT_EQ(posix_spawn(&client, argv[0], &actions, nullptr, argv, environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    close(errors[1]);
    int status = -1;
    waitpid(client, &status, 0);
    kill(service, SIGKILL);
    waitpid(service, nullptr, 0);
    unsetenv("OHOS_HOST_IPC_DIR");
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    std::string text;
    char chunk[4096];
    for (ssize_t got; (got = read(errors[0], chunk, sizeof(chunk))) > 0;) {
        text.append(chunk, static_cast<size_t>(got));
    }
    close(errors[0]);
    const std::regex line(R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} +\d+ +\d+ I 01799/QuillClient: \[GetBucket\] bucket 3: 0)");
    EXPECT_TRUE(std::regex_search(text, line)) << text;
    std::string remove = std::string("rm -rf ") + directory;
    EXPECT_EQ(system(remove.c_str()), 0);
}

// The service registers and waits; the client retries until the service is there, then uses the component.
int RunRole(const std::string &role)
{
    auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (role == "service") {
        if (manager->AddSystemAbility(QUILL_SERVICE_ID, new FakeQuill()) != 0) {
            return 1;
        }
        for (;;) {
            pause();
        }
    }
    for (int attempt = 0; attempt < 1000 && manager->GetSystemAbility(QUILL_SERVICE_ID) == nullptr; attempt++) {
        usleep(10000);
    }
    int result = UseTheComponent();
    HiLogFlush();
    return result;
}
} // namespace
} // namespace OHOS::Quill

int main(int argc, char **argv)
{
    if (argc > 1 && argv[1][0] != '-') {
        return OHOS::Quill::RunRole(argv[1]);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
