#ifndef TARNBY_REQUEST_H
#define TARNBY_REQUEST_H

// The shared shape of every request a front sends: the envelope, the operation's own fields (written by the
// front), the proxy, the send, and the int32 result in the reply. Internal to the library.
#include <cstdint>

#include "message_option.h"
#include "message_parcel.h"
#include "tarnby_log.h"
#include "tarnby_proxy.h"

namespace OHOS::Tarnby {
// One of the proxy's send operations, e.g. &ITarnbyService::CollaborationToDeviceEvent.
using SendOperation = int32_t (ITarnbyService::*)(MessageParcel &data, MessageParcel &reply, MessageOption &option);

// The shared proxy, or empty after "Tarnby dead" (logged under `label` at the caller's site).
sptr<ITarnbyService> AcquireServiceProxy(const LogLabel &label, const char *caller = __builtin_FUNCTION(),
                                         const char *file = __builtin_FILE(), int line = __builtin_LINE());

// Sends through `operation` of `proxy`: 0, or 0x1B8003F5 after "send request to Tarnby failed" (the platform's and
// the proxy's own codes are logged where they arise).
int32_t SendThroughProxy(const sptr<ITarnbyService> &proxy, SendOperation operation, MessageParcel &data,
                         MessageParcel &reply, MessageOption &option, const LogLabel &label,
                         const char *caller = __builtin_FUNCTION(), const char *file = __builtin_FILE(),
                         int line = __builtin_LINE());

class TarnbyRequest {
public:
    // `label` is the log identity of the front; its lines are logged in the name of the front's function.
    TarnbyRequest(uint32_t serviceType, uint32_t subServiceType, const LogLabel &label);

    // Writes the envelope (token, then serviceType, subServiceType and three zeros). False when it could not be
    // written; the front then answers 1001.
    bool WriteHeader();

    MessageParcel &Data()
    {
        return data_;
    }
    MessageParcel &Reply()
    {
        return reply_;
    }
    // Flags 0 (synchronous) and wait time 8 seconds, as every request of the library.
    MessageOption &Option()
    {
        return option_;
    }

    // Looks the service proxy up; false after "Tarnby dead" when there is none (the front answers 1012).
    bool AcquireProxy(const char *caller = __builtin_FUNCTION(), const char *file = __builtin_FILE(),
                      int line = __builtin_LINE());
    // Sends through `operation` of the proxy (looking it up first unless AcquireProxy() did): 0, 1012 after
    // "Tarnby dead", or 0x1B8003F5 after "send request to Tarnby failed".
    int32_t Send(SendOperation operation, const char *caller = __builtin_FUNCTION(),
                 const char *file = __builtin_FILE(), int line = __builtin_LINE());
    // The int32 at the head of the reply (0 when the reply is empty, as the platform reads missing data).
    int32_t ReadResult();

    // Raises the request's maximum capacity, if needed, so that `bytes` more fit after what is written. A parcel holds
    // at most 204,800 bytes unless raised, and the collaboration data may be up to 4,190,208 bytes. False when the
    // maximum could not be raised that far.
    bool ReserveCapacity(size_t bytes);

private:
    uint32_t serviceType_;
    uint32_t subServiceType_;
    LogLabel label_;
    MessageParcel data_;
    MessageParcel reply_;
    MessageOption option_;
    sptr<ITarnbyService> proxy_;
};
} // namespace OHOS::Tarnby

#endif // TARNBY_REQUEST_H
