#include "tarnby_request.h"

#include "tarnby_errors.h"

namespace OHOS::Tarnby {
namespace {
constexpr uint32_t UNUSED_CODE_FIELD = 0; // operateCode, subOperateCode and command: always 0 from this library
} // namespace

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

bool TarnbyRequest::AcquireProxy(const char *caller)
{
    proxy_ = TarnbyProxy::GetInstance();
    if (proxy_ == nullptr) {
        TRBY_LOG_FN(label_, LOG_ERROR, caller, "Tarnby dead");
        return false;
    }
    return true;
}

int32_t TarnbyRequest::Send(SendOperation operation, const char *caller)
{
    if (proxy_ == nullptr && !AcquireProxy(caller)) {
        return ERR_TRBY_SERVICE_DEAD;
    }
    if (((*proxy_).*operation)(data_, reply_, option_) != TRBY_OK) {
        TRBY_LOG_FN(label_, LOG_ERROR, caller, "send request to Tarnby failed");
        return ERR_TRBY_SEND_FAILED;
    }
    return TRBY_OK;
}

int32_t TarnbyRequest::ReadResult()
{
    return reply_.ReadInt32();
}
} // namespace OHOS::Tarnby
