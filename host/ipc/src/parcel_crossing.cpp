// SPDX-License-Identifier: Apache-2.0
#include "parcel_crossing.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <new>

#include "flat_object.h"
#include "ipc_log.h"
#include "ipc_object_proxy.h"

namespace OHOS::HostIpc {
namespace {
constexpr size_t ALIGNMENT = 4;
} // namespace

std::vector<TableEntry> ParcelCrossing::Table(const MessageParcel &parcel)
{
    std::vector<TableEntry> table;
    for (const auto &[offset, entry] : parcel.objects_) {
        if (offset + sizeof(FlatObject) <= parcel.GetDataSize()) {
            table.push_back(TableEntry{offset, entry.object, entry.fd});
        }
    }
    return table;
}

bool ParcelCrossing::Adopt(MessageParcel &to, const uint8_t *bytes, size_t size, std::vector<TableEntry> &entries)
{
    size_t needed = to.GetWritePosition() + size + ALIGNMENT;
    if (to.GetMaxCapacity() < needed) {
        to.SetMaxCapacity(needed);
    }
    size_t base = to.GetWritePosition();
    if (size != 0 && !AppendBytes(to, bytes, size)) {
        return false;
    }
    RecordEntries(to, base, entries);
    return true;
}

namespace {
// Storage of a parcel that reads a mapping it was given: it never grows, and letting go of it unmaps it.
class MappingAllocator : public Allocator {
public:
    explicit MappingAllocator(size_t size) : size_(size) {}
    void *Alloc(size_t) override
    {
        return nullptr;
    }
    void *Realloc(void *, size_t) override
    {
        return nullptr;
    }
    void Dealloc(void *data) override
    {
        munmap(data, size_);
    }

private:
    size_t size_;
};
} // namespace

bool ParcelCrossing::AdoptMapping(MessageParcel &to, void *mapping, size_t size, std::vector<TableEntry> &entries)
{
    if (to.GetDataSize() != 0 || size == 0 || !to.SetAllocator(new (std::nothrow) MappingAllocator(size)) ||
        !to.ParseFrom(reinterpret_cast<uintptr_t>(mapping), size)) {
        return false;
    }
    RecordEntries(to, 0, entries);
    return true;
}

void ParcelCrossing::RecordEntries(MessageParcel &to, size_t base, std::vector<TableEntry> &entries)
{
    for (TableEntry &entry : entries) {
        to.objects_[base + entry.offset] = MessageParcel::ObjectEntry{std::move(entry.object), entry.fd};
        entry.fd = -1;
    }
}

bool ParcelCrossing::Cross(const MessageParcel &from, MessageParcel &to, const ObjectFor &objectFor)
{
    if (from.GetMaxCapacity() > to.GetMaxCapacity()) {
        to.SetMaxCapacity(from.GetMaxCapacity());
    }
    size_t size = from.GetDataSize();
    if (size == 0) {
        return true;
    }
    const auto *data = reinterpret_cast<const uint8_t *>(from.GetData());
    std::vector<uint8_t> bytes(data, data + size);
    size_t base = to.GetWritePosition();
    Objects received;
    for (const auto &[offset, entry] : from.objects_) {
        if (!Translate(entry, offset, bytes, base, objectFor, received)) {
            CloseAll(received);
            return false;
        }
    }
    if (!AppendBytes(to, bytes.data(), bytes.size())) {
        CloseAll(received);
        return false;
    }
    for (auto &[offset, entry] : received) {
        to.objects_[offset] = std::move(entry);
    }
    return true;
}

bool ParcelCrossing::Translate(const MessageParcel::ObjectEntry &entry, size_t offset, std::vector<uint8_t> &bytes,
                               size_t base, const ObjectFor &objectFor, Objects &received)
{
    FlatObject flat = MakeFlat(TYPE_HANDLE, 0);
    if (offset + sizeof(flat) > bytes.size()) {
        return true; // the bytes under this entry were cut off by a rewind: nothing left to carry
    }
    MessageParcel::ObjectEntry arrived;
    if (entry.object != nullptr) {
        arrived.object = objectFor(entry.object);
        auto *proxy = static_cast<IPCObjectProxy *>(arrived.object.GetRefPtr());
        if (proxy == nullptr) {
            return false;
        }
        flat.handle = proxy->GetHandle();
    } else {
        arrived.fd = fcntl(entry.fd, F_DUPFD_CLOEXEC, 0);
        if (arrived.fd < 0) {
            HILOG_IPC_ERROR("descriptor %{public}d cannot cross: errno %{public}d", entry.fd, errno);
            return false;
        }
        flat = MakeFlat(TYPE_FD, static_cast<uint64_t>(arrived.fd), FD_OWNED_COOKIE);
    }
    std::memcpy(bytes.data() + offset, &flat, sizeof(flat));
    received[base + offset] = std::move(arrived);
    return true;
}

// Aligned words in one copy, then any unaligned tail byte by byte, so the receiver sees exactly the sent size.
bool ParcelCrossing::AppendBytes(MessageParcel &to, const uint8_t *bytes, size_t size)
{
    size_t needed = to.GetWritePosition() + size + ALIGNMENT;
    if (to.GetDataCapacity() < needed && !to.SetDataCapacity(needed)) {
        return false;
    }
    size_t aligned = size - size % ALIGNMENT;
    if (aligned != 0 && !to.WriteBuffer(bytes, aligned)) {
        return false;
    }
    for (size_t i = aligned; i < size; i++) {
        if (!to.WriteUint8Unaligned(bytes[i])) {
            return false;
        }
    }
    return true;
}

void ParcelCrossing::CloseAll(Objects &objects)
{
    for (auto &[offset, entry] : objects) {
        if (entry.fd >= 0) {
            close(entry.fd);
        }
    }
    objects.clear();
}

} // namespace OHOS::HostIpc
