#ifndef OHOS_HOST_IPC_TRANSPORT_H
#define OHOS_HOST_IPC_TRANSPORT_H

#include <cstdint>
#include <vector>

#include "iremote_object.h"
#include "message_parcel.h"

namespace OHOS::HostIpc {
// What the driver would answer when it cannot carry a parcel (BR_FAILED_REPLY).
constexpr int TRANSPORT_FAILED_REPLY = 0x7211;

// One entry of a parcel's object table: an object or a descriptor the parcel owns, at a data offset.
struct TableEntry {
    size_t offset = 0;
    sptr<IRemoteObject> object;
    int fd = -1;
};

// Moves parcel contents across the process boundary, simulated or real.
class ParcelCrossing {
public:
    // The entries whose flat object lies wholly inside the data, in offset order; descriptors stay the parcel's.
    static std::vector<TableEntry> Table(const MessageParcel &parcel);
    // Appends `size` bytes and records `entries` (offsets relative to `bytes`); the parcel takes their
    // descriptors (set to -1 in `entries`) when it succeeds.
    static bool Adopt(MessageParcel &to, const uint8_t *bytes, size_t size, std::vector<TableEntry> &entries);
    // Like Adopt, but an empty `to` takes the mapping of `size` bytes itself as its read-only data, as a request
    // on the device reads the driver's buffer: no copy, and the mapping goes with the parcel. False (nothing
    // taken) when `to` already holds data.
    static bool AdoptMapping(MessageParcel &to, void *mapping, size_t size, std::vector<TableEntry> &entries);

    // Appends `from` to `to` as the receiving process sees it: the same bytes (the maximum capacity raised to
    // match), every object as its shared proxy, every descriptor duplicated. `from` is left as it was.
    static bool Cross(const MessageParcel &from, MessageParcel &to);

private:
    using Objects = std::map<size_t, MessageParcel::ObjectEntry>;

    // Rewrites the flat object at `offset` of `bytes` for the receiver and records it in `received`.
    static bool Translate(const MessageParcel::ObjectEntry &entry, size_t offset, std::vector<uint8_t> &bytes,
                          size_t base, Objects &received);
    static bool AppendBytes(MessageParcel &to, const uint8_t *bytes, size_t size);
    static void RecordEntries(MessageParcel &to, size_t base, std::vector<TableEntry> &entries);
    static void CloseAll(Objects &objects);
};

// Runs `target`'s SendRequest as a request from another process: over the connection of a proxy received from a
// real process, otherwise on an IPC thread of this one. Synchronous requests wait (at most the option's wait time,
// then ERR_TIMED_OUT) and get the handler's reply; the handler's result comes back only when that reply is empty.
int Transact(const sptr<IRemoteObject> &target, uint32_t code, MessageParcel &data, MessageParcel &reply,
             MessageOption &option);

// Tells each recipient, once, on an IPC thread, that `proxy` died.
void NotifyDeath(const sptr<IRemoteObject> &proxy, std::vector<sptr<IRemoteObject::DeathRecipient>> recipients);
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_TRANSPORT_H
