// SPDX-License-Identifier: Apache-2.0
#include "iremote_broker.h"

namespace OHOS {
// Here, beside the broker it returns: a plain remote object is no interface of its own.
sptr<IRemoteBroker> IRemoteObject::AsInterface()
{
    return nullptr;
}

// Never destroyed: static delegators of other libraries unregister during exit, in no particular order.
BrokerRegistration &BrokerRegistration::Get()
{
    static BrokerRegistration *registration = new BrokerRegistration();
    return *registration;
}

bool BrokerRegistration::Register(const std::u16string &descriptor, const Constructor &creator,
                                  const BrokerDelegatorBase *object)
{
    if (descriptor.empty() || !creator) {
        return false;
    }
    std::lock_guard<std::mutex> lock(creatorMutex_);
    return creators_.emplace(descriptor, creator).second;
}

void BrokerRegistration::Unregister(const std::u16string &descriptor)
{
    std::lock_guard<std::mutex> lock(creatorMutex_);
    creators_.erase(descriptor);
}

BrokerRegistration::Constructor BrokerRegistration::FindCreator(const std::u16string &descriptor)
{
    std::lock_guard<std::mutex> lock(creatorMutex_);
    auto found = creators_.find(descriptor);
    return found == creators_.end() ? Constructor() : found->second;
}

sptr<IRemoteBroker> BrokerRegistration::NewInstance(const std::u16string &descriptor, const sptr<IRemoteObject> &object)
{
    if (object == nullptr) {
        return nullptr;
    }
    if (!object->IsProxyObject()) {
        return descriptor == object->GetObjectDescriptor() ? object->AsInterface() : nullptr;
    }
    Constructor creator = FindCreator(descriptor);
    return creator ? creator(object) : nullptr;
}
} // namespace OHOS
