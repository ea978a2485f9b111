// SPDX-License-Identifier: Apache-2.0
// The frame codec of the cross-process runtime, driven as a hostile peer drives it: messages written word by word
// (never by the encoder), each refusal fed exactly the frame it exists for.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "frame_codec.h"
#include "sealed_memfd.h"
#include "socket_io.h"

namespace OHOS::HostIpc {
namespace {
constexpr uint32_t MAGIC = 0x43504948;
constexpr uint32_t BINDER = 0x73622a85;
constexpr uint32_t HANDLE = 0x73682a85;
constexpr uint32_t FD = 0x66642a85;
constexpr uint16_t REQUEST = 1;
constexpr uint16_t RELEASE = 3;

// Little-endian words appended one by one, as a peer in another language would write them.
struct Bytes {
    std::vector<uint8_t> data;
    Bytes &U16(uint16_t value)
    {
        return Put(&value, sizeof(value));
    }
    Bytes &U32(uint32_t value)
    {
        return Put(&value, sizeof(value));
    }
    Bytes &U64(uint64_t value)
    {
        return Put(&value, sizeof(value));
    }
    Bytes &Flat(uint32_t type, uint64_t handle, uint64_t cookie = 0)
    {
        return U32(type).U32(0x17f).U64(handle).U64(cookie);
    }
    Bytes &Zeros(size_t count)
    {
        data.insert(data.end(), count, 0);
        return *this;
    }
    Bytes &Put(const void *value, size_t size)
    {
        const auto *bytes = static_cast<const uint8_t *>(value);
        data.insert(data.end(), bytes, bytes + size);
        return *this;
    }
};

// The 72-byte header, every field named where it is written.
struct Header {
    uint32_t magic = MAGIC;
    uint16_t kind = REQUEST;
    uint16_t inMemfd = 0;
    uint64_t dataSize = 0;
    uint32_t objects = 0;
    uint32_t fds = 0;

    Bytes Write() const
    {
        Bytes bytes;
        bytes.U32(magic).U16(kind).U16(inMemfd).U32(7).U32(0);        // magic, kind, flag, code, flags
        bytes.U64(9).U64(1).U64(3).U64(0);                            // call id, handle, threads
        bytes.U64(dataSize).U32(objects).U32(fds).U32(8).U32(204800); // sizes, wait time, max capacity
        return bytes;
    }
};

int Memfd(size_t size, bool sealed)
{
    std::vector<uint8_t> zeros(size);
    if (sealed) {
        return CreateSealedMemfd(zeros.data(), size, "frame-test");
    }
    int fd = memfd_create("frame-test", MFD_CLOEXEC);
    EXPECT_EQ(ftruncate(fd, static_cast<off_t>(size)), 0);
    return fd;
}

int Pipe()
{
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[1]);
    return ends[0];
}

struct Row {
    const char *name;
    std::function<Bytes()> message;
    std::function<std::vector<int>()> descriptors;
    FrameFault expected;
};

std::vector<int> None()
{
    return {};
}

// A request whose inline data is `data` with objects at `offsets`.
Bytes Request(const std::vector<uint64_t> &offsets, const Bytes &data, uint32_t fds = 0)
{
    Header header;
    header.dataSize = data.data.size();
    header.objects = static_cast<uint32_t>(offsets.size());
    header.fds = fds;
    Bytes message = header.Write();
    for (uint64_t offset : offsets) {
        message.U64(offset);
    }
    return message.Put(data.data.data(), data.data.size());
}

Bytes WithHeader(const std::function<void(Header &)> &change, size_t extra = 0)
{
    Header header;
    change(header);
    return header.Write().Zeros(extra);
}

const std::vector<Row> &Refusals()
{
    static const std::vector<Row> rows = {
        {"ShortHeader", [] { return Bytes().U32(MAGIC).U16(REQUEST).Zeros(65); }, None, FrameFault::SHORT_HEADER},
        {"BadMagic", [] { return WithHeader([](Header &h) { h.magic = 0x43504949; }); }, None, FrameFault::BAD_MAGIC},
        {"KindZero", [] { return WithHeader([](Header &h) { h.kind = 0; }); }, None, FrameFault::UNKNOWN_KIND},
        {"KindAfterTheLast", [] { return WithHeader([](Header &h) { h.kind = 5; }); }, None, FrameFault::UNKNOWN_KIND},
        {"MemfdFlagTwo", [] { return WithHeader([](Header &h) { h.inMemfd = 2; }); }, None, FrameFault::BAD_MEMFD_FLAG},
        {"DataOneByteAboveTheLimit",
         [] { return WithHeader([](Header &h) { h.inMemfd = 1, h.dataSize = MAX_FRAME_DATA + 1; }); },
         [] { return std::vector<int>{Pipe()}; }, FrameFault::DATA_TOO_LARGE},
        {"OneObjectAboveTheLimit", [] { return WithHeader([](Header &h) { h.objects = MAX_FRAME_OBJECTS + 1; }); },
         None, FrameFault::TOO_MANY_OBJECTS},
        {"OneDescriptorAboveTheLimit", [] { return WithHeader([](Header &h) { h.fds = MAX_FRAME_FDS + 1; }); }, None,
         FrameFault::TOO_MANY_FDS},
        // The count plus the memfd flag wraps to 0 in 32 bits: a frame with no descriptor would index an empty list.
        {"DescriptorCountThatWrapsWithTheMemfd",
         [] { return WithHeader([](Header &h) { h.inMemfd = 1, h.fds = 0xFFFFFFFF; }); }, None,
         FrameFault::TOO_MANY_FDS},
        {"ReleaseWithData", [] { return WithHeader([](Header &h) { h.kind = RELEASE, h.dataSize = 4; }, 4); }, None,
         FrameFault::CONTROL_WITH_BODY},
        {"ReleaseWithADescriptor", [] { return WithHeader([](Header &h) { h.kind = RELEASE, h.fds = 1; }); },
         [] { return std::vector<int>{Pipe()}; }, FrameFault::CONTROL_WITH_BODY},
        {"DataLongerThanTheMessage", [] { return WithHeader([](Header &h) { h.dataSize = 8; }, 4); }, None,
         FrameFault::LENGTH_MISMATCH},
        {"BytesAfterTheData", [] { return WithHeader([](Header &h) { h.dataSize = 4; }, 8); }, None,
         FrameFault::LENGTH_MISMATCH},
        {"TableLongerThanTheMessage", [] { return WithHeader([](Header &h) { h.objects = 2; }, 8); }, None,
         FrameFault::LENGTH_MISMATCH},
        {"DescriptorNotAnnounced", [] { return WithHeader([](Header &) {}); }, [] { return std::vector<int>{Pipe()}; },
         FrameFault::FD_COUNT_MISMATCH},
        {"AnnouncedDescriptorMissing", [] { return WithHeader([](Header &h) { h.fds = 1; }); }, None,
         FrameFault::FD_COUNT_MISMATCH},
        {"MemfdMissing", [] { return WithHeader([](Header &h) { h.inMemfd = 1, h.dataSize = 64; }); }, None,
         FrameFault::FD_COUNT_MISMATCH},
        {"MemfdNotSealed", [] { return WithHeader([](Header &h) { h.inMemfd = 1, h.dataSize = 64; }); },
         [] { return std::vector<int>{Memfd(64, false)}; }, FrameFault::MEMFD_NOT_SEALED},
        {"MemfdSmallerThanDeclared", [] { return WithHeader([](Header &h) { h.inMemfd = 1, h.dataSize = 65; }); },
         [] { return std::vector<int>{Memfd(64, true)}; }, FrameFault::MEMFD_NOT_SEALED},
        {"PipeInsteadOfAMemfd", [] { return WithHeader([](Header &h) { h.inMemfd = 1, h.dataSize = 0; }); },
         [] { return std::vector<int>{Pipe()}; }, FrameFault::MEMFD_NOT_SEALED},
        {"OffsetUnaligned", [] { return Request({2}, Bytes().Zeros(28)); }, None, FrameFault::BAD_OFFSET},
        {"OffsetsOutOfOrder",
         [] {
             return Request({24, 0}, Bytes().Flat(BINDER, 1).Flat(BINDER, 2));
         },
         None, FrameFault::BAD_OFFSET},
        {"ObjectsOverlapping",
         [] {
             return Request({0, 20}, Bytes().Flat(BINDER, 1).Flat(BINDER, 2));
         },
         None, FrameFault::BAD_OFFSET},
        {"ObjectCrossingTheEnd", [] { return Request({4}, Bytes().Flat(BINDER, 1)); }, None, FrameFault::BAD_OFFSET},
        {"OffsetBeyondTheData", [] { return Request({1ULL << 40}, Bytes().Flat(BINDER, 1)); }, None,
         FrameFault::BAD_OFFSET},
        {"ObjectOfNoKnownType", [] { return Request({0}, Bytes().Flat(0x12345678, 1)); }, None,
         FrameFault::UNKNOWN_OBJECT},
        {"FdObjectNamingAnotherDescriptor", [] { return Request({0}, Bytes().Flat(FD, 1), 1); },
         [] { return std::vector<int>{Pipe()}; }, FrameFault::FD_OBJECT_MISMATCH},
        {"FdObjectWithoutADescriptor", [] { return Request({0}, Bytes().Flat(FD, 0)); }, None,
         FrameFault::FD_OBJECT_MISMATCH},
        {"DescriptorNoObjectTakes", [] { return Request({0}, Bytes().Flat(BINDER, 1), 1); },
         [] { return std::vector<int>{Pipe()}; }, FrameFault::FDS_LEFT_OVER},
    };
    return rows;
}

class FrameRefusalTest : public testing::TestWithParam<Row> {};

size_t OpenDescriptors()
{
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

TEST_P(FrameRefusalTest, RefusedWithItsReasonAndEveryDescriptorClosed)
{
    const Row &row = GetParam();
    size_t before = OpenDescriptors();
    {
        Bytes message = row.message();
        ReceivedFds fds;
        fds.fds = row.descriptors();
        DecodedFrame frame;
        FrameFault fault = DecodeFrame(message.data.data(), message.data.size(), fds, frame);
        EXPECT_EQ(fault, row.expected) << FaultText(fault);
    }
    EXPECT_EQ(OpenDescriptors(), before) << "a received descriptor outlived the refused frame";
}

INSTANTIATE_TEST_SUITE_P(Frames, FrameRefusalTest, testing::ValuesIn(Refusals()),
                         [](const testing::TestParamInfo<Row> &info) { return std::string(info.param.name); });

TEST(FrameCodecTest, EveryFaultHasItsOwnText)
{
    std::set<std::string> texts;
    for (int fault = 0; fault <= static_cast<int>(FrameFault::FDS_LEFT_OVER); fault++) {
        texts.insert(FaultText(static_cast<FrameFault>(fault)));
    }
    EXPECT_EQ(texts.size(), static_cast<size_t>(FrameFault::FDS_LEFT_OVER) + 1);
}

// A frame within every limit is read object by object, in table order, with its descriptor taken.
TEST(FrameCodecTest, AValidRequestIsReadAsWritten)
{
    Bytes data = Bytes().Flat(BINDER, 5).Flat(FD, 0).Flat(HANDLE, 9).Flat(BINDER, 0, 2).U32(0xabcdef01);
    Bytes message = Request({0, 24, 48, 72}, data, 1);
    int pipeEnd = Pipe();
    ReceivedFds fds;
    fds.fds.push_back(pipeEnd);
    DecodedFrame frame;
    ASSERT_EQ(DecodeFrame(message.data.data(), message.data.size(), fds, frame), FrameFault::NONE);
    EXPECT_EQ(frame.header.code, 7u);
    EXPECT_EQ(frame.header.callId, 9u);
    EXPECT_EQ(frame.header.targetThread, 0u);
    EXPECT_EQ(frame.header.maxCapacity, 204800u);
    ASSERT_EQ(frame.objects.size(), 4u);
    EXPECT_EQ(frame.objects[0].kind, FrameObject::Kind::PEER);
    EXPECT_EQ(frame.objects[0].handle, 5u);
    EXPECT_EQ(frame.objects[1].kind, FrameObject::Kind::DESCRIPTOR);
    EXPECT_EQ(frame.objects[1].fd, pipeEnd);
    EXPECT_EQ(frame.objects[2].kind, FrameObject::Kind::OWN);
    EXPECT_EQ(frame.objects[2].handle, 9u);
    EXPECT_EQ(frame.objects[3].kind, FrameObject::Kind::DEAD);
    EXPECT_EQ(fds.fds[0], -1) << "the frame owns the descriptor now";
    uint32_t tail;
    std::memcpy(&tail, frame.data + 96, sizeof(tail));
    EXPECT_EQ(tail, 0xabcdef01u);
}

// The encoder's frames read back through the decoder: inline, and too large for one message (in a sealed memfd).
TEST(FrameCodecTest, EncodedFramesReadBackInlineAndInAMemfd)
{
    for (size_t size : {size_t{56}, MAX_MESSAGE}) {
        std::vector<uint8_t> data(size, 0x5a);
        int pipeEnd = Pipe();
        std::vector<OutgoingObject> objects = {{0, MakeFlat(TYPE_BINDER, 4), -1}, {24, {}, pipeEnd}};
        EncodedFrame encoded;
        FrameHeader header = NewHeader(FrameKind::REPLY);
        header.callId = 77;
        ASSERT_TRUE(EncodeFrame(header, data.data(), data.size(), objects, encoded));
        ReceivedFds fds;
        for (int fd : encoded.fds) {
            fds.fds.push_back(fcntl(fd, F_DUPFD_CLOEXEC, 0));
        }
        DecodedFrame frame;
        ASSERT_EQ(DecodeFrame(encoded.message.data(), encoded.message.size(), fds, frame), FrameFault::NONE) << size;
        EXPECT_EQ(frame.header.dataInMemfd, size == MAX_MESSAGE ? 1 : 0);
        EXPECT_EQ(frame.header.callId, 77u);
        ASSERT_EQ(frame.objects.size(), 2u);
        EXPECT_EQ(frame.objects[0].kind, FrameObject::Kind::PEER);
        EXPECT_EQ(frame.objects[1].kind, FrameObject::Kind::DESCRIPTOR);
        EXPECT_EQ(frame.data[size - 1], 0x5a);
        close(pipeEnd);
    }
}

TEST(FrameCodecTest, EncoderRefusesMoreDescriptorsThanAMessageCarries)
{
    std::vector<uint8_t> data(24 * (MAX_FRAME_FDS + 1));
    std::vector<OutgoingObject> objects;
    for (size_t i = 0; i <= MAX_FRAME_FDS; i++) {
        objects.push_back({24 * i, {}, STDERR_FILENO});
    }
    EncodedFrame encoded;
    EXPECT_FALSE(EncodeFrame(NewHeader(FrameKind::REQUEST), data.data(), data.size(), objects, encoded));
    objects.pop_back();
    EXPECT_TRUE(EncodeFrame(NewHeader(FrameKind::REQUEST), data.data(), data.size(), objects, encoded));
}

// The socket cuts a message longer than a frame may be; the reader says so instead of reading half a frame.
TEST(FrameCodecTest, AMessageLongerThanAFrameIsTruncated)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    int size = MAX_MESSAGE + 1;
    setsockopt(ends[0], SOL_SOCKET, SO_SNDBUF, &size, sizeof(size));
    std::vector<uint8_t> big(MAX_MESSAGE + 1, 1);
    ASSERT_EQ(send(ends[0], big.data(), big.size(), 0), static_cast<ssize_t>(big.size()));
    std::vector<uint8_t> buffer;
    size_t length = 0;
    ReceivedFds fds;
    EXPECT_EQ(ReceiveMessage(ends[1], buffer, length, fds), ReceiveResult::TRUNCATED);
    EXPECT_EQ(ReceiveMessage(ends[1], buffer, length, fds), ReceiveResult::NOTHING);
    close(ends[0]);
    EXPECT_EQ(ReceiveMessage(ends[1], buffer, length, fds), ReceiveResult::END);
    close(ends[1]);
}

// Decodes a frame whose sealed memfd of the declared size cannot be mapped: no address space is left for it.
bool MappingRefused()
{
    constexpr uint64_t size = 64ULL * 1024 * 1024;
    Bytes message = WithHeader([](Header &h) {
        h.inMemfd = 1;
        h.dataSize = size;
    });
    ReceivedFds fds;
    fds.fds.push_back(memfd_create("frame-test", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    bool sized = ftruncate(fds.fds[0], size) == 0 &&
                 fcntl(fds.fds[0], F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE) == 0;
    rlimit limit{};
    getrlimit(RLIMIT_AS, &limit);
    limit.rlim_cur = 1; // every new mapping fails from here on
    setrlimit(RLIMIT_AS, &limit);
    DecodedFrame frame;
    return sized && DecodeFrame(message.data.data(), message.data.size(), fds, frame) == FrameFault::MEMFD_NOT_MAPPED;
}

TEST(FrameCodecTest, AMemfdThatCannotBeMappedIsRefused)
{
    EXPECT_EXIT(std::_Exit(MappingRefused() ? 0 : 1), testing::ExitedWithCode(0), "");
}
} // namespace
} // namespace OHOS::HostIpc
