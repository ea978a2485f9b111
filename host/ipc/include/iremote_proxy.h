// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_IPC_IREMOTE_PROXY_H
#define OHOS_IPC_IREMOTE_PROXY_H

#include "iremote_broker.h"
#include "peer_holder.h"

namespace OHOS {
// Base of every typed proxy: holds the remote object and hands it out only through the interface.
template <typename INTERFACE>
class IRemoteProxy : public PeerHolder, public INTERFACE {
public:
    explicit IRemoteProxy(const sptr<IRemoteObject> &object);
    ~IRemoteProxy() override = default;

protected:
    sptr<IRemoteObject> AsObject() override;
};

template <typename INTERFACE>
IRemoteProxy<INTERFACE>::IRemoteProxy(const sptr<IRemoteObject> &object) : PeerHolder(object)
{
}

template <typename INTERFACE>
sptr<IRemoteObject> IRemoteProxy<INTERFACE>::AsObject()
{
    return Remote();
}
} // namespace OHOS

#endif // OHOS_IPC_IREMOTE_PROXY_H
