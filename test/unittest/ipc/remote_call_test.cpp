// Requests through a proxy cross the simulated process boundary: fresh parcels, proxies for objects, duplicated
// descriptors, raw blocks, the return-code rule, IPC threads and the caller's identity.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <future>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "host_ipc.h"
#include "host_ipc_proxy.h"
#include "ipc_object_proxy.h"
#include "ipc_skeleton.h"
#include "ipc_test_support.h"

namespace OHOS::TarnbyTest {
namespace {
constexpr uint32_t TYPE_PROXY = 0x73682a85;
constexpr uint32_t TYPE_FD = 0x66642a85;
constexpr uint32_t CODE = 1;

// The proxy a client process would hold for `stub`.
sptr<IRemoteObject> ProxyOf(const sptr<IRemoteObject> &stub)
{
    return HostIpc::GetProxy(stub);
}

int Send(const sptr<IRemoteObject> &remote, MessageParcel &data, MessageParcel &reply, uint32_t code = CODE,
         int flags = MessageOption::TF_SYNC)
{
    MessageOption option(flags);
    return remote->SendRequest(code, data, reply, option);
}

// What a handler saw of the request, copied out so the test can check it after the call.
struct Received {
    size_t readPosition = 0;
    size_t dataSize = 0;
    size_t maxCapacity = 0;
    uint32_t fdType = 0;
    int fdNumber = -1;
    uint32_t objectType = 0;
    uint64_t objectHandle = 0;
    sptr<IRemoteObject> first;
    sptr<IRemoteObject> second;
    std::thread::id thread;
};
} // namespace

TEST(RemoteCallTest, GetProxyGivesOneSharedProxyPerObject)
{
    sptr<IRemoteObject> stub = new ScriptedStub(nullptr);
    sptr<IRemoteObject> proxy = ProxyOf(stub);
    ASSERT_NE(proxy, nullptr);
    EXPECT_NE(proxy, stub);
    EXPECT_TRUE(proxy->IsProxyObject());
    EXPECT_FALSE(stub->IsProxyObject());
    EXPECT_EQ(ProxyOf(stub), proxy);
    EXPECT_EQ(ProxyOf(proxy), proxy);
    EXPECT_NE(ProxyOf(new ScriptedStub(nullptr)), proxy);
    EXPECT_EQ(ProxyOf(nullptr), nullptr);
}

TEST(RemoteCallTest, DescriptorAndObjectArriveAsTheReceiverSeesThem)
{
    int pipeFds[2];
    ASSERT_EQ(pipe2(pipeFds, O_CLOEXEC), 0);
    Received seen;
    sptr<IRemoteObject> service = new ScriptedStub([&seen](uint32_t, MessageParcel &data, MessageParcel &, auto &) {
        seen.readPosition = data.GetReadPosition();
        seen.fdType = data.ReadUint32();
        data.SkipBytes(4);
        seen.fdNumber = static_cast<int>(data.ReadUint64());
        data.SkipBytes(8);
        seen.objectType = data.ReadUint32();
        data.SkipBytes(4);
        seen.objectHandle = data.ReadUint64();
        data.RewindRead(24);
        seen.first = data.ReadRemoteObject();
        seen.second = data.ReadRemoteObject();
        return 0;
    });
    sptr<IRemoteObject> callback = new ScriptedStub(nullptr);
    MessageParcel data;
    ASSERT_TRUE(data.WriteFileDescriptor(pipeFds[1]));
    ASSERT_TRUE(data.WriteRemoteObject(callback));
    ASSERT_TRUE(data.WriteRemoteObject(callback));
    data.ReadInt32(); // the sender's read position must not travel
    MessageParcel reply;
    ASSERT_EQ(Send(ProxyOf(service), data, reply), 0);

    int sentHeld = static_cast<int>(*reinterpret_cast<const uint64_t *>(data.GetData() + 8));
    EXPECT_EQ(seen.readPosition, 0u);
    EXPECT_EQ(seen.fdType, TYPE_FD);
    EXPECT_NE(seen.fdNumber, pipeFds[1]);
    EXPECT_NE(seen.fdNumber, sentHeld);
    EXPECT_EQ(fcntl(seen.fdNumber, F_GETFD), -1) << "the receiver's copy closes with the request parcel";
    EXPECT_EQ(seen.objectType, TYPE_PROXY);
    ASSERT_NE(seen.first, nullptr);
    EXPECT_TRUE(seen.first->IsProxyObject());
    EXPECT_EQ(seen.first, seen.second);
    EXPECT_NE(seen.first, callback);
    EXPECT_EQ(seen.first, ProxyOf(callback));
    EXPECT_EQ(seen.objectHandle, static_cast<IPCObjectProxy *>(seen.first.GetRefPtr())->GetHandle());
    close(pipeFds[0]);
    close(pipeFds[1]);
}

TEST(RemoteCallTest, ReceivedDescriptorIsALiveCopyOfTheSentOne)
{
    int pipeFds[2];
    ASSERT_EQ(pipe2(pipeFds, O_CLOEXEC), 0);
    int receivedNumber = -1;
    sptr<IRemoteObject> service = new ScriptedStub([&](uint32_t, MessageParcel &data, MessageParcel &, auto &) {
        int fd = data.ReadFileDescriptor();
        receivedNumber = fd;
        ssize_t written = write(fd, "ping", 4);
        close(fd);
        return written == 4 ? 0 : -1;
    });
    MessageParcel data;
    ASSERT_TRUE(data.WriteFileDescriptor(pipeFds[1]));
    MessageParcel reply;
    EXPECT_EQ(Send(ProxyOf(service), data, reply), 0);
    EXPECT_NE(receivedNumber, pipeFds[1]);
    char text[4] = {};
    ASSERT_EQ(read(pipeFds[0], text, sizeof(text)), 4);
    EXPECT_EQ(std::memcmp(text, "ping", 4), 0);
    close(pipeFds[0]);
    close(pipeFds[1]);
}

TEST(RemoteCallTest, OneMebibyteRawBlockCrossesIntact)
{
    constexpr size_t SIZE = 1024 * 1024;
    std::vector<uint8_t> block(SIZE);
    for (size_t i = 0; i < SIZE; i++) {
        block[i] = static_cast<uint8_t>((i * 131) ^ (i >> 9));
    }
    std::vector<uint8_t> received;
    int32_t trailer = 0;
    sptr<IRemoteObject> service = new ScriptedStub([&](uint32_t, MessageParcel &data, MessageParcel &, auto &) {
        const auto *bytes = static_cast<const uint8_t *>(data.ReadRawData(SIZE));
        if (bytes != nullptr) {
            received.assign(bytes, bytes + SIZE);
        }
        trailer = data.ReadInt32();
        return 0;
    });
    MessageParcel data;
    ASSERT_TRUE(data.WriteRawData(block.data(), block.size()));
    data.WriteInt32(-77);
    MessageParcel reply;
    ASSERT_EQ(Send(ProxyOf(service), data, reply), 0);
    ASSERT_EQ(received.size(), SIZE);
    EXPECT_TRUE(received == block);
    EXPECT_EQ(trailer, -77);
}

TEST(RemoteCallTest, RaisedMaximumCapacityTravelsWithTheParcel)
{
    constexpr size_t BIG = 300000;
    size_t seenMax = 0;
    size_t seenSize = 0;
    sptr<IRemoteObject> service = new ScriptedStub([&](uint32_t, MessageParcel &data, MessageParcel &, auto &) {
        seenMax = data.GetMaxCapacity();
        seenSize = data.GetDataSize();
        return 0;
    });
    MessageParcel data;
    ASSERT_TRUE(data.SetMaxCapacity(400000));
    std::vector<uint8_t> body(BIG, 3);
    ASSERT_TRUE(data.WriteBuffer(body.data(), body.size()));
    data.WriteUint8Unaligned(9); // an unaligned tail must arrive byte for byte
    MessageParcel reply;
    ASSERT_EQ(Send(ProxyOf(service), data, reply), 0);
    EXPECT_EQ(seenMax, 400000u);
    EXPECT_EQ(seenSize, BIG + 1);
}

TEST(RemoteCallTest, HandlerResultPassesOnlyWithAnEmptyReply)
{
    bool writeReply = false;
    sptr<IRemoteObject> service = new ScriptedStub([&](uint32_t, MessageParcel &, MessageParcel &reply, auto &) {
        if (writeReply) {
            reply.WriteInt32(1234);
        }
        return 77;
    });
    sptr<IRemoteObject> proxy = ProxyOf(service);
    MessageParcel data;
    MessageParcel emptyReply;
    EXPECT_EQ(Send(proxy, data, emptyReply), 77);
    EXPECT_EQ(emptyReply.GetDataSize(), 0u);

    writeReply = true;
    MessageParcel reply;
    EXPECT_EQ(Send(proxy, data, reply), 0);
    EXPECT_EQ(reply.ReadInt32(), 1234);

    // Called in-process, a stub's result is returned as it is.
    MessageParcel direct;
    EXPECT_EQ(Send(service, data, direct), 77);
    EXPECT_EQ(direct.ReadInt32(), 1234);
}

TEST(RemoteCallTest, ObjectInTheReplyArrivesAsProxy)
{
    sptr<IRemoteObject> session = new ScriptedStub(nullptr);
    sptr<IRemoteObject> service = new ScriptedStub([&](uint32_t, MessageParcel &, MessageParcel &reply, auto &) {
        reply.WriteInt32(5);
        reply.WriteRemoteObject(session);
        return 0;
    });
    MessageParcel data;
    MessageParcel reply;
    reply.WriteInt32(99); // the reply is appended after what the caller already had
    ASSERT_EQ(Send(ProxyOf(service), data, reply), 0);
    EXPECT_EQ(reply.ReadInt32(), 99);
    EXPECT_EQ(reply.ReadInt32(), 5);
    sptr<IRemoteObject> arrived = reply.ReadRemoteObject();
    ASSERT_NE(arrived, nullptr);
    EXPECT_TRUE(arrived->IsProxyObject());
    EXPECT_EQ(arrived, ProxyOf(session));
}

TEST(RemoteCallTest, CodesAboveTheUserRangeAreRefusedByTheProxy)
{
    std::atomic<int> calls{0};
    sptr<IRemoteObject> service = new ScriptedStub([&](uint32_t, MessageParcel &, MessageParcel &, auto &) {
        calls++;
        return 0;
    });
    sptr<IRemoteObject> proxy = ProxyOf(service);
    MessageParcel data;
    MessageParcel reply;
    EXPECT_EQ(Send(proxy, data, reply, 0x01000000), IPC_PROXY_INVALID_CODE_ERR);
    EXPECT_EQ(Send(proxy, data, reply, 0xffffffffu), 204);
    EXPECT_EQ(calls.load(), 0);
    EXPECT_EQ(Send(proxy, data, reply, LAST_CALL_TRANSACTION), 0);
    EXPECT_EQ(calls.load(), 1);
}

TEST(RemoteCallTest, UnknownCodeGives305ThroughProxyAndDirectly)
{
    sptr<IRemoteObject> plain = new IPCObjectStub(u"test.Plain");
    MessageParcel data;
    MessageParcel reply;
    EXPECT_EQ(Send(ProxyOf(plain), data, reply, 42), IPC_STUB_UNKNOW_TRANS_ERR);
    EXPECT_EQ(Send(plain, data, reply, 42), 305);
    EXPECT_FALSE(plain->AddDeathRecipient(new CountingRecipient()));
    EXPECT_FALSE(plain->RemoveDeathRecipient(new CountingRecipient()));
}

TEST(RemoteCallTest, ProxyWithoutATargetGivesNullObject)
{
    sptr<IRemoteObject> unbound = new IPCObjectProxy(9999);
    MessageParcel data;
    MessageParcel reply;
    EXPECT_EQ(Send(unbound, data, reply), ERR_NULL_OBJECT);
    EXPECT_EQ(unbound->GetObjectDescriptor(), u"IPCObjectProxy9999");
}

TEST(RemoteCallTest, ProxyAsksTheTargetForItsInterfaceDescriptor)
{
    sptr<IRemoteObject> service = new IPCObjectStub(u"test.Described");
    EXPECT_EQ(ProxyOf(service)->GetInterfaceDescriptor(), u"test.Described");
    EXPECT_NE(ProxyOf(service)->GetObjectDescriptor(), u"test.Described");
}

TEST(RemoteCallTest, HandlerRunsOnAnIpcThreadWhileTheCallerWaits)
{
    std::thread::id handlerThread;
    sptr<IRemoteObject> service = new ScriptedStub([&](uint32_t, MessageParcel &, MessageParcel &reply, auto &) {
        handlerThread = std::this_thread::get_id();
        reply.WriteInt32(1);
        return 0;
    });
    MessageParcel data;
    MessageParcel reply;
    ASSERT_EQ(Send(ProxyOf(service), data, reply), 0);
    EXPECT_NE(handlerThread, std::thread::id());
    EXPECT_NE(handlerThread, std::this_thread::get_id());
    EXPECT_EQ(reply.ReadInt32(), 1); // filled before SendRequest returned
}

TEST(RemoteCallTest, CallingIdentityNamesTheSenderOnlyDuringTheCall)
{
    pid_t seenPid = 0;
    pid_t seenUid = 0;
    sptr<IRemoteObject> service = new ScriptedStub([&](uint32_t, MessageParcel &, MessageParcel &, auto &) {
        seenPid = IPCSkeleton::GetCallingPid();
        seenUid = IPCSkeleton::GetCallingUid();
        return 0;
    });
    sptr<IRemoteObject> proxy = ProxyOf(service);
    MessageParcel data;
    MessageParcel reply;

    EXPECT_EQ(IPCSkeleton::GetCallingPid(), getpid());
    EXPECT_EQ(IPCSkeleton::GetCallingUid(), static_cast<pid_t>(getuid()));
    HostIpc::SetThreadIdentity(4242, 5151);
    ASSERT_EQ(Send(proxy, data, reply), 0);
    EXPECT_EQ(seenPid, 4242);
    EXPECT_EQ(seenUid, 5151);
    EXPECT_EQ(IPCSkeleton::GetCallingPid(), getpid()) << "sending as someone else does not change who calls us";

    HostIpc::ClearThreadIdentity();
    ASSERT_EQ(Send(proxy, data, reply), 0);
    EXPECT_EQ(seenPid, getpid());
    EXPECT_EQ(seenUid, static_cast<pid_t>(getuid()));
}

TEST(RemoteCallTest, IdentitySetInsideAHandlerDoesNotLeakIntoLaterRequests)
{
    pid_t innerSeen = 0;
    sptr<IRemoteObject> inner = new ScriptedStub([&](uint32_t, MessageParcel &, MessageParcel &, auto &) {
        innerSeen = IPCSkeleton::GetCallingPid();
        return 0;
    });
    bool spoof = true;
    sptr<IRemoteObject> outer = new ScriptedStub([&](uint32_t, MessageParcel &, MessageParcel &, auto &) {
        if (spoof) {
            HostIpc::SetThreadIdentity(777, 778);
        }
        MessageParcel data;
        MessageParcel reply;
        return Send(ProxyOf(inner), data, reply);
    });
    MessageParcel data;
    MessageParcel reply;
    ASSERT_EQ(Send(ProxyOf(outer), data, reply), 0);
    EXPECT_EQ(innerSeen, 777);
    spoof = false;
    ASSERT_EQ(Send(ProxyOf(outer), data, reply), 0);
    EXPECT_EQ(innerSeen, getpid());
}

TEST(RemoteCallTest, OneWayRequestDoesNotWaitAndGetsNoReply)
{
    Latch release;
    std::promise<std::thread::id> handled;
    sptr<IRemoteObject> service = new ScriptedStub([&](uint32_t, MessageParcel &data, MessageParcel &reply, auto &) {
        release.Wait();
        reply.WriteInt32(data.ReadInt32());
        handled.set_value(std::this_thread::get_id());
        return 55;
    });
    MessageParcel data;
    data.WriteInt32(8);
    MessageParcel reply;
    // The handler cannot finish before the latch opens, so a waiting SendRequest would never return.
    EXPECT_EQ(Send(ProxyOf(service), data, reply, CODE, MessageOption::TF_ASYNC), 0);
    EXPECT_EQ(reply.GetDataSize(), 0u);
    release.Open();
    EXPECT_NE(handled.get_future().get(), std::this_thread::get_id());
}

// The service, while handling the client's synchronous request, synchronously calls the client's callback.
TEST(RemoteCallTest, NestedCallbackDuringASynchronousRequestCompletes)
{
    std::thread::id callbackThread;
    std::thread::id serviceThread;
    sptr<IRemoteObject> clientCallback =
        new ScriptedStub([&](uint32_t code, MessageParcel &data, MessageParcel &reply, auto &) {
            callbackThread = std::this_thread::get_id();
            reply.WriteInt32(data.ReadInt32() * 10 + static_cast<int32_t>(code));
            return 0;
        });
    sptr<IRemoteObject> service = new ScriptedStub([&](uint32_t, MessageParcel &data, MessageParcel &reply, auto &) {
        serviceThread = std::this_thread::get_id();
        int32_t value = data.ReadInt32();
        sptr<IRemoteObject> callback = data.ReadRemoteObject();
        if (callback == nullptr) {
            return -1;
        }
        MessageParcel request;
        request.WriteInt32(value + 1);
        MessageParcel answer;
        int result = Send(callback, request, answer, 3);
        reply.WriteInt32(result);
        reply.WriteInt32(answer.ReadInt32());
        return 0;
    });
    MessageParcel data;
    data.WriteInt32(4);
    data.WriteRemoteObject(clientCallback);
    MessageParcel reply;
    ASSERT_EQ(Send(ProxyOf(service), data, reply), 0);
    EXPECT_EQ(reply.ReadInt32(), 0);
    EXPECT_EQ(reply.ReadInt32(), 53);
    EXPECT_NE(callbackThread, std::this_thread::get_id());
    EXPECT_NE(callbackThread, serviceThread);
}

TEST(RemoteCallTest, ConcurrentClientsEachGetTheirOwnReply)
{
    sptr<IRemoteObject> service = new ScriptedStub([](uint32_t, MessageParcel &data, MessageParcel &reply, auto &) {
        reply.WriteInt32(data.ReadInt32() * 2);
        return 0;
    });
    sptr<IRemoteObject> proxy = ProxyOf(service);
    constexpr int CLIENTS = 8;
    constexpr int ROUNDS = 50;
    std::vector<std::future<int>> mismatches;
    for (int client = 0; client < CLIENTS; client++) {
        mismatches.push_back(std::async(std::launch::async, [proxy, client] {
            int wrong = 0;
            for (int round = 0; round < ROUNDS; round++) {
                MessageParcel data;
                data.WriteInt32(client * 1000 + round);
                MessageParcel reply;
                if (Send(proxy, data, reply) != 0 || reply.ReadInt32() != (client * 1000 + round) * 2) {
                    wrong++;
                }
            }
            return wrong;
        }));
    }
    for (auto &result : mismatches) {
        EXPECT_EQ(result.get(), 0);
    }
}
} // namespace OHOS::TarnbyTest
