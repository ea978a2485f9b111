#ifndef OHOS_HOST_IPC_TRANSPORT_H
#define OHOS_HOST_IPC_TRANSPORT_H

#include <cstdint>
#include <vector>

#include "iremote_object.h"
#include "message_parcel.h"

namespace OHOS::HostIpc {
// What the driver would answer when it cannot carry a parcel (BR_FAILED_REPLY).
constexpr int TRANSPORT_FAILED_REPLY = 0x7211;

// Moves parcel contents across the simulated process boundary.
class ParcelCrossing {
public:
    // Appends `from` to `to` as the receiving process sees it: the same bytes (the maximum capacity raised to
    // match), every object as its shared proxy, every descriptor duplicated. `from` is left as it was.
    static bool Cross(const MessageParcel &from, MessageParcel &to);

private:
    using Objects = std::map<size_t, MessageParcel::ObjectEntry>;

    // Rewrites the flat object at `offset` of `bytes` for the receiver and records it in `received`.
    static bool Translate(const MessageParcel::ObjectEntry &entry, size_t offset, std::vector<uint8_t> &bytes,
                          size_t base, Objects &received);
    static bool AppendBytes(MessageParcel &to, const std::vector<uint8_t> &bytes);
    static void CloseAll(Objects &objects);
};

// Runs `target`'s SendRequest on an IPC thread as a request from another process. Synchronous requests wait
// and get the handler's reply; the handler's result comes back only when that reply is empty.
int Transact(const sptr<IRemoteObject> &target, uint32_t code, MessageParcel &data, MessageParcel &reply,
             MessageOption &option);

// Tells each recipient, once, on an IPC thread, that `proxy` died.
void NotifyDeath(const sptr<IRemoteObject> &proxy, std::vector<sptr<IRemoteObject::DeathRecipient>> recipients);
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_TRANSPORT_H
