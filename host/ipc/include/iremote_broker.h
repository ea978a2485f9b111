// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_IPC_IREMOTE_BROKER_H
#define OHOS_IPC_IREMOTE_BROKER_H

#include <functional>
#include <map>
#include <mutex>
#include <string>

// Standard headers the platform's own header brings in: device code uses what they declare after including
// only this one, so the host header brings at least the same.
#include <list>
#include <memory>
#include <unordered_map>

#include "iremote_object.h"
#include "refbase.h"

namespace OHOS {
// The typed face of a remote object: interfaces derive from it and name their descriptor.
class IRemoteBroker : public virtual RefBase {
public:
    IRemoteBroker() = default;
    ~IRemoteBroker() override = default;
    virtual sptr<IRemoteObject> AsObject() = 0;
};

// Put inside an interface class: gives it the descriptor that tokens and iface_cast use.
#define DECLARE_INTERFACE_DESCRIPTOR(DESCRIPTOR)                                                                       \
    static constexpr const char16_t *metaDescriptor_ = DESCRIPTOR;                                                     \
    static inline const std::u16string GetDescriptor()                                                                 \
    {                                                                                                                  \
        return metaDescriptor_;                                                                                        \
    }

class BrokerDelegatorBase {
public:
    BrokerDelegatorBase() = default;
    virtual ~BrokerDelegatorBase() = default;

    bool isSoUnloaded = false;
    std::u16string descriptor_;
};

// Process-wide table from interface descriptor to the function that wraps a proxy object in its typed proxy.
class BrokerRegistration {
    using Constructor = std::function<sptr<IRemoteBroker>(const sptr<IRemoteObject> &object)>;

public:
    static BrokerRegistration &Get();
    // The first registration of a descriptor wins; later ones, and an empty descriptor, give false.
    bool Register(const std::u16string &descriptor, const Constructor &creator, const BrokerDelegatorBase *object);
    void Unregister(const std::u16string &descriptor);
    // A proxy object is wrapped by the registered creator (a new instance each time); a local object answers
    // with its own interface only when it was built with `descriptor`.
    sptr<IRemoteBroker> NewInstance(const std::u16string &descriptor, const sptr<IRemoteObject> &object);

protected:
    BrokerRegistration() = default;
    ~BrokerRegistration() = default;

private:
    BrokerRegistration(const BrokerRegistration &) = delete;
    BrokerRegistration &operator=(const BrokerRegistration &) = delete;

    Constructor FindCreator(const std::u16string &descriptor);

    std::mutex creatorMutex_;
    std::map<std::u16string, Constructor> creators_;
};

// A static instance of BrokerDelegator<SomeProxy> makes iface_cast wrap proxies of SomeProxy's interface.
template <typename T>
class BrokerDelegator : public BrokerDelegatorBase {
public:
    BrokerDelegator();
    ~BrokerDelegator() override;

private:
    BrokerDelegator(const BrokerDelegator &) = delete;
    BrokerDelegator &operator=(const BrokerDelegator &) = delete;
};

template <typename T>
BrokerDelegator<T>::BrokerDelegator()
{
    const std::u16string descriptor = T::GetDescriptor();
    auto creator = [](const sptr<IRemoteObject> &object) -> sptr<IRemoteBroker> {
        T *proxy = new (std::nothrow) T(object);
        return proxy == nullptr ? nullptr : sptr<IRemoteBroker>(proxy);
    };
    if (BrokerRegistration::Get().Register(descriptor, creator, this)) {
        descriptor_ = descriptor;
    }
}

// Only the delegator whose registration won removes it again.
template <typename T>
BrokerDelegator<T>::~BrokerDelegator()
{
    if (!isSoUnloaded && !descriptor_.empty()) {
        BrokerRegistration::Get().Unregister(descriptor_);
    }
}

template <typename INTERFACE>
inline sptr<INTERFACE> iface_cast(const sptr<IRemoteObject> &object)
{
    sptr<IRemoteBroker> broker = BrokerRegistration::Get().NewInstance(INTERFACE::GetDescriptor(), object);
    return static_cast<INTERFACE *>(broker.GetRefPtr());
}
} // namespace OHOS

#endif // OHOS_IPC_IREMOTE_BROKER_H
