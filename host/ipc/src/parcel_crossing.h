// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_PARCEL_CROSSING_H
#define OHOS_HOST_IPC_PARCEL_CROSSING_H

#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "iremote_object.h"
#include "message_parcel.h"

namespace OHOS::HostIpc {
// One entry of a parcel's object table: an object or a descriptor the parcel owns, at a data offset.
struct TableEntry {
    size_t offset = 0;
    sptr<IRemoteObject> object;
    int fd = -1;
};

// Moves parcel contents across a process boundary, whichever it is: the object table out of a parcel, and bytes
// with their objects and descriptors into one. A descriptor always has one owner: the sending parcel keeps its
// own, the receiving parcel owns what it was given.
class ParcelCrossing {
public:
    using ObjectFor = std::function<sptr<IRemoteObject>(const sptr<IRemoteObject> &object)>;

    // The entries whose flat object lies wholly inside the data, in offset order; descriptors stay the parcel's.
    static std::vector<TableEntry> Table(const MessageParcel &parcel);
    // Appends `size` bytes and records `entries` (offsets relative to `bytes`); the parcel takes their
    // descriptors (set to -1 in `entries`) when it succeeds.
    [[nodiscard]] static bool Adopt(MessageParcel &to, const uint8_t *bytes, size_t size,
                                    std::vector<TableEntry> &entries);
    // Like Adopt, but an empty `to` takes the mapping of `size` bytes itself as its read-only data, as a request
    // on the device reads the driver's buffer: no copy, and the mapping goes with the parcel. False (nothing
    // taken) when `to` already holds data.
    [[nodiscard]] static bool AdoptMapping(MessageParcel &to, void *mapping, size_t size,
                                           std::vector<TableEntry> &entries);
    // Appends `from` to `to` as the receiving process sees it: the same bytes (the maximum capacity raised to
    // match), every object as `objectFor` gives it, every descriptor duplicated. `from` is left as it was.
    [[nodiscard]] static bool Cross(const MessageParcel &from, MessageParcel &to, const ObjectFor &objectFor);

private:
    using Objects = std::map<size_t, MessageParcel::ObjectEntry>;

    // Rewrites the flat object at `offset` of `bytes` for the receiver and records it in `received`.
    static bool Translate(const MessageParcel::ObjectEntry &entry, size_t offset, std::vector<uint8_t> &bytes,
                          size_t base, const ObjectFor &objectFor, Objects &received);
    static bool AppendBytes(MessageParcel &to, const uint8_t *bytes, size_t size);
    static void RecordEntries(MessageParcel &to, size_t base, std::vector<TableEntry> &entries);
    static void CloseAll(Objects &objects);
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_PARCEL_CROSSING_H
