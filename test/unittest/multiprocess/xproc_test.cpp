// Real processes: a test service in a child process, clients in others, death by SIGKILL, hostile frames. The
// wait-time and thread-cap cases run in this process, in whichever mode the environment chose.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <future>
#include <thread>
#include <vector>

#include "host_ipc_proxy.h"
#include "host_xproc.h"
#include "ipc_object_stub.h"
#include "ipc_skeleton.h"
#include "iservice_registry.h"
#include "message_parcel.h"
#include "xproc_peer.h"

extern char **environ;

namespace OHOS::TarnbyTest {
namespace {
// A child process of this binary in a role; its first output line says it is ready.
class Child {
public:
    explicit Child(const char *role)
    {
        int out[2];
        EXPECT_EQ(pipe2(out, O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
        char *argv[] = {const_cast<char *>("/proc/self/exe"), const_cast<char *>(role), nullptr};
        EXPECT_EQ(posix_spawn(&pid_, "/proc/self/exe", &actions, nullptr, argv, environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(out[1]);
        output_ = fdopen(out[0], "r");
    }
    ~Child()
    {
        Kill();
        fclose(output_);
    }
    std::string Line()
    {
        char line[64] = {};
        return fgets(line, sizeof(line), output_) == nullptr ? "" : std::string(line, strcspn(line, "\n"));
    }
    void Kill()
    {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            Wait();
        }
    }
    int Wait()
    {
        int status = -1;
        waitpid(pid_, &status, 0);
        pid_ = -1;
        return status;
    }
    pid_t Pid() const
    {
        return pid_;
    }

private:
    pid_t pid_ = -1;
    FILE *output_ = nullptr;
};

int32_t Echo(const sptr<IRemoteObject> &service, int32_t value, pid_t *servedFor = nullptr)
{
    MessageParcel data;
    MessageParcel reply;
    data.WriteInt32(value);
    int result = Ask(service, ECHO, data, reply);
    int32_t answer = reply.ReadInt32();
    if (servedFor != nullptr) {
        *servedFor = reply.ReadInt32();
    }
    return result == 0 ? answer : -result;
}

// Completion, never speed: polls until `done` holds, giving up only after far longer than any run needs.
template <typename Condition>
bool Eventually(Condition done)
{
    for (int i = 0; i < 2000 && !done(); i++) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return done();
}

class CrossProcessTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (HostIpc::CrossProcessDirectory().empty()) {
            GTEST_SKIP() << "needs OHOS_HOST_IPC_DIR";
        }
        ASSERT_EQ(service_.Line(), "ready");
    }
    Child service_{"service"};
};

TEST_F(CrossProcessTest, TwoClientsWithTheirOwnCallbacksAndTheKernelsIdentity)
{
    pid_t servedFor = 0;
    EXPECT_EQ(Echo(FindService(), 41, &servedFor), 42);
    EXPECT_EQ(servedFor, getpid()); // SO_PEERCRED, not anything the frame claims
    Child first("client");
    Child second("client");
    EXPECT_EQ(first.Wait(), 0);
    EXPECT_EQ(second.Wait(), 0);
}

TEST_F(CrossProcessTest, DescriptorAndLargestRawDataCross)
{
    int file = memfd_create("xproc-test", MFD_CLOEXEC);
    ASSERT_EQ(write(file, "told through a descriptor", 25), 25);
    std::vector<uint8_t> raw(MessageParcel::MAX_RAWDATA_SIZE);
    for (size_t i = 0; i < raw.size(); i++) {
        raw[i] = static_cast<uint8_t>(i * 7 + (i >> 20));
    }
    MessageParcel data;
    ASSERT_TRUE(data.WriteFileDescriptor(file));
    ASSERT_TRUE(data.WriteUint32(static_cast<uint32_t>(raw.size())));
    ASSERT_TRUE(data.WriteRawData(raw.data(), raw.size()));
    constexpr uint32_t INLINE_SIZE = 150000; // the parcel travels in a memfd, which the service reads where it lies
    ASSERT_TRUE(data.WriteUint32(INLINE_SIZE) && data.WriteUnpadBuffer(raw.data() + 1, INLINE_SIZE));
    close(file);
    MessageParcel reply;
    ASSERT_EQ(Ask(FindService(), CHECK_TRANSFER, data, reply), 0);
    EXPECT_EQ(reply.ReadString(), "told through a descriptor");
    EXPECT_EQ(reply.ReadUint64(), SumOf(raw.data(), raw.size()));
    EXPECT_EQ(reply.ReadUint64(), SumOf(raw.data() + 1, INLINE_SIZE));
}

TEST_F(CrossProcessTest, ServiceKilledDuringASynchronousCallThenFoundAgain)
{
    sptr<IRemoteObject> service = FindService();
    sptr<CountingDeaths> recipients[] = {new CountingDeaths(), new CountingDeaths()};
    for (auto &recipient : recipients) {
        ASSERT_TRUE(service->AddDeathRecipient(recipient));
    }
    std::thread killer([this] {
        if (service_.Line() == "hanging") {
            service_.Kill();
        }
    });
    MessageParcel data;
    MessageParcel reply;
    EXPECT_EQ(Ask(service, HANG, data, reply), ERR_DEAD_OBJECT);
    killer.join();
    // The waiting caller is woken by the closed connection; the proxy is marked dead by the death notice beside it.
    EXPECT_TRUE(Eventually([&service] { return service->IsObjectDead(); }));
    EXPECT_EQ(Echo(service, 1), -ERR_DEAD_OBJECT);
    for (auto &recipient : recipients) {
        EXPECT_TRUE(Eventually([&recipient] { return recipient->calls == 1; }));
    }
    EXPECT_EQ(FindService(), nullptr); // its socket refuses: nobody listens any more

    Child restarted("service");
    ASSERT_EQ(restarted.Line(), "ready");
    sptr<IRemoteObject> found = FindService();
    ASSERT_NE(found, nullptr);
    EXPECT_NE(found, service);
    EXPECT_EQ(Echo(found, 7), 8);
    for (auto &recipient : recipients) {
        EXPECT_EQ(recipient->calls, 1);
    }
}

TEST_F(CrossProcessTest, ClientKilledWhileItsCallbackIsHeldDiesOnTheServiceSide)
{
    Child holder("holder");
    ASSERT_EQ(holder.Line(), "ready");
    holder.Kill();
    auto deaths = [] {
        MessageParcel data;
        MessageParcel reply;
        return Ask(FindService(), CALLBACK_DEATHS, data, reply) == 0 ? reply.ReadInt32() : -1;
    };
    EXPECT_TRUE(Eventually([&deaths] { return deaths() == 1; }));
}

// A peer that speaks the socket but not the protocol loses its connection; the service goes on serving others.
TEST_F(CrossProcessTest, MalformedFramesCloseOnlyThatConnection)
{
    struct Rogue {
        const char *what;
        std::vector<uint32_t> words; // sent as they are
        bool withDescriptor;
    };
    // Header words: magic, kind | in-memfd << 16, code, flags, call id (2), handle (2), threads (4), data size (2),
    // object count, fd count, wait time, max capacity. Everything else is valid, so the named fault is the one.
    auto frame = [](uint32_t kind, uint32_t code, uint32_t handle, uint32_t dataSize, uint32_t objects) {
        return std::vector<uint32_t>{0x43504948, kind, code, 0,        0, 0,       handle, 0, 0,
                                     0,          0,    0,    dataSize, 0, objects, 0,      0, 0};
    };
    std::vector<uint32_t> foreignHandle = frame(1, 1, 1, 24, 1);
    for (uint32_t word : {0u, 0u, 0x73682a85u, 0x17fu, 99u, 0u, 0u, 0u}) { // offset 0, then a flat handle 99
        foreignHandle.push_back(word);
    }
    const std::vector<Rogue> rogues = {
        {"shorter than a header", {0x43504948, 1}, false},
        {"unknown kind", frame(9, 0, 0, 0, 0), false},
        {"1 MiB claimed in a short message", frame(1, 1, 1, 0x100000, 0), false},
        {"data memfd missing", frame(0x10001, 1, 1, 64, 0), false},
        {"descriptor without an fd object", frame(1, 1, 1, 0, 0), true},
        {"release of a handle never given", frame(3, 1, 77, 0, 0), false},
        {"object table names a handle never given", foreignHandle, false},
    };
    std::string path = HostIpc::CrossProcessDirectory() + "/sa-" + std::to_string(TEST_SERVICE_ID);
    for (const Rogue &rogue : rogues) {
        int peer = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        sockaddr_un address{AF_UNIX, {}};
        strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        ASSERT_EQ(connect(peer, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0) << rogue.what;
        iovec bytes{const_cast<uint32_t *>(rogue.words.data()), rogue.words.size() * sizeof(uint32_t)};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
        msghdr message{nullptr, 0, &bytes, 1, nullptr, 0, 0};
        int stray = STDERR_FILENO;
        if (rogue.withDescriptor) {
            message.msg_control = control;
            message.msg_controllen = sizeof(control);
            cmsghdr *rights = CMSG_FIRSTHDR(&message);
            *rights = cmsghdr{CMSG_LEN(sizeof(int)), SOL_SOCKET, SCM_RIGHTS};
            std::memcpy(CMSG_DATA(rights), &stray, sizeof(int));
        }
        ASSERT_GT(sendmsg(peer, &message, MSG_NOSIGNAL), 0) << rogue.what;
        char reply[16];
        EXPECT_EQ(recv(peer, reply, sizeof(reply), 0), 0) << rogue.what << ": the connection stays open";
        close(peer);
        EXPECT_EQ(Echo(FindService(), 2), 3) << rogue.what;
    }
}

// Runs in both modes: a handler that outlives the wait time, and the cap on IPC threads.
class Gate : public IPCObjectStub {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override
    {
        std::unique_lock<std::mutex> lock(mutex_);
        running_++;
        peak_ = std::max(peak_, running_);
        changed_.notify_all();
        changed_.wait(lock, [this] { return open_; });
        running_--;
        handled_++;
        changed_.notify_all();
        return reply.WriteInt32(static_cast<int32_t>(code)) ? 0 : -1;
    }
    void Open()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        open_ = true;
        changed_.notify_all();
    }
    void WaitFor(int running, int handled)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] { return running_ >= running && handled_ >= handled; });
    }
    int running_ = 0;
    int peak_ = 0;
    int handled_ = 0;

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool open_ = false;
};

TEST(WaitTimeTest, ARequestOutlivingItsWaitTimeGetsTheTimeOutAndItsLateReplyIsDropped)
{
    sptr<Gate> gate = new Gate();
    sptr<IRemoteObject> proxy = HostIpc::GetProxy(gate);
    MessageParcel data;
    MessageParcel reply;
    // The answer comes once the caller has given up, or after 4 s: a caller that waited for the default 8 s
    // instead of its own 1 s would get it.
    std::promise<void> gaveUp;
    std::thread opener([&gate, given = gaveUp.get_future()] {
        given.wait_for(std::chrono::seconds(4));
        gate->Open();
    });
    EXPECT_EQ(Ask(proxy, 5, data, reply, MessageOption(MessageOption::TF_SYNC, 1)), ERR_TIMED_OUT);
    EXPECT_EQ(ERR_TIMED_OUT, 110);
    gaveUp.set_value();
    opener.join();
    gate->WaitFor(0, 1);
    EXPECT_EQ(reply.GetDataSize(), 0u); // the late answer never reaches the caller's parcel
    MessageParcel again;
    EXPECT_EQ(Ask(proxy, 6, data, again), 0);
    EXPECT_EQ(again.ReadInt32(), 6);
}

TEST(ThreadCapTest, RequestsBeyondTheCapWaitAndIdleThreadsEnd)
{
    EXPECT_FALSE(IPCSkeleton::SetMaxWorkThreadNum(0));
    ASSERT_TRUE(IPCSkeleton::SetMaxWorkThreadNum(3));
    sptr<Gate> gate = new Gate();
    sptr<IRemoteObject> proxy = HostIpc::GetProxy(gate);
    constexpr int REQUESTS = 40;
    constexpr int SYNCHRONOUS = 4;
    bool crossProcess = !HostIpc::CrossProcessDirectory().empty();
    std::vector<std::future<int>> answers;
    for (int i = 0; i < SYNCHRONOUS; i++) {
        answers.push_back(std::async(std::launch::async, [&proxy, i] {
            MessageParcel data;
            MessageParcel reply;
            return Ask(proxy, 100 + i, data, reply) == 0 ? reply.ReadInt32() : -1;
        }));
    }
    gate->WaitFor(3, 0);
    if (!crossProcess) { // across a socket the fourth stays unread in the socket until a thread is free
        EXPECT_TRUE(Eventually([] { return HostIpc::IpcQueuedTaskCount() == SYNCHRONOUS - 3; }));
    }
    for (int i = 0; i < REQUESTS; i++) {
        MessageParcel data;
        MessageParcel reply;
        ASSERT_EQ(Ask(proxy, 1, data, reply, MessageOption(MessageOption::TF_ASYNC)), 0);
    }
    EXPECT_LE(HostIpc::IpcThreadCount(), 3u);
    gate->Open();
    gate->WaitFor(0, REQUESTS + SYNCHRONOUS); // every one is served: none was lost
    for (int i = 0; i < SYNCHRONOUS; i++) {
        EXPECT_EQ(answers[i].get(), 100 + i);
    }
    EXPECT_EQ(gate->peak_, 3);
    HostIpc::SetIpcIdleTime(std::chrono::milliseconds(20));
    size_t staying = crossProcess ? 1 : 0; // the last thread that waits for the process's sockets stays
    EXPECT_TRUE(Eventually([staying] { return HostIpc::IpcThreadCount() == staying; }));
    HostIpc::SetIpcIdleTime(std::chrono::seconds(10));
    IPCSkeleton::SetMaxWorkThreadNum(16);
}
} // namespace
} // namespace OHOS::TarnbyTest

// As a child this binary plays a role; as the test runner it keeps its processes in a registry of its own.
int main(int argc, char **argv)
{
    if (argc > 1 && argv[1][0] != '-') {
        return OHOS::TarnbyTest::RunRole(argv[1]);
    }
    char directory[] = "/tmp/xproc-test-XXXXXX";
    bool crossProcess = getenv("OHOS_HOST_IPC_DIR") == nullptr && std::string(argc > 1 ? argv[1] : "") != "--simulated";
    if (crossProcess && mkdtemp(directory) != nullptr) {
        setenv("OHOS_HOST_IPC_DIR", directory, 1);
    }
    testing::InitGoogleTest(&argc, argv);
    int result = RUN_ALL_TESTS();
    if (crossProcess) {
        std::string remove = std::string("rm -rf ") + directory;
        result |= system(remove.c_str()) == 0 ? 0 : 0;
    }
    return result;
}
