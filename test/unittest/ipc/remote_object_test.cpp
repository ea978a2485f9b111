// SPDX-License-Identifier: Apache-2.0
// IRemoteObject, IPCObjectStub, IPCObjectProxy, IPCSkeleton and the brokers: descriptors, the reserved codes a stub
// answers itself, what a proxy asks the other side, what a handler learns about its caller, and iface_cast.
#include "iremote_object.h"
// Code that includes only iremote_object.h must be able to build a request.
static_assert(sizeof(OHOS::MessageParcel) > 0, "iremote_object.h brings in MessageParcel");

#include <chrono>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "host_ipc.h"
#include "ipc_object_proxy.h"
#include "ipc_skeleton.h"
#include "ipc_test_support.h"
#include "iremote_broker.h"
#include "iremote_proxy.h"
#include "iremote_stub.h"

namespace OHOS::TarnbyTest {
namespace {
class DumpingStub : public IPCObjectStub {
public:
    DumpingStub() : IPCObjectStub(u"test.Dumping") {}
    int Dump(int fd, const std::vector<std::u16string> &args) override
    {
        std::string text = args.empty() ? "" : std::string(args[0].begin(), args[0].end());
        return write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 17 : -1;
    }
};

class IGreeter : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"test.IGreeter");
    virtual int32_t Greet(int32_t value) = 0;
};

// Doubles the value on the other side, after checking the token.
class GreeterStub : public IRemoteStub<IGreeter> {
public:
    int32_t Greet(int32_t value) override
    {
        return value * 2;
    }
    int OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override
    {
        if (data.ReadInterfaceToken() != GetDescriptor()) {
            return IPC_STUB_INVALID_DATA_ERR;
        }
        reply.WriteInt32(Greet(data.ReadInt32()));
        return 0;
    }
};

class GreeterProxy : public IRemoteProxy<IGreeter> {
public:
    explicit GreeterProxy(const sptr<IRemoteObject> &object) : IRemoteProxy<IGreeter>(object) {}
    int32_t Greet(int32_t value) override
    {
        MessageParcel data, reply;
        data.WriteInterfaceToken(GetDescriptor());
        data.WriteInt32(value);
        return Remote() != nullptr && Send(Remote(), data, reply) == 0 ? reply.ReadInt32() : -1;
    }
};

BrokerDelegator<GreeterProxy> g_greeterDelegator;

struct IUnregistered : public IRemoteBroker {
    DECLARE_INTERFACE_DESCRIPTOR(u"test.IUnregistered");
};

uint64_t SteadyMilliseconds()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}
} // namespace

TEST(RemoteObjectTest, ObjectsKeepTheDescriptorTheyWereBuiltWithAndTheSkeletonItsDeviceThreadCapAndContextObject)
{
    sptr<IRemoteObject> stub = new ScriptedStub(nullptr, u"test.Described");
    EXPECT_EQ(stub->GetInterfaceDescriptor(), u"test.Described");
    EXPECT_EQ(stub->GetObjectDescriptor(), u"test.Described");
    EXPECT_TRUE(stub->IRemoteObject::IsProxyObject()) << "the base class counts as a proxy";
    sptr<IRemoteObject> named = new IPCObjectProxy(5, u"test.Named");
    EXPECT_TRUE(named->GetObjectDescriptor() == u"test.Named" && named->GetInterfaceDescriptor() == u"test.Named")
        << "a proxy made with a descriptor gives its own, bound to anything or not";
    EXPECT_EQ(ProxyOf(stub)->GetInterfaceDescriptor(), u"test.Described") << "the proxy asks the other side";
    EXPECT_NE(ProxyOf(stub)->GetObjectDescriptor(), u"test.Described");
    sptr<IRemoteObject> unbound = new IPCObjectProxy(9999);
    EXPECT_EQ(unbound->GetObjectDescriptor(), u"IPCObjectProxy9999");
    EXPECT_TRUE(SendEmpty(unbound) == ERR_NULL_OBJECT && unbound->GetInterfaceDescriptor().empty());
    EXPECT_TRUE(IPCSkeleton::IsLocalCalling() && IPCSkeleton::GetCallingDeviceID() == IPCSkeleton::GetLocalDeviceID());
    EXPECT_FALSE(IPCSkeleton::SetMaxWorkThreadNum(0) || IPCSkeleton::SetMaxWorkThreadNum(-3));
    EXPECT_TRUE(IPCSkeleton::SetMaxWorkThreadNum(16));
    sptr<IRemoteObject> first;
    EXPECT_FALSE(IPCSkeleton::SetContextObject(first));
    first = new ScriptedStub();
    sptr<IRemoteObject> second = new ScriptedStub();
    EXPECT_TRUE(IPCSkeleton::SetContextObject(first) && IPCSkeleton::GetContextObject() == first);
    EXPECT_TRUE(IPCSkeleton::SetContextObject(second) && IPCSkeleton::GetContextObject() == second);
}

// Each reserved code, sent to the stub directly: its result and the words of its reply. Every request, reserved
// or not, stamps the time it arrived.
TEST(RemoteObjectTest, StubAnswersTheReservedCodesItselfRecordsWhenTheLastRequestArrivedAndClosesTheDumpDescriptor)
{
    int handled = 0;
    auto *raw = new ScriptedStub([&handled](auto &&...) { return ++handled; }, u"test.Reserved");
    uint64_t created = SteadyMilliseconds();
    sptr<IRemoteObject> stub = raw;
    EXPECT_TRUE(raw->GetLastRequestTime() > 0 && raw->GetLastRequestTime() <= created) << "its creation time";
    uint64_t before = SteadyMilliseconds();
    struct {
        uint32_t code;
        int result;
        std::vector<int32_t> words; // the reply's leading int32 values
        std::u16string text;        // then the String16, if any
    } cases[] = {{PING_TRANSACTION, 0, {0}, u""},
                 {INTERFACE_TRANSACTION, 0, {}, u"test.Reserved"},
                 {DUMP_TRANSACTION, IPC_STUB_INVALID_DATA_ERR, {}, u""},
                 {SYNCHRONIZE_REFERENCE, 0, {stub->GetSptrRefCount()}, u""},
                 {GET_PROTO_INFO, 0, {IRemoteObject::IF_PROT_BINDER}, u"test.Reserved"},
                 {INVOKE_LISTEN_THREAD, IPC_STUB_INVOKE_THREAD_ERR, {}, u""},
                 {DBINDER_DECREFS_TRANSACTION, IPC_STUB_INVALID_DATA_ERR, {}, u""},
                 {DBINDER_ADD_COMMAUTH, IPC_STUB_INVALID_DATA_ERR, {}, u""},
                 {GET_SESSION_NAME_PID_UID, IPC_STUB_INVALID_DATA_ERR, {}, u""},
                 {GET_SESSION_NAME, 0, {}, u""},
                 {SHELL_COMMAND_TRANSACTION, 1, {}, u""}};
    for (const auto &c : cases) {
        MessageParcel data, reply;
        EXPECT_EQ(Send(stub, data, reply, c.code), c.result) << std::hex << c.code;
        for (int32_t word : c.words) {
            EXPECT_EQ(reply.ReadInt32(), word) << std::hex << c.code;
        }
        EXPECT_EQ(c.text.empty() ? u"" : reply.ReadString16(), c.text) << std::hex << c.code;
        EXPECT_EQ(reply.GetReadableBytes(), 0u) << std::hex << c.code;
    }
    EXPECT_EQ(handled, 1) << "only the code the stub does not reserve reaches the handler";
    EXPECT_TRUE(raw->GetLastRequestTime() >= before && raw->GetLastRequestTime() <= SteadyMilliseconds());
    EXPECT_EQ(SendEmpty(new IPCObjectStub(), 42), IPC_STUB_UNKNOW_TRANS_ERR);
    EXPECT_FALSE(stub->AddDeathRecipient(new CountingRecipient()) ||
                 stub->RemoveDeathRecipient(new CountingRecipient()));
    // A dump hands the descriptor and the arguments to Dump and closes its own copy.
    Pipe pipe;
    int *fds = pipe.fds;
    sptr<IRemoteObject> dumping = new DumpingStub();
    EXPECT_EQ(ProxyOf(dumping)->Dump(fds[1], {u"state"}), 17);
    char text[6] = {};
    EXPECT_TRUE(read(fds[0], text, 5) == 5 && std::string(text) == "state");
    {
        MessageParcel badArgs, reply;
        badArgs.WriteFileDescriptor(fds[1]);
        badArgs.WriteInt32(-1); // a negative argument count
        EXPECT_EQ(Send(dumping, badArgs, reply, DUMP_TRANSACTION), IPC_STUB_INVALID_DATA_ERR);
        EXPECT_EQ(badArgs.ReadFileDescriptor(), -1) << "the stub consumed the descriptor";
    }
    close(std::exchange(fds[1], -1));
    EXPECT_EQ(read(fds[0], text, 1), 0) << "every copy of the write end was closed";
}

TEST(RemoteObjectTest, ProxyAsksTheOtherSideForTheReferenceCountAndGetsZeroWhenItCannot)
{
    sptr<IRemoteObject> stub = new ScriptedStub();
    sptr<IRemoteObject> proxy = ProxyOf(stub);
    int32_t counted = proxy->GetObjectRefCount();
    EXPECT_GT(counted, 0);
    {
        sptr<IRemoteObject> extra = stub;
        EXPECT_EQ(proxy->GetObjectRefCount(), counted + 1) << "the stub's count, not the proxy's";
    }
    EXPECT_EQ(sptr<IRemoteObject>(new IPCObjectProxy(4242))->GetObjectRefCount(), 0);
    HostIpc::KillObject(stub);
    EXPECT_EQ(proxy->GetObjectRefCount(), 0);
}

// The caller's identity as a handler sees it, also when a handler sets another one for its own nested request.
TEST(RemoteObjectTest, CallingIdentityNamesTheSenderOnlyDuringTheCall)
{
    // pid, uid, full token, token (the low half of the full token) and the stub's token, as the handler sees them
    using Identity = std::tuple<pid_t, pid_t, uint64_t, uint32_t, uint32_t>;
    Identity seen;
    sptr<IPCObjectStub> service;
    service = new ScriptedStub([&](auto &&...) {
        seen = {IPCSkeleton::GetCallingPid(), IPCSkeleton::GetCallingUid(), IPCSkeleton::GetCallingFullTokenID(),
                IPCSkeleton::GetCallingTokenID(), service->GetCallingTokenID()};
        return 0;
    });
    const pid_t ownPid = getpid();
    const Identity own(ownPid, getuid(), IPCSkeleton::GetSelfFullTokenID(), IPCSkeleton::GetSelfTokenID(),
                       IPCSkeleton::GetSelfTokenID());
    EXPECT_EQ(Identity(IPCSkeleton::GetCallingPid(), IPCSkeleton::GetCallingUid(), IPCSkeleton::GetCallingFullTokenID(),
                       IPCSkeleton::GetCallingTokenID(), IPCSkeleton::GetCallingTokenID()),
              own);
    HostIpc::SetThreadIdentity(4242, 5151, 0x1234567800000abcULL);
    ASSERT_EQ(SendEmpty(ProxyOf(service)), 0);
    EXPECT_EQ(seen, Identity(4242, 5151, 0x1234567800000abcULL, 0xabc, 0xabc));
    EXPECT_EQ(IPCSkeleton::GetCallingPid(), ownPid) << "sending as someone else does not change who calls us";
    HostIpc::ClearThreadIdentity();
    ASSERT_EQ(SendEmpty(ProxyOf(service)), 0);
    EXPECT_EQ(seen, own);
    bool spoof = true;
    sptr<IRemoteObject> outer = new ScriptedStub([&](auto &&...) {
        if (spoof) {
            HostIpc::SetThreadIdentity(777, 778);
        }
        return SendEmpty(ProxyOf(service));
    });
    ASSERT_EQ(SendEmpty(ProxyOf(outer)), 0);
    EXPECT_EQ(std::get<0>(seen), 777);
    spoof = false;
    ASSERT_EQ(SendEmpty(ProxyOf(outer)), 0);
    EXPECT_EQ(std::get<0>(seen), ownPid) << "an identity set inside a handler does not leak into later requests";
}

// iface_cast and the broker registration: proxies are wrapped by the registered creator, local stubs answer with
// their own interface only under their own descriptor, and the first registration of a descriptor wins.
TEST(BrokerTest, ProxyIsWrappedAnewByTheFirstRegisteredCreatorAndALocalStubOnlyUnderItsOwnDescriptor)
{
    EXPECT_EQ(std::u16string(IGreeter::metaDescriptor_), u"test.IGreeter");
    sptr<GreeterStub> stub = new GreeterStub();
    sptr<IRemoteObject> proxy = ProxyOf(stub->AsObject());
    sptr<IGreeter> first = iface_cast<IGreeter>(proxy), second = iface_cast<IGreeter>(proxy);
    ASSERT_TRUE(first != nullptr && second != nullptr);
    EXPECT_TRUE(first != second && first->AsObject() == proxy);
    EXPECT_EQ(first->Greet(21), 42);
    EXPECT_TRUE(iface_cast<IGreeter>(nullptr) == nullptr && iface_cast<IUnregistered>(proxy) == nullptr);
    EXPECT_EQ(iface_cast<IGreeter>(stub->AsObject()).GetRefPtr(), static_cast<IGreeter *>(stub.GetRefPtr()));
    EXPECT_EQ(iface_cast<IUnregistered>(stub->AsObject()), nullptr);
    sptr<IRemoteObject> mislabelled = new IPCObjectStub(u"test.Other");
    EXPECT_TRUE(iface_cast<IGreeter>(mislabelled) == nullptr && mislabelled->AsInterface() == nullptr);
    auto &registration = BrokerRegistration::Get();
    // A creator registered after GreeterProxy's must never be used.
    auto late = [](const sptr<IRemoteObject> &) -> sptr<IRemoteBroker> { return nullptr; };
    EXPECT_FALSE(registration.Register(IGreeter::GetDescriptor(), late, nullptr) ||
                 registration.Register(u"", late, nullptr));
    {
        BrokerDelegator<GreeterProxy> loser; // its destructor must not unregister the winner
    }
    EXPECT_EQ(iface_cast<IGreeter>(proxy)->Greet(5), 10);
    auto creator = [](const sptr<IRemoteObject> &object) -> sptr<IRemoteBroker> { return new GreeterProxy(object); };
    ASSERT_TRUE(registration.Register(u"test.ITemporary", creator, nullptr));
    EXPECT_NE(registration.NewInstance(u"test.ITemporary", proxy), nullptr);
    registration.Unregister(u"test.ITemporary");
    EXPECT_EQ(registration.NewInstance(u"test.ITemporary", proxy), nullptr);
    MessageParcel data, reply;
    data.WriteInterfaceToken(u"test.ISomethingElse");
    EXPECT_EQ(Send(proxy, data, reply), IPC_STUB_INVALID_DATA_ERR);
}
} // namespace OHOS::TarnbyTest
