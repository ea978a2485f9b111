// iface_cast and the broker registration: proxies are wrapped by the registered creator, local stubs answer
// with their own interface only under their own descriptor, and the first registration of a descriptor wins.
#include <gtest/gtest.h>

#include "host_ipc_proxy.h"
#include "ipc_test_support.h"
#include "iremote_broker.h"
#include "iremote_proxy.h"
#include "iremote_stub.h"

namespace OHOS::TarnbyTest {
namespace {
class IGreeter : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"test.IGreeter");
    virtual int32_t Greet(int32_t value) = 0;
};

// Doubles the value on the other side.
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
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        data.WriteInterfaceToken(GetDescriptor());
        data.WriteInt32(value);
        sptr<IRemoteObject> remote = Remote();
        if (remote == nullptr || remote->SendRequest(1, data, reply, option) != 0) {
            return -1;
        }
        return reply.ReadInt32();
    }
};

// A second proxy class for the same interface: registered after GreeterProxy, it must never be used.
class LateGreeterProxy : public GreeterProxy {
public:
    explicit LateGreeterProxy(const sptr<IRemoteObject> &object) : GreeterProxy(object) {}
    int32_t Greet(int32_t value) override
    {
        return -1000;
    }
};

BrokerDelegator<GreeterProxy> g_greeterDelegator;

class IUnregistered : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"test.IUnregistered");
};
} // namespace

TEST(BrokerTest, DescriptorMacroGivesTheLiteral)
{
    EXPECT_EQ(IGreeter::GetDescriptor(), u"test.IGreeter");
    EXPECT_EQ(std::u16string(IGreeter::metaDescriptor_), u"test.IGreeter");
}

TEST(BrokerTest, ProxyObjectIsWrappedByTheRegisteredCreatorEachTime)
{
    sptr<IRemoteObject> stub = new GreeterStub();
    sptr<IRemoteObject> proxy = HostIpc::GetProxy(stub);
    sptr<IGreeter> first = iface_cast<IGreeter>(proxy);
    sptr<IGreeter> second = iface_cast<IGreeter>(proxy);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(first->AsObject(), proxy);
    EXPECT_EQ(first->Greet(21), 42);
    EXPECT_EQ(iface_cast<IGreeter>(nullptr), nullptr);
    EXPECT_EQ(iface_cast<IUnregistered>(proxy), nullptr);
}

TEST(BrokerTest, LocalStubAnswersWithItselfOnlyUnderItsOwnDescriptor)
{
    sptr<GreeterStub> stub = new GreeterStub();
    sptr<IRemoteObject> object = stub->AsObject();
    sptr<IGreeter> local = iface_cast<IGreeter>(object);
    EXPECT_EQ(local.GetRefPtr(), static_cast<IGreeter *>(stub.GetRefPtr()));
    EXPECT_EQ(iface_cast<IUnregistered>(object), nullptr);

    sptr<IRemoteObject> mislabelled = new IPCObjectStub(u"test.Other");
    EXPECT_EQ(iface_cast<IGreeter>(mislabelled), nullptr);
    EXPECT_EQ(mislabelled->AsInterface(), nullptr);
}

TEST(BrokerTest, FirstRegistrationWinsAndALosingDelegatorLeavesItInPlace)
{
    auto &registration = BrokerRegistration::Get();
    auto late = [](const sptr<IRemoteObject> &object) -> sptr<IRemoteBroker> { return new LateGreeterProxy(object); };
    EXPECT_FALSE(registration.Register(IGreeter::GetDescriptor(), late, nullptr));
    EXPECT_FALSE(registration.Register(u"", late, nullptr));
    {
        BrokerDelegator<LateGreeterProxy> loser;
    }
    sptr<IRemoteObject> proxy = HostIpc::GetProxy(new GreeterStub());
    sptr<IGreeter> greeter = iface_cast<IGreeter>(proxy);
    ASSERT_NE(greeter, nullptr);
    EXPECT_EQ(greeter->Greet(5), 10);
}

TEST(BrokerTest, UnregisterRemovesTheCreator)
{
    auto &registration = BrokerRegistration::Get();
    const std::u16string descriptor = u"test.ITemporary";
    sptr<IRemoteObject> proxy = HostIpc::GetProxy(new GreeterStub());
    auto creator = [](const sptr<IRemoteObject> &object) -> sptr<IRemoteBroker> { return new GreeterProxy(object); };
    ASSERT_TRUE(registration.Register(descriptor, creator, nullptr));
    EXPECT_NE(registration.NewInstance(descriptor, proxy), nullptr);
    registration.Unregister(descriptor);
    EXPECT_EQ(registration.NewInstance(descriptor, proxy), nullptr);
    EXPECT_TRUE(registration.Register(descriptor, creator, nullptr));
    registration.Unregister(descriptor);
}

TEST(BrokerTest, StubRefusesARequestWithAnotherToken)
{
    sptr<IRemoteObject> proxy = HostIpc::GetProxy(new GreeterStub());
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    data.WriteInterfaceToken(u"test.ISomethingElse");
    data.WriteInt32(1);
    EXPECT_EQ(proxy->SendRequest(1, data, reply, option), IPC_STUB_INVALID_DATA_ERR);
}
} // namespace OHOS::TarnbyTest
