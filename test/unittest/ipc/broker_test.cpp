// iface_cast and the broker registration: proxies are wrapped by the registered creator, local stubs answer
// with their own interface only under their own descriptor, and the first registration of a descriptor wins.
#include <gtest/gtest.h>

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
} // namespace

TEST(BrokerTest, ProxyIsWrappedAnewEachTimeAndALocalStubOnlyUnderItsOwnDescriptor)
{
    EXPECT_EQ(std::u16string(IGreeter::metaDescriptor_), u"test.IGreeter");
    sptr<GreeterStub> stub = new GreeterStub();
    sptr<IRemoteObject> proxy = ProxyOf(stub->AsObject());
    sptr<IGreeter> first = iface_cast<IGreeter>(proxy);
    sptr<IGreeter> second = iface_cast<IGreeter>(proxy);
    ASSERT_TRUE(first != nullptr && second != nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(first->AsObject(), proxy);
    EXPECT_EQ(first->Greet(21), 42);
    EXPECT_EQ(iface_cast<IGreeter>(nullptr), nullptr);
    EXPECT_EQ(iface_cast<IUnregistered>(proxy), nullptr);

    EXPECT_EQ(iface_cast<IGreeter>(stub->AsObject()).GetRefPtr(), static_cast<IGreeter *>(stub.GetRefPtr()));
    EXPECT_EQ(iface_cast<IUnregistered>(stub->AsObject()), nullptr);
    sptr<IRemoteObject> mislabelled = new IPCObjectStub(u"test.Other");
    EXPECT_EQ(iface_cast<IGreeter>(mislabelled), nullptr);
    EXPECT_EQ(mislabelled->AsInterface(), nullptr);
}

TEST(BrokerTest, FirstRegistrationWinsUnregisterRemovesAndAStubRefusesAnotherToken)
{
    auto &registration = BrokerRegistration::Get();
    // A creator registered after GreeterProxy's must never be used.
    auto late = [](const sptr<IRemoteObject> &) -> sptr<IRemoteBroker> { return nullptr; };
    EXPECT_FALSE(registration.Register(IGreeter::GetDescriptor(), late, nullptr));
    EXPECT_FALSE(registration.Register(u"", late, nullptr));
    {
        BrokerDelegator<GreeterProxy> loser; // its destructor must not unregister the winner
    }
    sptr<IRemoteObject> proxy = ProxyOf(new GreeterStub());
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
