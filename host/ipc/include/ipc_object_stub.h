// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_IPC_IPC_OBJECT_STUB_H
#define OHOS_IPC_IPC_OBJECT_STUB_H

#include <atomic>
#include <mutex>

#include "iremote_object.h"

namespace OHOS {
// The local end of a remote object. Requests from other processes arrive through SendRequest on an IPC thread.
class IPCObjectStub : public IRemoteObject {
public:
    // With `serialInvokeFlag` the object's requests run one at a time (a recursive lock, so a handler may re-enter).
    explicit IPCObjectStub(std::u16string descriptor = std::u16string(), bool serialInvokeFlag = false);
    ~IPCObjectStub() override = default;

    bool IsProxyObject() const override
    {
        return false;
    }

    int32_t GetObjectRefCount() override;
    int Dump(int fd, const std::vector<std::u16string> &args) override;
    // Answers the framework codes itself (PING, INTERFACE, DUMP, SYNCHRONIZE_REFERENCE, GET_PROTO_INFO, and the
    // distributed-binder ones as a stub that is not distributed does) and hands every other code to OnRemoteRequest.
    int SendRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
    // Override to serve requests; the default refuses every code with IPC_STUB_UNKNOW_TRANS_ERR.
    virtual int OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option);
    // DUMP_TRANSACTION: a descriptor, then the arguments as a String16 vector, handed to Dump. Without a
    // descriptor the request is refused with IPC_STUB_INVALID_DATA_ERR. The stub closes the descriptor.
    virtual int OnRemoteDump(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option);
    // Milliseconds on the steady clock when the last request arrived; the creation time before the first one.
    uint64_t GetLastRequestTime();
    // A stub never dies from its own point of view, so these always refuse.
    bool AddDeathRecipient(const sptr<DeathRecipient> &recipient) override;
    bool RemoveDeathRecipient(const sptr<DeathRecipient> &recipient) override;

    static int32_t GetCallingPid();
    static int32_t GetCallingUid();
    uint32_t GetCallingTokenID();
    uint64_t GetCallingFullTokenID();

private:
    int HandleFrameworkCode(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option,
                            bool &handled);

    std::atomic<uint64_t> lastRequestTime_;
    bool serialInvokeFlag_;
    std::recursive_mutex serialRecursiveMutex_;
};
} // namespace OHOS

#endif // OHOS_IPC_IPC_OBJECT_STUB_H
