// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_IPC_IREMOTE_OBJECT_H
#define OHOS_IPC_IREMOTE_OBJECT_H

#include <cstdint>
#include <string>
#include <vector>

// Standard headers the platform's own header brings in: device code uses what they declare after including
// only this one, so the host header brings at least the same.
#include <list>
#include <map>
#include <memory>

#include "ipc_types.h"
#include "message_option.h"
#include "message_parcel.h"
#include "parcel.h"
#include "refbase.h"

namespace OHOS {
class IRemoteBroker;

// An object that can be called across processes: a local stub, or a proxy standing for one in another process.
class IRemoteObject : public virtual Parcelable, public virtual RefBase {
public:
    enum {
        IF_PROT_DEFAULT = 0,
        IF_PROT_BINDER = IF_PROT_DEFAULT,
        IF_PROT_DATABUS,
        IF_PROT_ERROR,
    };

    // Told once, on an IPC thread, when the process behind a proxy it was added to goes away.
    class DeathRecipient : public virtual RefBase {
    public:
        // `object` is the dead proxy.
        virtual void OnRemoteDied(const wptr<IRemoteObject> &object) = 0;
    };

    // How many strong references the object has; a proxy asks the other side and gives 0 when it cannot.
    virtual int32_t GetObjectRefCount() = 0;
    // On a proxy the target's handler runs on an IPC thread and the caller waits unless the option is TF_ASYNC.
    virtual int SendRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) = 0;
    virtual bool IsProxyObject() const;
    virtual bool CheckObjectLegality() const;
    // Proxies only: a stub has no death to report and always refuses.
    virtual bool AddDeathRecipient(const sptr<DeathRecipient> &recipient) = 0;
    virtual bool RemoveDeathRecipient(const sptr<DeathRecipient> &recipient) = 0;
    virtual int Dump(int fd, const std::vector<std::u16string> &args) = 0;
    virtual sptr<IRemoteBroker> AsInterface();
    virtual bool IsObjectDead() const;
    // The descriptor the object was built with; a proxy asks the other side instead.
    virtual std::u16string GetInterfaceDescriptor();

    // Writes this object into `parcel`, which has to be a MessageParcel.
    bool Marshalling(Parcel &parcel) const override;
    static bool Marshalling(Parcel &parcel, const sptr<IRemoteObject> &object);
    static sptr<IRemoteObject> Unmarshalling(Parcel &parcel);

    std::u16string GetObjectDescriptor() const;

protected:
    explicit IRemoteObject(std::u16string descriptor = std::u16string());
    ~IRemoteObject() override = default;

    const std::u16string descriptor_;
};
} // namespace OHOS

#endif // OHOS_IPC_IREMOTE_OBJECT_H
