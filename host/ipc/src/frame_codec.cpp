// SPDX-License-Identifier: Apache-2.0
#include "frame_codec.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <utility>

#include "sealed_memfd.h"

namespace OHOS::HostIpc {
namespace {
constexpr uint64_t ALIGNMENT = 4;

bool IsControl(uint16_t kind)
{
    return kind == static_cast<uint16_t>(FrameKind::RELEASE) || kind == static_cast<uint16_t>(FrameKind::OBJECT_DEAD);
}

bool IsKnownKind(uint16_t kind)
{
    return kind >= static_cast<uint16_t>(FrameKind::REQUEST) && kind <= static_cast<uint16_t>(FrameKind::OBJECT_DEAD);
}

// Every width below is 64 bits, and every count is bounded before it takes part in a sum, so nothing wraps.
FrameFault CheckHeader(const uint8_t *message, size_t length, size_t fdsReceived, FrameHeader &header)
{
    if (length < sizeof(FrameHeader)) {
        return FrameFault::SHORT_HEADER;
    }
    std::memcpy(&header, message, sizeof(FrameHeader));
    if (header.magic != FRAME_MAGIC) {
        return FrameFault::BAD_MAGIC;
    }
    if (!IsKnownKind(header.kind)) {
        return FrameFault::UNKNOWN_KIND;
    }
    if (header.dataInMemfd > 1) {
        return FrameFault::BAD_MEMFD_FLAG;
    }
    if (header.dataSize > MAX_FRAME_DATA) {
        return FrameFault::DATA_TOO_LARGE;
    }
    if (header.objectCount > MAX_FRAME_OBJECTS) {
        return FrameFault::TOO_MANY_OBJECTS;
    }
    if (header.fdCount > MAX_FRAME_FDS) {
        return FrameFault::TOO_MANY_FDS;
    }
    if (IsControl(header.kind) &&
        (header.dataSize != 0 || header.objectCount != 0 || header.fdCount != 0 || header.dataInMemfd != 0)) {
        return FrameFault::CONTROL_WITH_BODY;
    }
    uint64_t tableSize = uint64_t{header.objectCount} * sizeof(TableOffset);
    uint64_t inlineSize = header.dataInMemfd != 0 ? 0 : header.dataSize;
    if (uint64_t{sizeof(FrameHeader)} + tableSize + inlineSize != uint64_t{length}) {
        return FrameFault::LENGTH_MISMATCH;
    }
    if (uint64_t{header.fdCount} + header.dataInMemfd != uint64_t{fdsReceived}) {
        return FrameFault::FD_COUNT_MISMATCH;
    }
    return FrameFault::NONE;
}

FrameFault LocateData(uint8_t *message, ReceivedFds &fds, DecodedFrame &frame)
{
    const FrameHeader &header = frame.header;
    if (header.dataInMemfd == 0) {
        frame.data = message + sizeof(FrameHeader) + uint64_t{header.objectCount} * sizeof(TableOffset);
        return FrameFault::NONE;
    }
    if (!IsSealedOfSize(fds.fds[0], header.dataSize)) {
        return FrameFault::MEMFD_NOT_SEALED;
    }
    if (header.dataSize != 0 && !frame.mapping.Map(fds.fds[0], header.dataSize)) {
        return FrameFault::MEMFD_NOT_MAPPED;
    }
    frame.data = frame.mapping.Address();
    return FrameFault::NONE;
}

FrameFault ReadObject(const FlatObject &flat, size_t &fdIndex, ReceivedFds &fds, FrameObject &object)
{
    switch (flat.hdr.type) {
        case TYPE_FD:
            if (flat.binder != fdIndex || fdIndex >= fds.fds.size()) {
                return FrameFault::FD_OBJECT_MISMATCH;
            }
            object.kind = FrameObject::Kind::DESCRIPTOR;
            object.fd = fds.Take(fdIndex++);
            return FrameFault::NONE;
        case TYPE_HANDLE:
            object.kind = FrameObject::Kind::OWN;
            object.handle = flat.binder;
            return FrameFault::NONE;
        case TYPE_BINDER:
            object.kind = flat.cookie == DEAD_AT_BIRTH ? FrameObject::Kind::DEAD : FrameObject::Kind::PEER;
            object.handle = flat.binder;
            return FrameFault::NONE;
        default:
            return FrameFault::UNKNOWN_OBJECT;
    }
}

// Offsets come in increasing order, aligned, each flat object wholly inside the data and clear of the previous one.
FrameFault ReadObjects(const uint8_t *table, ReceivedFds &fds, DecodedFrame &frame)
{
    const FrameHeader &header = frame.header;
    size_t fdIndex = header.dataInMemfd;
    uint64_t previousEnd = 0;
    frame.objects.resize(header.objectCount);
    for (uint32_t i = 0; i < header.objectCount; i++) {
        uint64_t offset;
        std::memcpy(&offset, table + uint64_t{i} * sizeof(TableOffset), sizeof(offset));
        if (offset % ALIGNMENT != 0 || offset < previousEnd || offset > header.dataSize ||
            header.dataSize - offset < sizeof(FlatObject)) {
            return FrameFault::BAD_OFFSET;
        }
        previousEnd = offset + sizeof(FlatObject);
        FlatObject flat;
        std::memcpy(&flat, frame.data + offset, sizeof(flat));
        frame.objects[i].offset = offset;
        FrameFault fault = ReadObject(flat, fdIndex, fds, frame.objects[i]);
        if (fault != FrameFault::NONE) {
            return fault;
        }
    }
    return fdIndex == fds.fds.size() ? FrameFault::NONE : FrameFault::FDS_LEFT_OVER;
}

void CloseFd(int &fd)
{
    if (fd >= 0) {
        close(fd);
        fd = -1;
    }
}
} // namespace

const char *FaultText(FrameFault fault)
{
    static const char *const texts[] = {
        "none",
        "a message or its descriptors were cut off",
        "shorter than a header",
        "bad magic",
        "unknown frame kind",
        "bad memfd flag",
        "more data than a frame may carry",
        "more objects than a frame may list",
        "more descriptors than a frame may carry",
        "a control frame with a body",
        "lengths disagree with the message size",
        "descriptor count differs from the header",
        "data memfd not sealed or of another size",
        "data memfd cannot be mapped",
        "object offset unaligned, out of order or outside the data",
        "unknown flat object type",
        "fd object without its descriptor",
        "more descriptors than fd objects",
    };
    static_assert(sizeof(texts) / sizeof(texts[0]) == static_cast<size_t>(FrameFault::FDS_LEFT_OVER) + 1,
                  "one text per fault");
    return texts[static_cast<size_t>(fault)];
}

MappedData::~MappedData()
{
    if (address_ != MAP_FAILED) {
        munmap(address_, size_);
    }
}

bool MappedData::Map(int fd, size_t size)
{
    address_ = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE, fd, 0);
    size_ = address_ == MAP_FAILED ? 0 : size;
    return address_ != MAP_FAILED;
}

void *MappedData::Release()
{
    void *address = address_;
    address_ = MAP_FAILED;
    size_ = 0;
    return address;
}

DecodedFrame::~DecodedFrame()
{
    for (FrameObject &object : objects) {
        CloseFd(object.fd);
    }
}

FrameFault DecodeFrame(uint8_t *message, size_t length, ReceivedFds &fds, DecodedFrame &frame)
{
    FrameFault fault = CheckHeader(message, length, fds.fds.size(), frame.header);
    if (fault == FrameFault::NONE) {
        fault = LocateData(message, fds, frame);
    }
    if (fault == FrameFault::NONE) {
        fault = ReadObjects(message + sizeof(FrameHeader), fds, frame);
    }
    return fault;
}

EncodedFrame::EncodedFrame(EncodedFrame &&other) noexcept :
    message(std::move(other.message)), fds(std::move(other.fds)), memfd(std::exchange(other.memfd, -1)),
    owned(std::move(other.owned)), dataBytes(other.dataBytes)
{
    other.owned.clear();
}

EncodedFrame &EncodedFrame::operator=(EncodedFrame &&other) noexcept
{
    // What this frame held goes with `other`, which closes it.
    std::swap(message, other.message);
    std::swap(fds, other.fds);
    std::swap(memfd, other.memfd);
    std::swap(owned, other.owned);
    dataBytes = other.dataBytes;
    return *this;
}

EncodedFrame::~EncodedFrame()
{
    CloseFd(memfd);
    for (int &fd : owned) {
        CloseFd(fd);
    }
}

bool EncodedFrame::OwnDescriptors()
{
    for (int &fd : fds) {
        if (fd == memfd) {
            continue;
        }
        int copy = fcntl(fd, F_DUPFD_CLOEXEC, 0);
        if (copy < 0) {
            return false;
        }
        owned.push_back(copy);
        fd = copy;
    }
    return true;
}

namespace {
// The flat objects as the receiver reads them: descriptors numbered in the order they travel.
std::vector<std::pair<uint64_t, FlatObject>> NumberDescriptors(const std::vector<OutgoingObject> &objects,
                                                               uint16_t dataInMemfd, std::vector<int> &fds)
{
    std::vector<std::pair<uint64_t, FlatObject>> flats;
    flats.reserve(objects.size());
    for (const OutgoingObject &object : objects) {
        FlatObject flat = object.flat;
        if (object.fd >= 0) {
            flat = MakeFlat(TYPE_FD, fds.size() + dataInMemfd);
            fds.push_back(object.fd);
        }
        flats.emplace_back(object.offset, flat);
    }
    return flats;
}

bool PutData(const uint8_t *data, size_t size, const std::vector<std::pair<uint64_t, FlatObject>> &flats,
             EncodedFrame &frame, uint8_t *inlineData)
{
    if (inlineData != nullptr) {
        if (size != 0) {
            std::memcpy(inlineData, data, size); // copied once, straight from the parcel, and patched there
        }
        for (const auto &[offset, flat] : flats) {
            std::memcpy(inlineData + offset, &flat, sizeof(flat));
        }
        return true;
    }
    frame.memfd = CreateSealedMemfd(data, size, "host-ipc-frame", [&flats](int fd) {
        for (const auto &[offset, flat] : flats) {
            if (pwrite(fd, &flat, sizeof(flat), static_cast<off_t>(offset)) != static_cast<ssize_t>(sizeof(flat))) {
                return false;
            }
        }
        return true;
    });
    if (frame.memfd < 0) {
        return false;
    }
    frame.fds.insert(frame.fds.begin(), frame.memfd);
    return true;
}
} // namespace

bool EncodeFrame(FrameHeader header, const uint8_t *data, size_t size, const std::vector<OutgoingObject> &objects,
                 EncodedFrame &frame)
{
    if (size > MAX_FRAME_DATA || objects.size() > MAX_FRAME_OBJECTS) {
        return false;
    }
    uint64_t tableSize = objects.size() * sizeof(TableOffset);
    header.dataSize = size;
    frame.dataBytes = size;
    header.objectCount = static_cast<uint32_t>(objects.size());
    header.dataInMemfd = sizeof(FrameHeader) + tableSize + size > MAX_MESSAGE ? 1 : 0;
    frame.fds.clear();
    auto flats = NumberDescriptors(objects, header.dataInMemfd, frame.fds);
    header.fdCount = static_cast<uint32_t>(frame.fds.size());
    if (frame.fds.size() + header.dataInMemfd > MAX_FRAME_FDS) {
        return false;
    }
    size_t inlineSize = header.dataInMemfd != 0 ? 0 : size;
    frame.message.resize(sizeof(FrameHeader) + tableSize + inlineSize);
    std::memcpy(frame.message.data(), &header, sizeof(header));
    for (size_t i = 0; i < flats.size(); i++) {
        std::memcpy(frame.message.data() + sizeof(FrameHeader) + i * sizeof(TableOffset), &flats[i].first,
                    sizeof(TableOffset));
    }
    uint8_t *inlineData = header.dataInMemfd != 0 ? nullptr : frame.message.data() + sizeof(FrameHeader) + tableSize;
    return PutData(data, size, flats, frame, inlineData);
}
} // namespace OHOS::HostIpc
