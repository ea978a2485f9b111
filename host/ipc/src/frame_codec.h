// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_FRAME_CODEC_H
#define OHOS_HOST_IPC_FRAME_CODEC_H

// Frames to bytes and back, with no socket and no thread: a received message and its descriptors become a decoded
// frame or the reason it was refused; a frame to send becomes one message and the descriptors that go with it.
#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "socket_io.h"
#include "wire_format.h"

namespace OHOS::HostIpc {
// Why a received message is not a frame. Each one closes the connection it came on.
enum class FrameFault {
    NONE,
    TRUNCATED,          // the message or its descriptors were cut off by the socket
    SHORT_HEADER,       // shorter than a header
    BAD_MAGIC,          // not a frame of this runtime
    UNKNOWN_KIND,       // a kind nobody sends
    BAD_MEMFD_FLAG,     // the memfd flag is neither 0 nor 1
    DATA_TOO_LARGE,     // more data than a frame may carry
    TOO_MANY_OBJECTS,   // more objects than a message can list
    TOO_MANY_FDS,       // more descriptors than a message can carry
    CONTROL_WITH_BODY,  // a release or death notice with data, objects or descriptors
    LENGTH_MISMATCH,    // header, table and inline data do not add up to the message
    FD_COUNT_MISMATCH,  // the received descriptors are not the header's count (+1 with the memfd flag)
    MEMFD_NOT_SEALED,   // the data memfd can still change, or is not of the declared size
    MEMFD_NOT_MAPPED,   // the data memfd cannot be mapped
    BAD_OFFSET,         // an object offset unaligned, out of order, overlapping or outside the data
    UNKNOWN_OBJECT,     // a flat object of no known type
    FD_OBJECT_MISMATCH, // an fd object that does not name the next descriptor
    FDS_LEFT_OVER,      // descriptors that no fd object took
};
const char *FaultText(FrameFault fault);

// A private, writable view of a memfd's data: flat objects are rewritten in place without touching the sender's.
class MappedData {
public:
    MappedData() = default;
    MappedData(const MappedData &) = delete;
    MappedData &operator=(const MappedData &) = delete;
    ~MappedData();
    [[nodiscard]] bool Map(int fd, size_t size);
    uint8_t *Address() const
    {
        return static_cast<uint8_t *>(address_);
    }
    size_t Size() const
    {
        return size_;
    }
    // Hands the mapping over: the caller unmaps it.
    void *Release();

private:
    void *address_ = MAP_FAILED;
    size_t size_ = 0;
};

// One flat object of a received frame, checked against the frame but not yet against any handle table.
struct FrameObject {
    enum class Kind {
        DESCRIPTOR, // `fd` is the received descriptor, owned here until taken
        PEER,       // an object of the sender, named by the sender's `handle`
        OWN,        // one of the receiver's objects coming home, named by the receiver's `handle`
        DEAD,       // an object that died before it was sent
    };
    Kind kind = Kind::DEAD;
    uint64_t offset = 0;
    uint64_t handle = 0;
    int fd = -1;
};

struct DecodedFrame {
    DecodedFrame() = default;
    DecodedFrame(const DecodedFrame &) = delete;
    DecodedFrame &operator=(const DecodedFrame &) = delete;
    ~DecodedFrame(); // closes the descriptors nobody took

    FrameKind Kind() const
    {
        return static_cast<FrameKind>(header.kind);
    }

    FrameHeader header{};
    uint8_t *data = nullptr; // header.dataSize bytes: in the message, or in `mapping`
    MappedData mapping;
    std::vector<FrameObject> objects;
};

// Checks every count, size and offset of one received message against the header, the message, the received
// descriptors and the limits of the wire format, each in a width that cannot wrap, before anything is indexed by
// it. The descriptors move into the frame. `message` must stay as it is while the frame is read.
[[nodiscard]] FrameFault DecodeFrame(uint8_t *message, size_t length, ReceivedFds &fds, DecodedFrame &frame);

// One object to send: its offset in the data and the flat object the receiver reads there. A descriptor object
// names `fd` (borrowed), which travels as the next descriptor.
struct OutgoingObject {
    uint64_t offset = 0;
    FlatObject flat{};
    int fd = -1;
};

// One message ready for the socket; the descriptors are borrowed from the parcel, except the data memfd.
struct EncodedFrame {
    EncodedFrame() = default;
    EncodedFrame(EncodedFrame &&other) noexcept;
    EncodedFrame &operator=(EncodedFrame &&other) noexcept;
    ~EncodedFrame();

    // Duplicates the borrowed descriptors, so the frame can wait in a queue after the parcel is gone.
    [[nodiscard]] bool OwnDescriptors();

    std::vector<uint8_t> message;
    std::vector<int> fds;
    int memfd = -1;         // owned; also the first of `fds`
    std::vector<int> owned; // duplicates made by OwnDescriptors, also in `fds`
    uint64_t dataBytes = 0; // the data, inline or in the memfd
};

// Builds the message of a frame: header, object table and the data, inline when it fits into one message,
// otherwise in a sealed memfd. False when the frame would break a limit of the wire format, or no memfd could be
// made.
[[nodiscard]] bool EncodeFrame(FrameHeader header, const uint8_t *data, size_t size,
                               const std::vector<OutgoingObject> &objects, EncodedFrame &frame);
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_FRAME_CODEC_H
