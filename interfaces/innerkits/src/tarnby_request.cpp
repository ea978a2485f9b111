#include "tarnby_request.h"

#include "tarnby_errors.h"

namespace OHOS::Tarnby {
namespace {
constexpr uint32_t UNUSED_CODE_FIELD = 0; // operateCode, subOperateCode and command: always 0 from this library
} // namespace

sptr<ITarnbyService> AcquireServiceProxy(const LogLabel &label, const char *caller, const char *file, int line)
{
    sptr<ITarnbyService> proxy = TarnbyProxy::GetInstance();
    if (proxy == nullptr) {
        TRBY_LOG_AT(label, LOG_ERROR, file, line, caller, "Tarnby dead");
    }
    return proxy;
}

int32_t SendThroughProxy(const sptr<ITarnbyService> &proxy, SendOperation operation, MessageParcel &data,
                         MessageParcel &reply, MessageOption &option, const LogLabel &label, const char *caller,
                         const char *file, int line)
{
    if (((*proxy).*operation)(data, reply, option) != TRBY_OK) {
        TRBY_LOG_AT(label, LOG_ERROR, file, line, caller, "send request to Tarnby failed");
        return ERR_TRBY_SEND_FAILED;
    }
    return TRBY_OK;
}

TarnbyRequest::TarnbyRequest(uint32_t serviceType, uint32_t subServiceType, const LogLabel &label) :
    serviceType_(serviceType), subServiceType_(subServiceType), label_(label),
    option_(TARNBY_OPTION_FLAGS, TARNBY_OPTION_WAIT_TIME)
{
}

bool TarnbyRequest::WriteHeader()
{
    return TarnbyProxy::BuildCollaborationServiceCode(data_, serviceType_, subServiceType_, UNUSED_CODE_FIELD,
                                                      UNUSED_CODE_FIELD, UNUSED_CODE_FIELD) == TRBY_OK;
}

bool TarnbyRequest::AcquireProxy(const char *caller, const char *file, int line)
{
    proxy_ = AcquireServiceProxy(label_, caller, file, line);
    return proxy_ != nullptr;
}

int32_t TarnbyRequest::Send(SendOperation operation, const char *caller, const char *file, int line)
{
    if (proxy_ == nullptr && !AcquireProxy(caller, file, line)) {
        return ERR_TRBY_SERVICE_DEAD;
    }
    return SendThroughProxy(proxy_, operation, data_, reply_, option_, label_, caller, file, line);
}

int32_t TarnbyRequest::ReadResult()
{
    return reply_.ReadInt32();
}

bool TarnbyRequest::ReserveCapacity(size_t bytes)
{
    size_t needed = data_.GetDataSize() + bytes;
    if (needed > data_.GetMaxCapacity()) {
        data_.SetMaxCapacity(needed);
    }
    return needed <= data_.GetMaxCapacity();
}
} // namespace OHOS::Tarnby
