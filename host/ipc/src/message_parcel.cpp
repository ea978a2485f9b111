// SPDX-License-Identifier: Apache-2.0
// MessageParcel: the object table, descriptors and raw blocks on top of the plain Parcel bytes.
#include "message_parcel.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

#include "flat_object.h"
#include "ipc_log.h"
#include "iremote_object.h"
#include "sealed_memfd.h"

namespace OHOS {
namespace {
constexpr int32_t STRICT_MODE_POLICY = 0x100;
constexpr int32_t WORK_SOURCE = 0;

int DuplicateFd(int fd)
{
    return fcntl(fd, F_DUPFD_CLOEXEC, 0);
}

// The block lives in a sealed anonymous shared memory file so that only a descriptor crosses and the receiver's
// read-only mapping can never change or shrink under it.
int CreateRawDataFile(const void *data, size_t size)
{
    return HostIpc::CreateSealedMemfd(data, size, "host-ipc-rawdata");
}
} // namespace

MessageParcel::MessageParcel() = default;

MessageParcel::~MessageParcel()
{
    ReleaseResources();
}

void MessageParcel::CloseDescriptors(std::map<size_t, ObjectEntry> &objects)
{
    for (auto &[offset, entry] : objects) {
        if (entry.fd >= 0) {
            close(entry.fd);
        }
    }
    objects.clear();
}

void MessageParcel::ReleaseResources()
{
    CloseDescriptors(objects_);
    for (auto &[address, length] : rawMappings_) {
        munmap(address, length);
    }
    rawMappings_.clear();
}

bool MessageParcel::WriteFlatObject(const parcel_flat_binder_object &flat, ObjectEntry entry)
{
    size_t offset = GetWritePosition();
    if (!WriteBuffer(&flat, sizeof(flat))) {
        return false;
    }
    auto [slot, inserted] = objects_.try_emplace(offset);
    if (!inserted && slot->second.fd >= 0) {
        close(slot->second.fd); // the bytes under an older entry were rewritten
    }
    slot->second = std::move(entry);
    return true;
}

const MessageParcel::ObjectEntry *MessageParcel::EntryAtReadPosition()
{
    auto found = objects_.find(GetReadPosition());
    if (found == objects_.end() || GetReadableBytes() < sizeof(parcel_flat_binder_object)) {
        return nullptr;
    }
    return &found->second;
}

bool MessageParcel::WriteRemoteObject(const sptr<IRemoteObject> &object)
{
    if (object == nullptr) {
        return false;
    }
    return WriteFlatObject(HostIpc::FlattenRemoteObject(*object), ObjectEntry{object, -1});
}

sptr<IRemoteObject> MessageParcel::ReadRemoteObject()
{
    const ObjectEntry *entry = EntryAtReadPosition();
    if (entry == nullptr || entry->object == nullptr) {
        return nullptr;
    }
    sptr<IRemoteObject> object = entry->object;
    SkipBytes(sizeof(parcel_flat_binder_object));
    return object;
}

bool MessageParcel::WriteFileDescriptor(int fd)
{
    if (fd < 0) {
        return false;
    }
    int held = DuplicateFd(fd);
    if (held < 0) {
        HILOG_IPC_ERROR("dup of fd %{public}d failed, errno %{public}d", fd, errno);
        return false;
    }
    HostIpc::FlatObject flat =
        HostIpc::MakeFlat(HostIpc::TYPE_FD, static_cast<uint64_t>(held), HostIpc::FD_OWNED_COOKIE);
    if (!WriteFlatObject(flat, ObjectEntry{nullptr, held})) {
        close(held);
        return false;
    }
    return true;
}

int MessageParcel::ReadFileDescriptor()
{
    const ObjectEntry *entry = EntryAtReadPosition();
    if (entry == nullptr || entry->fd < 0) {
        return -1;
    }
    int fd = DuplicateFd(entry->fd);
    SkipBytes(sizeof(parcel_flat_binder_object));
    return fd;
}

bool MessageParcel::ContainFileDescriptors() const
{
    for (const auto &[offset, entry] : objects_) {
        if (entry.fd >= 0) {
            return true;
        }
    }
    return false;
}

bool MessageParcel::WriteInterfaceToken(std::u16string name)
{
    size_t start = GetWritePosition();
    if (!WriteInt32(STRICT_MODE_POLICY)) {
        return false;
    }
    if (!WriteInt32(WORK_SOURCE)) {
        RewindWrite(start);
        return false;
    }
    interfaceToken_ = name;
    return WriteString16(name);
}

std::u16string MessageParcel::ReadInterfaceToken()
{
    ReadInt32(); // strict-mode policy
    ReadInt32(); // work source
    interfaceToken_ = ReadString16();
    return interfaceToken_;
}

std::u16string MessageParcel::GetInterfaceToken() const
{
    return interfaceToken_;
}

bool MessageParcel::WriteRawData(const void *data, size_t size)
{
    if (data == nullptr || size == 0 || size > MAX_RAWDATA_SIZE) {
        return false;
    }
    if (size <= MIN_RAWDATA_SIZE) {
        return WriteInt32(static_cast<int32_t>(size)) && WriteUnpadBuffer(data, size);
    }
    int fd = CreateRawDataFile(data, size);
    if (fd < 0) {
        HILOG_IPC_ERROR("shared memory for %{public}zu bytes failed, errno %{public}d", size, errno);
        return false;
    }
    bool written = WriteInt32(static_cast<int32_t>(size)) && WriteFileDescriptor(fd);
    close(fd);
    return written;
}

const void *MessageParcel::ReadRawData(size_t size)
{
    if (size == 0) {
        return nullptr;
    }
    uint32_t recorded = static_cast<uint32_t>(ReadInt32());
    if (recorded != size) {
        return nullptr;
    }
    if (size <= MIN_RAWDATA_SIZE) {
        return ReadUnpadBuffer(size);
    }
    return size > MAX_RAWDATA_SIZE ? nullptr : MapRawData(size);
}

// The mapping is read-only, filled at once (the reader takes the whole block) and lives as long as the parcel.
const void *MessageParcel::MapRawData(size_t size)
{
    int fd = ReadFileDescriptor();
    if (fd < 0) {
        return nullptr;
    }
    struct stat info {};
    void *area = MAP_FAILED;
    if (fstat(fd, &info) == 0 && static_cast<size_t>(info.st_size) >= size) {
        area = mmap(nullptr, size, PROT_READ, MAP_SHARED | MAP_POPULATE, fd, 0);
    }
    close(fd);
    if (area == MAP_FAILED) {
        HILOG_IPC_ERROR("raw data of %{public}zu bytes cannot be mapped", size);
        return nullptr;
    }
    rawMappings_.emplace_back(area, size);
    return area;
}

size_t MessageParcel::GetRawDataCapacity() const
{
    return MAX_RAWDATA_SIZE;
}

bool MessageParcel::Append(MessageParcel &data)
{
    size_t size = data.GetDataSize();
    if (size == 0) {
        return true;
    }
    // Appending a parcel to itself: the source bytes must survive the growth of the buffer they live in.
    const auto *bytes = reinterpret_cast<const uint8_t *>(data.GetData());
    std::vector<uint8_t> copy(bytes, bytes + size);
    size_t base = GetWritePosition();
    std::map<size_t, ObjectEntry> appended;
    for (const auto &[offset, entry] : data.objects_) {
        if (offset + sizeof(parcel_flat_binder_object) > size) {
            continue; // cut off by a rewind
        }
        ObjectEntry added{entry.object, -1};
        if (entry.fd >= 0) {
            // This parcel owns its own duplicate, and its flat object names that one.
            added.fd = DuplicateFd(entry.fd);
            uint64_t handle = static_cast<uint64_t>(added.fd);
            std::memcpy(copy.data() + offset + offsetof(parcel_flat_binder_object, binder), &handle, sizeof(handle));
        }
        appended[base + offset] = std::move(added);
        if (entry.fd >= 0 && appended[base + offset].fd < 0) {
            HILOG_IPC_ERROR("dup of fd %{public}d failed, errno %{public}d", entry.fd, errno);
            CloseDescriptors(appended);
            return false;
        }
    }
    if (!WriteBuffer(copy.data(), size)) {
        CloseDescriptors(appended);
        return false;
    }
    for (auto &[offset, entry] : appended) {
        objects_[offset] = std::move(entry);
    }
    return true;
}

void MessageParcel::PrintBuffer(const char *funcName, const size_t lineNum)
{
    static const char digits[] = "0123456789abcdef";
    const auto *bytes = reinterpret_cast<const uint8_t *>(GetData());
    std::string hex;
    hex.reserve(GetDataSize() * 2);
    for (size_t i = 0; i < GetDataSize(); i++) {
        hex += digits[bytes[i] >> 4];
        hex += digits[bytes[i] & 0xf];
    }
    HILOG_IPC_INFO("%{public}s:%{public}zu size %{public}zu data %{public}s", funcName == nullptr ? "" : funcName,
                   lineNum, GetDataSize(), hex.c_str());
}

void MessageParcel::WriteNoException()
{
    WriteInt32(0);
}

int32_t MessageParcel::ReadException()
{
    int32_t code = ReadInt32();
    if (code != 0) {
        ReadString16(); // the message that goes with the code
    }
    return code;
}
} // namespace OHOS
