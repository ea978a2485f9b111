// SPDX-License-Identifier: Apache-2.0
#include "quill_service.h"

#include "iservice_registry.h"
#include "quill_log.h"

namespace OHOS::Quill {
bool BucketInfo::Marshalling(Parcel &parcel) const
{
    if (!parcel.WriteInt32(bucket) || !parcel.WriteString(name) || !parcel.WriteUint32(levels.size())) {
        return false;
    }
    for (int32_t level : levels) {
        if (!parcel.WriteInt32(level)) {
            return false;
        }
    }
    return true;
}

BucketInfo *BucketInfo::Unmarshalling(Parcel &parcel)
{
    auto info = std::make_unique<BucketInfo>();
    uint32_t count = 0;
    if (!parcel.ReadInt32(info->bucket) || !parcel.ReadString(info->name) || !parcel.ReadUint32(count) ||
        count > parcel.GetReadableBytes() / sizeof(int32_t)) {
        return nullptr;
    }
    for (uint32_t i = 0; i < count; i++) {
        info->levels.push_back(parcel.ReadInt32());
    }
    return info.release();
}

int32_t QuillProxy::GetBucket(int32_t bucket, std::shared_ptr<BucketInfo> &info)
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    if (!data.WriteInterfaceToken(GetDescriptor()) || !data.WriteInt32(bucket)) {
        QUILL_LOGE("write failed");
        return ERR_FLATTEN_OBJECT;
    }
    int32_t error = Remote()->SendRequest(GET_BUCKET, data, reply, option);
    if (error != ERR_NONE) {
        QUILL_LOGE("SendRequest failed, error %{public}d", error);
        return error;
    }
    int32_t result = reply.ReadInt32();
    info = std::shared_ptr<BucketInfo>(reply.ReadParcelable<BucketInfo>());
    QUILL_LOGI("bucket %{public}d: %{public}d", bucket, result);
    return info == nullptr ? ERR_INVALID_DATA : result;
}

int32_t QuillProxy::Subscribe(int32_t bucket, const sptr<IQuillCallback> &callback)
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    if (callback == nullptr || !data.WriteInterfaceToken(GetDescriptor()) || !data.WriteInt32(bucket) ||
        !data.WriteRemoteObject(callback->AsObject())) {
        return ERR_FLATTEN_OBJECT;
    }
    int32_t error = Remote()->SendRequest(SUBSCRIBE, data, reply, option);
    // The older C++ interface, as some components still log.
    OHOS::HiviewDFX::HiLog::Info({LOG_CORE, LOG_DOMAIN, "QuillLegacy"}, "subscribed to %{public}d", bucket);
    return error != ERR_NONE ? error : reply.ReadInt32();
}

int QuillCallbackStub::OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply,
                                       MessageOption &option)
{
    if (data.ReadInterfaceToken() != GetDescriptor() || code != ON_LEVEL) {
        return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
    }
    int32_t bucket = data.ReadInt32();
    OnLevel(bucket, data.ReadInt32());
    return ERR_NONE;
}

void QuillCallbackProxy::OnLevel(int32_t bucket, int32_t level)
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    if (data.WriteInterfaceToken(GetDescriptor()) && data.WriteInt32(bucket) && data.WriteInt32(level)) {
        Remote()->SendRequest(ON_LEVEL, data, reply, option);
    }
}

int QuillServiceStub::OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply,
                                      MessageOption &option)
{
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        return ERR_INVALID_STATE;
    }
    int32_t bucket = data.ReadInt32();
    if (code == GET_BUCKET) {
        std::shared_ptr<BucketInfo> info;
        int32_t result = GetBucket(bucket, info);
        return reply.WriteInt32(result) && reply.WriteParcelable(info.get()) ? ERR_NONE : ERR_INVALID_DATA;
    }
    if (code == SUBSCRIBE) {
        sptr<IQuillCallback> callback = iface_cast<IQuillCallback>(data.ReadRemoteObject());
        return reply.WriteInt32(Subscribe(bucket, callback)) ? ERR_NONE : ERR_INVALID_DATA;
    }
    return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
}

QuillClient &QuillClient::GetInstance()
{
    static QuillClient instance;
    return instance;
}

sptr<IQuillService> QuillClient::GetService()
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (service_ != nullptr) {
        return service_;
    }
    auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    sptr<IRemoteObject> object = manager == nullptr ? nullptr : manager->GetSystemAbility(QUILL_SERVICE_ID);
    service_ = iface_cast<IQuillService>(object);
    if (service_ == nullptr) {
        QUILL_LOGE("no service under %{public}d", QUILL_SERVICE_ID);
    }
    return service_;
}

void QuillClient::Reset()
{
    std::lock_guard<std::mutex> lock(mutex_);
    service_ = nullptr;
}
} // namespace OHOS::Quill
