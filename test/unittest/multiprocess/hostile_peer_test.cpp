// SPDX-License-Identifier: Apache-2.0
// Peers that attack: each test plays one kind of fault against a real service process (or a real client) from a
// raw socket or a second program, and checks that the victim keeps serving a well-behaved client, stays within its
// bounds, and loses nothing it reported as done.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <future>
#include <memory>
#include <thread>

#include "host_xproc.h"
#include "ipc_object_stub.h"
#include "iservice_registry.h"
#include "message_parcel.h"
#include "xproc_peer.h"
#include "xproc_support.h"

namespace OHOS::TarnbyTest {
namespace {
constexpr uint32_t ONE_WAY = MessageOption::TF_ASYNC;
constexpr int ERR_INVALID_VALUE = 22;

// The frame that used to crash any process: the descriptor count plus the memfd flag wraps to 0 in 32 bits.
std::vector<uint32_t> WrappingFrame()
{
    RawHeader header;
    header.inMemfd = 1;
    header.fds = 0xFFFFFFFF;
    return header.Words();
}

// A one-way SLOW request whose parcel is `size` bytes in a sealed memfd that costs no memory (never written).
std::vector<uint32_t> SparseOneWay(uint32_t callId, uint32_t size, int &memfd)
{
    memfd = memfd_create("hostile", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    EXPECT_EQ(ftruncate(memfd, size), 0);
    EXPECT_EQ(fcntl(memfd, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL), 0);
    RawHeader header;
    header.code = SLOW;
    header.flags = ONE_WAY;
    header.callId = callId;
    header.inMemfd = 1;
    header.dataSize = size;
    return header.Words();
}

// Sends without ever reading what comes back, until `count` went out or the service closed the connection.
size_t SendUnread(RawPeer &peer, size_t count, const std::function<std::vector<uint32_t>(uint32_t)> &frame)
{
    size_t sent = 0;
    while (sent < count) {
        if (peer.Send(frame(static_cast<uint32_t>(sent + 1)), {}, false)) {
            sent++;
            continue;
        }
        pollfd writable{peer.Socket(), POLLOUT, 0};
        if (errno != EAGAIN || poll(&writable, 1, 10000) != 1 || (writable.revents & (POLLHUP | POLLERR)) != 0) {
            break;
        }
    }
    return sent;
}

// Two values the service answers `code` with.
template <typename First, typename Second>
std::pair<First, Second> AskPair(uint32_t code, bool (MessageParcel::*readFirst)(First &),
                                 bool (MessageParcel::*readSecond)(Second &))
{
    MessageParcel data;
    MessageParcel reply;
    EXPECT_EQ(Ask(FindService(), code, data, reply), 0);
    std::pair<First, Second> values{};
    (reply.*readFirst)(values.first);
    (reply.*readSecond)(values.second);
    return values;
}

// How many peers the service dropped: for passing the bound of unread replies, and for the drain time.
std::pair<int32_t, int32_t> Stalls()
{
    return AskPair<int32_t, int32_t>(STALLS, &MessageParcel::ReadInt32, &MessageParcel::ReadInt32);
}

// What waits in the service: requests, and the bytes of their parcels.
std::pair<uint64_t, uint64_t> Waiting()
{
    return AskPair<uint64_t, uint64_t>(WAITING, &MessageParcel::ReadUint64, &MessageParcel::ReadUint64);
}

// A one-way SLOW request with a four-byte parcel.
std::vector<uint32_t> SmallOneWay(uint32_t callId)
{
    std::vector<uint32_t> frame = EchoFrame(callId, 1, ONE_WAY);
    frame[2] = SLOW;
    return frame;
}

// A service planted under a name answers a client's request with the crash frame: the client loses that
// connection, nothing more (the reply path shares the decoder).
TEST(PlantedServiceTest, ACrashFrameAsAReplyEndsOnlyThatConnection)
{
    if (HostIpc::CrossProcessDirectory().empty()) {
        GTEST_SKIP() << "needs OHOS_HOST_IPC_DIR";
    }
    int listening = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    sockaddr_un address{AF_UNIX, {}};
    std::string path = ServicePath(FOREIGN_SERVICE_ID);
    strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(listening, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
    ASSERT_EQ(listen(listening, 1), 0);
    std::thread planted([listening] {
        int client = accept(listening, nullptr, nullptr);
        char request[4096];
        if (client >= 0 && recv(client, request, sizeof(request), 0) > 0) {
            std::vector<uint32_t> reply = WrappingFrame();
            reply[1] = 2; // a reply
            send(client, reply.data(), reply.size() * sizeof(uint32_t), MSG_NOSIGNAL);
        }
        char rest[16];
        while (client >= 0 && recv(client, rest, sizeof(rest), 0) > 0) {
        }
        close(client);
    });
    auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    sptr<IRemoteObject> planted2 = manager->GetSystemAbility(FOREIGN_SERVICE_ID);
    ASSERT_NE(planted2, nullptr);
    EXPECT_EQ(Echo(planted2, 1), -ERR_DEAD_OBJECT);
    EXPECT_TRUE(Eventually([&planted2] { return planted2->IsObjectDead(); }));
    planted.join();
    close(listening);
    unlink(path.c_str());
}

// An accept that fails for want of descriptors is tried again a little later; it does not end the listening, and the
// burst of failures is told in one line. (The failures are made by the host's fault switch: a process really out of
// descriptors also blinds the sanitizers' own checks.)
TEST_F(CrossProcessTest, AnAcceptThatFailsForWantOfDescriptorsIsTriedAgain)
{
    sptr<IRemoteObject> service = FindService();
    MessageParcel data;
    MessageParcel reply;
    data.WriteInt32(5);
    ASSERT_EQ(Ask(service, FAIL_ACCEPTS, data, reply), 0);
    RawPeer waiting(ServicePath()); // the kernel takes it; the service fails to accept it five times
    ASSERT_TRUE(waiting.Connected());
    ASSERT_TRUE(waiting.Send(EchoFrame(1, 41)));
    std::vector<uint32_t> answer = waiting.Receive();
    ASSERT_GT(answer.size(), 18u) << "the waiting connection was never accepted";
    EXPECT_EQ(static_cast<int32_t>(answer[18]), 42);
    MessageParcel count;
    ASSERT_EQ(Ask(service, ACCEPT_FAILURES, data, count), 0);
    EXPECT_EQ(count.ReadInt32(), 1) << "one line per burst of failures";
    Child fresh("client"); // a new process still finds and uses the service
    EXPECT_EQ(fresh.Wait(), 0);
}

// A client that asks and never reads its answers only loses its own connection: when its unread answers pass the
// bound in number or in bytes, and when one stays unread for the drain time. Others are served all along.
TEST_F(WideServiceTest, APeerThatNeverReadsItsRepliesOnlyHurtsItself)
{
    auto drainTime = [](int32_t milliseconds) {
        MessageParcel data;
        MessageParcel reply;
        data.WriteInt32(milliseconds);
        return Ask(FindService(), DRAIN_TIME, data, reply);
    };
    ASSERT_EQ(drainTime(60000), 0); // first the bounds alone, however slow this build is
    std::atomic<bool> attacking{true};
    std::atomic<int> wrong{0};
    std::thread wellBehaved([&attacking, &wrong] {
        for (int32_t i = 0; attacking || i < 20; i++) {
            wrong += Echo(FindService(), i) == i + 1 ? 0 : 1;
        }
    });
    RawPeer many(ServicePath());
    EXPECT_LT(SendUnread(many, 20000, [](uint32_t callId) { return EchoFrame(callId, 1); }), 20000u);
    EXPECT_TRUE(many.ClosedByPeer());
    EXPECT_EQ(Stalls(), std::make_pair(1, 0)) << "dropped for the number of its unread replies";
    RawPeer large(ServicePath());
    auto big = [](uint32_t callId) {
        std::vector<uint32_t> frame = EchoFrame(callId, 1);
        frame[2] = BIG;
        return frame;
    };
    EXPECT_LT(SendUnread(large, 1000, big), 1000u);
    EXPECT_TRUE(large.ClosedByPeer());
    EXPECT_EQ(Stalls(), std::make_pair(2, 0)) << "dropped for the bytes of its unread replies";
    ASSERT_EQ(drainTime(1000), 0);
    RawPeer slow(ServicePath());
    // More answers than its socket holds (the kernel keeps a few hundred small ones), far fewer than the bound.
    EXPECT_EQ(SendUnread(slow, 1000, [](uint32_t callId) { return EchoFrame(callId, 1); }), 1000u);
    EXPECT_TRUE(slow.HungUp()) << "a reply left unread past the drain time keeps its connection";
    EXPECT_EQ(Stalls(), std::make_pair(2, 1));
    attacking = false;
    wellBehaved.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_LE(ProcessStatus(service_.Pid(), "Threads"), 4u + 3u); // IPC threads, the main and the log writer
}

// One-way requests to one object whose handler is slow pile up: what waits is bounded per connection (in number
// and bytes) and in the whole process, so the service's memory stays bounded; the surplus is dropped, and other
// clients are served meanwhile. Each bound alone, against a fresh service.
void SendLarge(RawPeer &peer, uint32_t count)
{
    for (uint32_t i = 0; i < count; i++) {
        int memfd = -1;
        std::vector<uint32_t> frame = SparseOneWay(i + 1, 256u << 20, memfd); // the frame first: it makes `memfd`
        ASSERT_TRUE(peer.Send(frame, {memfd})) << i;
        close(memfd);
    }
}

TEST_F(WideServiceTest, AFloodOfLargeOneWayRequestsHasOneWaitPerConnection)
{
    uint64_t sizeBefore = ProcessStatus(service_.Pid(), "VmSize");
    RawPeer attacker(ServicePath());
    SendLarge(attacker, 100); // each parcel 256 MiB: one may wait, with nothing else of its connection
    EXPECT_LT(ProcessStatus(service_.Pid(), "VmSize"), sizeBefore + 1024u * 1024) << "kB of address space";
    EXPECT_LE(Waiting().second, 256u << 20);
    EXPECT_EQ(Echo(FindService(), 1), 2);
}

TEST_F(WideServiceTest, AFloodOfSmallOneWayRequestsIsBoundedPerConnection)
{
    RawPeer attacker(ServicePath());
    EXPECT_EQ(SendUnread(attacker, 1000, SmallOneWay), 1000u);
    EXPECT_LE(Waiting().first, 256u);
    EXPECT_EQ(Echo(FindService(), 1), 2);
}

TEST_F(WideServiceTest, FloodsFromManyConnectionsAreBoundedInTheProcessInNumber)
{
    std::vector<std::unique_ptr<RawPeer>> attackers;
    for (int i = 0; i < 20; i++) { // each within its own bound, together above the process's
        attackers.push_back(std::make_unique<RawPeer>(ServicePath()));
        EXPECT_EQ(SendUnread(*attackers.back(), 300, SmallOneWay), 300u);
    }
    EXPECT_LE(Waiting().first, 4096u);
    EXPECT_EQ(Echo(FindService(), 7), 8);
}

TEST_F(WideServiceTest, FloodsFromManyConnectionsAreBoundedInTheProcessInBytes)
{
    std::vector<std::unique_ptr<RawPeer>> attackers;
    for (int i = 0; i < 6; i++) { // one large parcel each: four fit into the process's room
        attackers.push_back(std::make_unique<RawPeer>(ServicePath()));
    }
    for (auto &attacker : attackers) {
        SendLarge(*attacker, 1);
    }
    EXPECT_LE(Waiting().second, 1ULL << 30);
    EXPECT_EQ(Echo(FindService(), 7), 8);
}

// The option's wait time bounds the whole call, sending included, even when the service stopped reading.
TEST_F(CrossProcessTest, AStoppedServiceCannotHoldACallPastItsWaitTime)
{
    sptr<IRemoteObject> service = FindService();
    ASSERT_EQ(Echo(service, 1), 2);
    ASSERT_EQ(kill(service_.Pid(), SIGSTOP), 0);
    ASSERT_TRUE(Eventually([this] { return AllThreadsStopped(service_.Pid()); }));
    for (int i = 0; i < 100; i++) { // more than the socket holds: the rest waits in our queue
        MessageParcel data;
        MessageParcel reply;
        data.WriteInt32(i);
        ASSERT_EQ(Ask(service, ECHO, data, reply, MessageOption(MessageOption::TF_ASYNC)), 0);
    }
    auto call = std::async(std::launch::async, [&service] {
        MessageParcel data;
        MessageParcel reply;
        data.WriteInt32(5);
        return Ask(service, ECHO, data, reply, MessageOption(MessageOption::TF_SYNC, 1));
    });
    bool returned = call.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    kill(service_.Pid(), SIGCONT);
    ASSERT_TRUE(returned) << "the call waited in its send";
    EXPECT_EQ(call.get(), ERR_TIMED_OUT);
    EXPECT_EQ(Echo(service, 3), 4);
}

// A registry directory that others could have prepared is refused with one line, as if no service were there.
TEST(RegistryDirectoryTest, ADirectoryOthersCouldControlIsRefused)
{
    std::string base = std::filesystem::temp_directory_path() / ("xproc-dirs-" + std::to_string(getpid()));
    std::filesystem::create_directories(base + "/good");
    chmod((base + "/good").c_str(), 0700);
    std::filesystem::create_directory_symlink(base + "/good", base + "/link");
    std::filesystem::create_directory(base + "/shared");
    chmod((base + "/shared").c_str(), 0770);
    std::filesystem::create_directory(base + "/open");
    chmod((base + "/open").c_str(), 0777);
    std::vector<std::pair<std::string, std::string>> refused = {
        {"link", "it is a symbolic link"}, {"shared", "others can write to it"}, {"open", "others can write to it"}};
    if (geteuid() == 0) {
        std::filesystem::create_directory(base + "/foreign");
        chmod((base + "/foreign").c_str(), 0700);
        EXPECT_EQ(chown((base + "/foreign").c_str(), FOREIGN_UID, FOREIGN_UID), 0);
        refused.emplace_back("foreign", "it belongs to another user");
    }
    for (const auto &[name, why] : refused) {
        Child probe("directory-probe", {"OHOS_HOST_IPC_DIR=" + base + "/" + name});
        EXPECT_EQ(probe.Line(), "add=" + std::to_string(ERR_INVALID_VALUE) + " found=0 told=1 why=" + why) << name;
    }
    Child trusted("directory-probe", {"OHOS_HOST_IPC_DIR=" + base + "/good"});
    EXPECT_EQ(trusted.Line(), "add=0 found=1 told=0 why=-");
    std::filesystem::remove_all(base);
}

// A service of another user, planted under a name of ours, never sees a byte of our request; a client of another
// user who reaches our service is not answered.
TEST_F(CrossProcessTest, PeersOfAnotherUserAreRefusedBothWays)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "playing another user needs root";
    }
    Child foreignService("foreign-service");
    ASSERT_EQ(foreignService.Line(), "ready");
    auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    EXPECT_EQ(manager->GetSystemAbility(FOREIGN_SERVICE_ID), nullptr);
    EXPECT_EQ(foreignService.Line(), "read 0");
    unlink(ServicePath(FOREIGN_SERVICE_ID).c_str());

    // Let the other user reach the socket at all, as a careless setup might.
    const std::string &directory = HostIpc::CrossProcessDirectory();
    ASSERT_EQ(chmod(directory.c_str(), 0711), 0);
    ASSERT_EQ(chmod(ServicePath().c_str(), 0666), 0);
    Child foreignClient("foreign-client");
    EXPECT_EQ(foreignClient.Line(), "closed");
    chmod(directory.c_str(), 0700);
    EXPECT_EQ(Echo(FindService(), 1), 2);
}

class Tracked : public IPCObjectStub {
public:
    explicit Tracked(std::atomic<bool> &gone) : gone_(gone) {}
    ~Tracked() override
    {
        gone_ = true;
    }

private:
    std::atomic<bool> &gone_;
};

// A frame refused by the encoder exports nothing: the local object in it is not kept for the peer.
TEST_F(CrossProcessTest, ALocalObjectInARefusedFrameIsNotKeptForThePeer)
{
    std::atomic<bool> gone{false};
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    {
        MessageParcel data;
        MessageParcel reply;
        data.SetMaxCapacity(1 << 20);
        ASSERT_TRUE(data.WriteRemoteObject(new Tracked(gone)));
        for (int i = 0; i < 251; i++) { // one more than a frame carries
            ASSERT_TRUE(data.WriteFileDescriptor(ends[0]));
        }
        EXPECT_NE(Ask(FindService(), ECHO, data, reply), 0);
    }
    EXPECT_TRUE(gone) << "the refused frame's object stays exported";
    EXPECT_EQ(Echo(FindService(), 1), 2);
    close(ends[0]);
    close(ends[1]);
}

// Idle connections cost a service descriptors, never threads.
TEST_F(CrossProcessTest, FiveHundredIdleConnectionsStartNoThread)
{
    uint64_t rssBefore = ProcessStatus(service_.Pid(), "VmRSS");
    size_t descriptorsBefore = OpenDescriptorCount(service_.Pid());
    std::vector<std::unique_ptr<RawPeer>> idle;
    for (int i = 0; i < 500; i++) {
        idle.push_back(std::make_unique<RawPeer>(ServicePath()));
        ASSERT_TRUE(idle.back()->Connected()) << i;
    }
    EXPECT_TRUE(Eventually([&] { return OpenDescriptorCount(service_.Pid()) >= descriptorsBefore + 500; }));
    EXPECT_EQ(Echo(FindService(), 1), 2);
    EXPECT_LE(ProcessStatus(service_.Pid(), "Threads"), 1u + 3u); // its one IPC thread, the main and the log writer
    uint64_t rssAfter = ProcessStatus(service_.Pid(), "VmRSS");
    std::printf("RSS per idle connection: %.1f KiB\n", rssAfter > rssBefore ? (rssAfter - rssBefore) / 500.0 : 0.0);
}

// A connection that ends leaves nothing behind in the service: a thousand clients that each connect, call once and
// let go cost it no descriptor afterwards.
TEST_F(WideServiceTest, EndedConnectionsLeaveNothingBehind)
{
    ASSERT_EQ(Echo(FindService(), 0), 1);
    size_t before = OpenDescriptorCount(service_.Pid());
    for (int32_t i = 0; i < 1000; i++) {
        ASSERT_EQ(Echo(FindService(), i), i + 1); // no proxy is kept: each lookup connects anew
    }
    EXPECT_TRUE(Eventually([&] { return OpenDescriptorCount(service_.Pid()) <= before; }))
        << OpenDescriptorCount(service_.Pid()) << " descriptors, " << before << " before";
}

// A live registration keeps its name; the name of one that was killed is taken over.
TEST_F(CrossProcessTest, ALiveServiceKeepsItsNameAKilledOnesIsTakenOver)
{
    Child second("second-service");
    EXPECT_EQ(second.Line(), "refused");
    EXPECT_EQ(Echo(FindService(), 1), 2) << "the first service is still the one found";
    service_.Kill();
    Child third("second-service");
    EXPECT_EQ(third.Line(), "registered");
}
// Answers the service's calls back: v becomes v * 1000 + (this pid % 1000).
class AnsweringCallback : public IPCObjectStub {
public:
    int OnRemoteRequest(uint32_t, MessageParcel &data, MessageParcel &reply, MessageOption &) override
    {
        return reply.WriteInt32(CallbackAnswer(data.ReadInt32(), getpid())) ? 0 : -1;
    }
};

// Three attackers at once (crash frames, a peer that never reads, a flood of one-way requests with large parcels)
// against a service that a well-behaved client keeps using: synchronous calls and calls back into its own object.
// Every one of the client's calls succeeds, each within its wait time (or it would have failed); the slowest is
// printed. The length is XPROC_SOAK_SECONDS (60 unless set).
TEST_F(WideServiceTest, SoakAWellBehavedClientBesideThreeAttackers)
{
    const char *seconds = getenv("XPROC_SOAK_SECONDS");
    auto until = std::chrono::steady_clock::now() + std::chrono::seconds(seconds == nullptr ? 60 : atoi(seconds));
    std::atomic<bool> running{true};
    std::vector<std::thread> attackers;
    attackers.emplace_back([&running] {
        while (running) {
            RawPeer crashing(ServicePath());
            crashing.Send(WrappingFrame());
            crashing.ClosedByPeer();
        }
    });
    attackers.emplace_back([&running] {
        while (running) {
            RawPeer deaf(ServicePath());
            SendUnread(deaf, 5000, [](uint32_t callId) { return EchoFrame(callId, 1); });
        }
    });
    attackers.emplace_back([&running] {
        RawPeer flooding(ServicePath());
        for (uint32_t callId = 1; running; callId++) {
            int memfd = -1;
            std::vector<uint32_t> frame = SparseOneWay(callId, 64u << 20, memfd);
            bool sent = flooding.Send(frame, {memfd});
            close(memfd);
            if (!sent) {
                break;
            }
        }
    });
    sptr<IRemoteObject> service = FindService();
    MessageParcel keep;
    MessageParcel kept;
    ASSERT_TRUE(keep.WriteRemoteObject(new AnsweringCallback()));
    ASSERT_EQ(Ask(service, KEEP_CALLBACK, keep, kept), 0);
    size_t calls = 0;
    size_t failed = 0;
    std::chrono::steady_clock::duration slowest{};
    for (int32_t value = 1; std::chrono::steady_clock::now() < until; value++, calls += 2) {
        auto start = std::chrono::steady_clock::now();
        failed += Echo(service, value) == value + 1 ? 0 : 1;
        MessageParcel data;
        MessageParcel reply;
        data.WriteInt32(value);
        failed +=
            Ask(service, CALL_BACK, data, reply) == 0 && reply.ReadInt32() == CallbackAnswer(value, getpid()) ? 0 : 1;
        slowest = std::max(slowest, std::chrono::steady_clock::now() - start);
    }
    running = false;
    for (auto &attacker : attackers) {
        attacker.join();
    }
    EXPECT_EQ(failed, 0u) << "of " << calls << " calls";
    std::printf("%zu calls, slowest pair %.1f ms\n", calls, std::chrono::duration<double, std::milli>(slowest).count());
    EXPECT_EQ(Echo(FindService(), 1), 2);
}
} // namespace
} // namespace OHOS::TarnbyTest
