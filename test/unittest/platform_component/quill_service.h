// SPDX-License-Identifier: Apache-2.0
#ifndef QUILL_SERVICE_H
#define QUILL_SERVICE_H

// A small component written for the device: an interface, a parcelable record, a callback, a proxy, a client that
// finds its service by the platform's id, and the service's stub. It includes only the platform's headers, and uses
// std::shared_ptr and std::list without including <memory> or <list> itself, as device code does.
#include "iremote_broker.h"
#include "iremote_proxy.h"
#include "iremote_stub.h"
#include "message_parcel.h"
#include "system_ability_definition.h"

namespace OHOS::Quill {
constexpr int32_t QUILL_SERVICE_ID = MEMORY_MANAGER_SA_ID; // an id of the platform's table, found by its name

// What the service tells about one bucket.
struct BucketInfo : public Parcelable {
    int32_t bucket = 0;
    std::string name;
    std::list<int32_t> levels;

    bool Marshalling(Parcel &parcel) const override;
    static BucketInfo *Unmarshalling(Parcel &parcel);
};

class IQuillCallback : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.quill.IQuillCallback");
    enum { ON_LEVEL = 1 };
    virtual void OnLevel(int32_t bucket, int32_t level) = 0;
};

class IQuillService : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.quill.IQuillService");
    enum { GET_BUCKET = 1, SUBSCRIBE = 2 };
    virtual int32_t GetBucket(int32_t bucket, std::shared_ptr<BucketInfo> &info) = 0;
    // The service answers at once through the callback, with the bucket's last level.
    virtual int32_t Subscribe(int32_t bucket, const sptr<IQuillCallback> &callback) = 0;
};

class QuillProxy : public IRemoteProxy<IQuillService> {
public:
    explicit QuillProxy(const sptr<IRemoteObject> &impl) : IRemoteProxy<IQuillService>(impl) {}
    int32_t GetBucket(int32_t bucket, std::shared_ptr<BucketInfo> &info) override;
    int32_t Subscribe(int32_t bucket, const sptr<IQuillCallback> &callback) override;

private:
    static inline BrokerDelegator<QuillProxy> delegator_;
};

class QuillCallbackStub : public IRemoteStub<IQuillCallback> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
};

class QuillCallbackProxy : public IRemoteProxy<IQuillCallback> {
public:
    explicit QuillCallbackProxy(const sptr<IRemoteObject> &impl) : IRemoteProxy<IQuillCallback>(impl) {}
    void OnLevel(int32_t bucket, int32_t level) override;

private:
    static inline BrokerDelegator<QuillCallbackProxy> delegator_;
};

class QuillServiceStub : public IRemoteStub<IQuillService> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel &data, MessageParcel &reply, MessageOption &option) override;
};

// The client side as platform components keep it: one instance, the service found on first use.
class QuillClient {
public:
    static QuillClient &GetInstance();
    sptr<IQuillService> GetService();
    void Reset();

private:
    QuillClient() = default;
    std::mutex mutex_;
    sptr<IQuillService> service_;
};
} // namespace OHOS::Quill

#endif // QUILL_SERVICE_H
