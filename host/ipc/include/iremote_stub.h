// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_IPC_IREMOTE_STUB_H
#define OHOS_IPC_IREMOTE_STUB_H

#include "ipc_object_stub.h"
#include "iremote_broker.h"

namespace OHOS {
// Base of every typed stub: an IPCObjectStub built with the interface's descriptor that is its own interface.
template <typename INTERFACE>
class IRemoteStub : public IPCObjectStub, public INTERFACE {
public:
    explicit IRemoteStub(bool serialInvokeFlag = false);
    ~IRemoteStub() override = default;

    sptr<IRemoteObject> AsObject() override;
    sptr<IRemoteBroker> AsInterface() override;
};

template <typename INTERFACE>
IRemoteStub<INTERFACE>::IRemoteStub(bool serialInvokeFlag) : IPCObjectStub(INTERFACE::GetDescriptor(), serialInvokeFlag)
{
}

template <typename INTERFACE>
sptr<IRemoteObject> IRemoteStub<INTERFACE>::AsObject()
{
    return this;
}

template <typename INTERFACE>
sptr<IRemoteBroker> IRemoteStub<INTERFACE>::AsInterface()
{
    return this;
}
} // namespace OHOS

#endif // OHOS_IPC_IREMOTE_STUB_H
