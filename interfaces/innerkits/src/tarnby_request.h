// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_REQUEST_H
#define TARNBY_REQUEST_H

// The one shape of every request a front sends: the envelope, the operation's fields in wire order (each stated with
// the line logged when it cannot be written), the proxy, the send, and the typed values at the head of the reply.
// Internal to the library.
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <tuple>

#include "message_option.h"
#include "message_parcel.h"
#include "tarnby_log.h"
#include "tarnby_proxy.h"

namespace OHOS::Tarnby {
// One of the proxy's send operations, e.g. &ITarnbyService::CollaborationToDeviceEvent.
using SendOperation = int32_t (ITarnbyService::*)(MessageParcel &data, MessageParcel &reply, MessageOption &option);

// One field of a request: how it is written, and the line logged when it cannot be (under `label` when given,
// else under the request's own label).
struct RequestField {
    std::function<bool(MessageParcel &)> write;
    const char *failure;
    const LogLabel *label = nullptr;
};

// Writers of the field kinds. Strings are held by reference: use them within the statement that writes.
namespace Wire {
std::function<bool(MessageParcel &)> Int32(int32_t value);
std::function<bool(MessageParcel &)> Uint32(uint32_t value);
std::function<bool(MessageParcel &)> String(const std::string &value);
// A nested record the wire requires: a null one fails the write.
std::function<bool(MessageParcel &)> Record(const sptr<Parcelable> &record);
// A string that may be longer than a parcel holds by default: the request's maximum is raised to fit it.
std::function<bool(MessageParcel &)> LongString(const std::string &value);
// uint32 length (at most `maxLength`), then `length` bytes unpadded, with room made for them; the bytes are left out
// when `bytes` is null or the length 0.
std::function<bool(MessageParcel &)> Buffer(const char *bytes, uint32_t length, uint32_t maxLength);
// The uint32 length alone, then the bytes unpadded as the next field: for requests that log the two apart.
std::function<bool(MessageParcel &)> BufferLength(uint32_t length, uint32_t maxLength);
std::function<bool(MessageParcel &)> BufferBytes(const char *bytes, uint32_t length);
// A local object as a remote object; a null one fails the write.
template <typename Local>
std::function<bool(MessageParcel &)> Object(const sptr<Local> &object)
{
    return [object](MessageParcel &data) { return object != nullptr && data.WriteRemoteObject(object->AsObject()); };
}
// No field at all: for a field that the request leaves out.
std::function<bool(MessageParcel &)> Nothing();
} // namespace Wire

// The shared proxy, or empty after "Tarnby dead" (logged under `label` at `site`).
sptr<ITarnbyService> AcquireServiceProxy(const LogLabel &label, LogSite site = LogSite::Here());

// Sends through `operation` of `proxy`: 0, or 0x1B8003F5 after "send request to Tarnby failed" (the platform's and
// the proxy's own codes are logged where they arise).
int32_t SendThroughProxy(const sptr<ITarnbyService> &proxy, SendOperation operation, MessageParcel &data,
                         MessageParcel &reply, MessageOption &option, const LogLabel &label,
                         LogSite site = LogSite::Here());

class TarnbyRequest {
public:
    // `label` is the log identity of the front.
    TarnbyRequest(uint32_t serviceType, uint32_t subServiceType, const LogLabel &label);

    // The envelope (token, then serviceType, subServiceType and three zeros) and `fields` in order: 0, 1001 when the
    // envelope could not be written, or 1007 after the failure line (logged at `site`) of the first field that could
    // not. An envelope already written is not written again.
    int32_t Write(std::initializer_list<RequestField> fields, LogSite site = LogSite::Here());

    // Looks the service proxy up; false after "Tarnby dead" when there is none (the front answers 1012).
    bool AcquireProxy(LogSite site = LogSite::Here());
    // Sends through `operation` of the proxy (looking it up first unless AcquireProxy() did): 0, 1012 after
    // "Tarnby dead", or 0x1B8003F5 after "send request to Tarnby failed".
    int32_t Send(SendOperation operation, LogSite site = LogSite::Here());
    // Write(fields), then Send(operation) when every field went in: the first failure's code, or 0.
    int32_t WriteAndSend(std::initializer_list<RequestField> fields, SendOperation operation,
                         LogSite site = LogSite::Here());
    // The values at the head of the reply, in order (0 for each one missing, as the platform reads missing data).
    template <typename... Values>
    std::tuple<Values...> ReadReply()
    {
        return std::tuple<Values...>{ReadReplyValue(Values{})...};
    }

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

private:
    int32_t ReadReplyValue(int32_t)
    {
        return reply_.ReadInt32();
    }

    uint32_t serviceType_;
    uint32_t subServiceType_;
    LogLabel label_;
    bool headerWritten_ = false;
    MessageParcel data_;
    MessageParcel reply_;
    MessageOption option_;
    sptr<ITarnbyService> proxy_;
};
} // namespace OHOS::Tarnby

#endif // TARNBY_REQUEST_H
