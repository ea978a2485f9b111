// SPDX-License-Identifier: Apache-2.0
#include "iremote_object.h"

#include "message_parcel.h"

namespace OHOS {
IRemoteObject::IRemoteObject(std::u16string descriptor) : descriptor_(std::move(descriptor))
{
    asRemote_ = true;
}

bool IRemoteObject::IsProxyObject() const
{
    return true;
}

bool IRemoteObject::CheckObjectLegality() const
{
    return false;
}

bool IRemoteObject::IsObjectDead() const
{
    return false;
}

std::u16string IRemoteObject::GetInterfaceDescriptor()
{
    return descriptor_;
}

std::u16string IRemoteObject::GetObjectDescriptor() const
{
    return descriptor_;
}

// Only a MessageParcel has an object table to record the object in.
bool IRemoteObject::Marshalling(Parcel &parcel) const
{
    auto *messageParcel = dynamic_cast<MessageParcel *>(&parcel);
    sptr<IRemoteObject> self(const_cast<IRemoteObject *>(this));
    return messageParcel != nullptr && messageParcel->WriteRemoteObject(self);
}

bool IRemoteObject::Marshalling(Parcel &parcel, const sptr<IRemoteObject> &object)
{
    auto *messageParcel = dynamic_cast<MessageParcel *>(&parcel);
    return messageParcel != nullptr && messageParcel->WriteRemoteObject(object);
}

sptr<IRemoteObject> IRemoteObject::Unmarshalling(Parcel &parcel)
{
    auto *messageParcel = dynamic_cast<MessageParcel *>(&parcel);
    return messageParcel == nullptr ? nullptr : messageParcel->ReadRemoteObject();
}
} // namespace OHOS
