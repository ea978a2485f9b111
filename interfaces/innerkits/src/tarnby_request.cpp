// SPDX-License-Identifier: Apache-2.0
#include "tarnby_request.h"

#include "nested_record.h"
#include "tarnby_errors.h"

namespace OHOS::Tarnby {
namespace {
constexpr uint32_t UNUSED_CODE_FIELD = 0; // operateCode, subOperateCode and command: always 0 from this library
constexpr size_t PARCEL_WORD = sizeof(int32_t);

constexpr size_t PaddedSize(size_t bytes)
{
    return (bytes + PARCEL_WORD - 1) / PARCEL_WORD * PARCEL_WORD;
}

// Raises the parcel's maximum capacity, if needed, so that `bytes` more fit after what is written. A parcel holds at
// most 204,800 bytes unless raised, and the collaboration data may be up to 4,190,208 bytes.
bool MakeRoom(MessageParcel &data, size_t bytes)
{
    size_t needed = data.GetDataSize() + bytes;
    if (needed > data.GetMaxCapacity()) {
        data.SetMaxCapacity(needed);
    }
    return needed <= data.GetMaxCapacity();
}
} // namespace

namespace Wire {
std::function<bool(MessageParcel &)> Int32(int32_t value)
{
    return [value](MessageParcel &data) { return data.WriteInt32(value); };
}

std::function<bool(MessageParcel &)> Uint32(uint32_t value)
{
    return [value](MessageParcel &data) { return data.WriteUint32(value); };
}

std::function<bool(MessageParcel &)> String(const std::string &value)
{
    return [&value](MessageParcel &data) { return data.WriteString(value); };
}

std::function<bool(MessageParcel &)> Record(const sptr<Parcelable> &record)
{
    return [record](MessageParcel &data) { return WriteRequiredRecord(data, record); };
}

std::function<bool(MessageParcel &)> LongString(const std::string &value)
{
    // Its length word, the bytes, the terminator and the padding.
    return [&value](MessageParcel &data) {
        return MakeRoom(data, PARCEL_WORD + PaddedSize(value.size() + 1)) && data.WriteString(value);
    };
}

std::function<bool(MessageParcel &)> BufferLength(uint32_t length, uint32_t maxLength)
{
    return [length, maxLength](MessageParcel &data) {
        return length <= maxLength && MakeRoom(data, PARCEL_WORD + PaddedSize(length)) && data.WriteUint32(length);
    };
}

std::function<bool(MessageParcel &)> BufferBytes(const char *bytes, uint32_t length)
{
    return [bytes, length](MessageParcel &data) {
        return bytes == nullptr || length == 0 || data.WriteUnpadBuffer(bytes, length);
    };
}

std::function<bool(MessageParcel &)> Buffer(const char *bytes, uint32_t length, uint32_t maxLength)
{
    return [bytes, length, maxLength](MessageParcel &data) {
        return BufferLength(length, maxLength)(data) && BufferBytes(bytes, length)(data);
    };
}

std::function<bool(MessageParcel &)> Nothing()
{
    return [](MessageParcel &) { return true; };
}
} // namespace Wire

sptr<ITarnbyService> AcquireServiceProxy(const LogLabel &label, LogSite site)
{
    sptr<ITarnbyService> proxy = TarnbyProxy::GetInstance();
    if (proxy == nullptr) {
        TRBY_LOG_SITE(label, LOG_ERROR, site, "Tarnby dead");
    }
    return proxy;
}

int32_t SendThroughProxy(const sptr<ITarnbyService> &proxy, SendOperation operation, MessageParcel &data,
                         MessageParcel &reply, MessageOption &option, const LogLabel &label, LogSite site)
{
    if (((*proxy).*operation)(data, reply, option) != TRBY_OK) {
        TRBY_LOG_SITE(label, LOG_ERROR, site, "send request to Tarnby failed");
        return ERR_TRBY_SEND_FAILED;
    }
    return TRBY_OK;
}

TarnbyRequest::TarnbyRequest(uint32_t serviceType, uint32_t subServiceType, const LogLabel &label) :
    serviceType_(serviceType), subServiceType_(subServiceType), label_(label),
    option_(TARNBY_OPTION_FLAGS, TARNBY_OPTION_WAIT_TIME)
{
}

int32_t TarnbyRequest::Write(std::initializer_list<RequestField> fields, LogSite site)
{
    if (!headerWritten_) {
        if (TarnbyProxy::BuildCollaborationServiceCode(data_, serviceType_, subServiceType_, UNUSED_CODE_FIELD,
                                                       UNUSED_CODE_FIELD, UNUSED_CODE_FIELD) != TRBY_OK) {
            return ERR_TRBY_INVALID_PARAM;
        }
        headerWritten_ = true;
    }
    for (const RequestField &field : fields) {
        if (!field.write(data_)) {
            TRBY_LOG_SITE(field.label != nullptr ? *field.label : label_, LOG_ERROR, site, "%{public}s", field.failure);
            return ERR_TRBY_WRITE_PARCEL;
        }
    }
    return TRBY_OK;
}

bool TarnbyRequest::AcquireProxy(LogSite site)
{
    proxy_ = AcquireServiceProxy(label_, site);
    return proxy_ != nullptr;
}

int32_t TarnbyRequest::WriteAndSend(std::initializer_list<RequestField> fields, SendOperation operation, LogSite site)
{
    int32_t status = Write(fields, site);
    return status == TRBY_OK ? Send(operation, site) : status;
}

int32_t TarnbyRequest::Send(SendOperation operation, LogSite site)
{
    if (proxy_ == nullptr && !AcquireProxy(site)) {
        return ERR_TRBY_SERVICE_DEAD;
    }
    return SendThroughProxy(proxy_, operation, data_, reply_, option_, label_, site);
}
} // namespace OHOS::Tarnby
