#ifndef OHOS_HOST_IPC_SOCKET_FRAME_H
#define OHOS_HOST_IPC_SOCKET_FRAME_H

// One parcel (or a control message) as it crosses a Unix-domain SOCK_SEQPACKET socket: one socket message holding
// the header, the object table (the data offsets of the flat objects) and the data itself, with the descriptors
// attached as SCM_RIGHTS. Data that does not fit into one message travels in a sealed memfd, the first descriptor.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace OHOS::HostIpc {
enum class FrameKind : uint16_t {
    REQUEST = 1,     // `handle` names an object of the receiver; `code`, `flags`, `waitTime` as sent
    REPLY = 2,       // answers `callId`; `code` is the result
    RELEASE = 3,     // the sender dropped `code` references to the receiver's object `handle`
    OBJECT_DEAD = 4, // the receiver's proxy `handle` stands for an object that died
};

struct FrameHeader {
    uint32_t magic;
    uint16_t kind;
    uint16_t dataInMemfd; // 1: the data is in the first descriptor, not in the message
    uint32_t code;
    uint32_t flags;
    uint64_t callId;
    uint64_t handle;
    uint64_t senderThread; // the waiting thread of a synchronous request
    uint64_t targetThread; // non-zero: the receiver's waiting thread that should serve this nested request
    uint64_t dataSize;
    uint32_t objectCount;
    uint32_t fdCount; // descriptors the object table carries (the data memfd not counted)
    uint32_t waitTime;
    uint32_t maxCapacity; // the sender's parcel limit, so a raised one travels
};

inline FrameHeader NewHeader(FrameKind kind)
{
    FrameHeader header{};
    header.magic = 0x43504948; // "HIPC"
    header.kind = static_cast<uint16_t>(kind);
    return header;
}

constexpr uint32_t FRAME_MAGIC = 0x43504948; // "HIPC"
constexpr size_t MAX_MESSAGE = 64 * 1024;
constexpr size_t MAX_FRAME_FDS = 250;                     // below the kernel's SCM_MAX_FD
constexpr uint64_t MAX_FRAME_DATA = 256ULL * 1024 * 1024; // a parcel's data, inline or in a memfd

// Owns descriptors received with a message until someone takes them.
struct ReceivedFds {
    std::vector<int> fds;
    ~ReceivedFds();
    int Take(size_t index);
};

// Sends `message` (header, table and inline data) with `fds`. False with errno set when the socket refuses.
bool SendMessage(int socket, const std::vector<uint8_t> &message, const std::vector<int> &fds);
// Receives one message into `buffer` (kept at MAX_MESSAGE bytes, so that it is not cleared again for every
// message) and its length into `length`. 1 for a message, 0 at the end of the stream, -1 on a socket error, -2 when
// the message or its descriptors were cut off (a peer sending more than a frame may hold).
int ReceiveMessage(int socket, std::vector<uint8_t> &buffer, size_t &length, ReceivedFds &fds);
// A sealed memfd holding `size` bytes from `data`, after `beforeSeal` (if any) had its say; -1 on failure.
int CreateSealedMemfd(const void *data, size_t size, const char *name,
                      const std::function<bool(int fd)> &beforeSeal = nullptr);
// Whether `fd` is a memfd of exactly `size` bytes that nobody can change any more.
bool IsSealedOfSize(int fd, uint64_t size);
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_SOCKET_FRAME_H
