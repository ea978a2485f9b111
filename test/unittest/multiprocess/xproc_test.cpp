// SPDX-License-Identifier: Apache-2.0
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
#include "xproc_support.h"

namespace OHOS::TarnbyTest {
namespace {
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
    // 128 MiB copied and summed on both sides: under the thread sanitizer on a busy machine that takes tens of
    // seconds, so the call may wait two minutes (completion, not speed).
    ASSERT_EQ(Ask(FindService(), CHECK_TRANSFER, data, reply, MessageOption(MessageOption::TF_SYNC, 120)), 0);
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
        size_t descriptors;          // copies of one pipe end attached
    };
    auto frame = [](auto change) {
        RawHeader header;
        change(header);
        return header.Words();
    };
    std::vector<uint32_t> foreignHandle = frame([](RawHeader &h) { h.dataSize = 24, h.objects = 1; });
    for (uint32_t word : {0u, 0u, FLAT_HANDLE, 0x17fu, 99u, 0u, 0u, 0u}) { // offset 0, then a flat handle 99
        foreignHandle.push_back(word);
    }
    // 250 fd objects, each naming its descriptor: a frame that is valid only with exactly 250 descriptors.
    std::vector<uint32_t> manyFds = frame([](RawHeader &h) { h.dataSize = 250 * 24, h.objects = 250, h.fds = 250; });
    for (uint32_t i = 0; i < 250; i++) {
        manyFds.insert(manyFds.end(), {i * 24, 0});
    }
    for (uint32_t i = 0; i < 250; i++) {
        manyFds.insert(manyFds.end(), {FLAT_FD, 0x17f, i, 0, 0, 0});
    }
    const std::vector<Rogue> rogues = {
        {"shorter than a header", {0x43504948, 1}, 0},
        {"unknown kind", frame([](RawHeader &h) { h.kind = 9; }), 0},
        {"1 MiB claimed in a short message", frame([](RawHeader &h) { h.dataSize = 0x100000; }), 0},
        {"data memfd missing", frame([](RawHeader &h) { h.inMemfd = 1, h.dataSize = 64; }), 0},
        {"descriptor without an fd object", frame([](RawHeader &) {}), 1},
        {"descriptor count that wraps with the memfd flag",
         frame([](RawHeader &h) { h.inMemfd = 1, h.fds = 0xFFFFFFFF; }), 0},
        {"release of a handle never given", frame([](RawHeader &h) { h.kind = 3, h.handle = 77, h.code = 1; }), 0},
        {"release of more references than given", frame([](RawHeader &h) { h.kind = 3, h.code = 2; }), 0},
        {"object table names a handle never given", foreignHandle, 0},
        {"descriptors cut off by the socket", manyFds, 253},
    };
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    for (const Rogue &rogue : rogues) {
        RawPeer peer(ServicePath());
        ASSERT_TRUE(peer.Connected()) << rogue.what;
        ASSERT_TRUE(peer.Send(rogue.words, std::vector<int>(rogue.descriptors, ends[0]))) << rogue.what;
        EXPECT_TRUE(peer.ClosedByPeer()) << rogue.what << ": the connection stays open";
        EXPECT_EQ(Echo(FindService(), 2), 3) << rogue.what;
    }
    close(ends[0]);
    close(ends[1]);
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

// Starts `count` IPC threads at once (each held by a request until all are there), then lets them go idle.
void StartIdleThreads(int count)
{
    ASSERT_TRUE(IPCSkeleton::SetMaxWorkThreadNum(count));
    sptr<Gate> gate = new Gate();
    sptr<IRemoteObject> proxy = HostIpc::GetProxy(gate);
    std::vector<std::future<int>> held;
    for (int i = 0; i < count; i++) {
        held.push_back(std::async(std::launch::async, [&proxy] {
            MessageParcel data;
            MessageParcel reply;
            return Ask(proxy, 1, data, reply);
        }));
    }
    gate->WaitFor(count, 0);
    gate->Open();
    for (auto &answer : held) {
        EXPECT_EQ(answer.get(), 0);
    }
}

TEST(ThreadCapTest, RequestsBeyondTheCapWaitAndIdleThreadsEnd)
{
    EXPECT_FALSE(IPCSkeleton::SetMaxWorkThreadNum(0));
    StartIdleThreads(8); // the threads above the lowered maximum must end, not serve
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
    MessageParcel data;
    MessageParcel reply;
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // past the idle time: the last reader still reads
    EXPECT_EQ(Ask(proxy, 7, data, reply), 0);
    EXPECT_EQ(reply.ReadInt32(), 7);
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
