// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_IPC_MESSAGE_PARCEL_H
#define OHOS_IPC_MESSAGE_PARCEL_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

// Standard headers the platform's own header brings in: device code uses what they declare after including
// only this one, so the host header brings at least the same.
#include <list>
#include <memory>

#include "parcel.h"
#include "refbase.h"

namespace OHOS {
class IRemoteObject;
namespace HostIpc {
class ParcelCrossing;
}

// A Parcel that can also carry remote objects, file descriptors and large raw blocks across processes.
// Objects and descriptors are written as 24-byte flat objects whose offsets are kept in the parcel's object table.
class MessageParcel : public Parcel {
public:
    MessageParcel();
    ~MessageParcel() override;
    MessageParcel(const MessageParcel &) = delete;
    MessageParcel &operator=(const MessageParcel &) = delete;

    // The parcel keeps a strong reference to the object until it dies. Null gives false.
    bool WriteRemoteObject(const sptr<IRemoteObject> &object);
    // The object recorded at the read position, or nullptr (nothing consumed then).
    sptr<IRemoteObject> ReadRemoteObject();
    // The parcel keeps its own duplicate of `fd`; the caller keeps `fd`. A negative fd gives false.
    bool WriteFileDescriptor(int fd);
    // A new duplicate that the caller closes, or -1 when no descriptor is recorded at the read position.
    int ReadFileDescriptor();
    bool ContainFileDescriptors() const;

    // Strict-mode policy 0x100, work source 0, then the name as String16.
    bool WriteInterfaceToken(std::u16string name);
    // Skips the two header words and returns the name, u"" when there is none.
    std::u16string ReadInterfaceToken();
    std::u16string GetInterfaceToken() const;

    // Up to MIN_RAWDATA_SIZE bytes go inline (int32 size + padded bytes); larger blocks, up to MAX_RAWDATA_SIZE,
    // go to a shared memory region passed as a descriptor. Null data, size 0 and oversize blocks give false.
    bool WriteRawData(const void *data, size_t size);
    // A pointer to `size` bytes owned by the parcel (valid while it lives), or nullptr when the block is missing
    // or its recorded size differs.
    const void *ReadRawData(size_t size);
    size_t GetRawDataCapacity() const;

    // Appends the bytes of `data` (zero-padded to 4) and its objects: remote objects are shared, descriptors
    // duplicated. An empty `data` gives true and adds nothing; when the bytes do not fit, nothing is added.
    bool Append(MessageParcel &data);
    // Logs the parcel's size and bytes in hex, tagged with the caller's function and line.
    void PrintBuffer(const char *funcName, const size_t lineNum);

    void WriteNoException();
    // 0, or the non-zero code (its message String16 is consumed).
    int32_t ReadException();

    static constexpr size_t MIN_RAWDATA_SIZE = 32 * 1024;
    static constexpr size_t MAX_RAWDATA_SIZE = 128 * 1024 * 1024;

private:
    friend class HostIpc::ParcelCrossing;

    // What the object table holds at one offset: a remote object or a descriptor the parcel owns.
    struct ObjectEntry {
        sptr<IRemoteObject> object;
        int fd = -1;
    };

    bool WriteFlatObject(const parcel_flat_binder_object &flat, ObjectEntry entry);
    const ObjectEntry *EntryAtReadPosition();
    const void *MapRawData(size_t size);
    static void CloseDescriptors(std::map<size_t, ObjectEntry> &objects);
    void ReleaseResources();

    std::map<size_t, ObjectEntry> objects_;
    std::vector<std::pair<void *, size_t>> rawMappings_;
    std::u16string interfaceToken_;
};
} // namespace OHOS

#endif // OHOS_IPC_MESSAGE_PARCEL_H
