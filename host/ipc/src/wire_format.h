// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_WIRE_FORMAT_H
#define OHOS_HOST_IPC_WIRE_FORMAT_H

// What crosses a Unix-domain SOCK_SEQPACKET socket between two processes: one parcel (or a control message) per
// socket message, holding the frame header, the object table (the data offsets of the flat objects) and the data
// itself, with the descriptors attached as SCM_RIGHTS. Data that does not fit into one message travels in a sealed
// memfd, the first descriptor. Every number in a header comes from another process: the frame codec checks each
// against the limits below before anything is sized or indexed by it.
#include <cstddef>
#include <cstdint>

#include "flat_object.h"

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
static_assert(sizeof(FrameHeader) == 72, "the frame header is 72 bytes on the wire");
static_assert(offsetof(FrameHeader, kind) == 4 && offsetof(FrameHeader, code) == 8, "header words moved");
static_assert(offsetof(FrameHeader, callId) == 16 && offsetof(FrameHeader, handle) == 24, "header words moved");
static_assert(offsetof(FrameHeader, senderThread) == 32 && offsetof(FrameHeader, targetThread) == 40,
              "header words moved");
static_assert(offsetof(FrameHeader, dataSize) == 48 && offsetof(FrameHeader, objectCount) == 56, "header moved");
static_assert(offsetof(FrameHeader, fdCount) == 60 && offsetof(FrameHeader, maxCapacity) == 68, "header moved");

// One entry of the object table: the data offset of a flat object.
using TableOffset = uint64_t;
static_assert(sizeof(TableOffset) == 8, "an object table entry is 8 bytes on the wire");

constexpr uint32_t FRAME_MAGIC = 0x43504948; // "HIPC"
constexpr size_t MAX_MESSAGE = 64 * 1024;
constexpr size_t MAX_FRAME_FDS = 250; // below the kernel's SCM_MAX_FD
// As many offsets as fit into one message beside the header.
constexpr size_t MAX_FRAME_OBJECTS = (MAX_MESSAGE - sizeof(FrameHeader)) / sizeof(TableOffset);
constexpr uint64_t MAX_FRAME_DATA = 256ULL * 1024 * 1024; // a parcel's data, inline or in a memfd
// Cookie of an object that died before it was sent: it arrives as a dead proxy.
constexpr uint64_t DEAD_AT_BIRTH = 2;

inline FrameHeader NewHeader(FrameKind kind)
{
    FrameHeader header{};
    header.magic = FRAME_MAGIC;
    header.kind = static_cast<uint16_t>(kind);
    return header;
}
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_WIRE_FORMAT_H
