// SPDX-License-Identifier: Apache-2.0
// MessageParcel and MessageOption in one process: token bytes, flat objects, descriptors, raw blocks, Append and
// the default maximum, decoded by hand.
#include <poll.h>

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../c_utils/test_parcelable.h"
#include "ipc_test_support.h"
#include "log_capture.h"

namespace OHOS::TarnbyTest {
namespace {
constexpr size_t FLAT_SIZE = 24;

uint64_t HandleAt(MessageParcel &parcel, size_t flatOffset)
{
    uint64_t handle = 0;
    std::memcpy(&handle, reinterpret_cast<const uint8_t *>(parcel.GetData()) + flatOffset + 8, sizeof(handle));
    return handle;
}

// Whether text written to `writer` comes out of `reader`: the two descriptors name one pipe.
bool SamePipe(int writer, int reader)
{
    char out[3] = "ok";
    char in[3] = {};
    return write(writer, out, 2) == 2 && read(reader, in, 2) == 2 && std::strcmp(in, out) == 0;
}
} // namespace

TEST(MessageParcelTest, InterfaceTokenExceptionWordPrintedBytesAndTheOptionsFlagsAndWaitTime)
{
    MessageParcel parcel;
    ASSERT_TRUE(parcel.WriteInterfaceToken(u"ohos.ITarnby.ITarnbyService"));
    EXPECT_EQ(Hex(parcel), "00010000000000001b000000"
                           "6f0068006f0073002e0049005400610072006e00620079002e00490054006100"
                           "72006e006200790053006500720076006900630065000000");
    EXPECT_EQ(parcel.GetInterfaceToken(), u"ohos.ITarnby.ITarnbyService");
    EXPECT_EQ(parcel.ReadInterfaceToken(), u"ohos.ITarnby.ITarnbyService");
    EXPECT_EQ(parcel.GetReadableBytes(), 0u);
    MessageParcel other, reply;
    ASSERT_TRUE(other.WriteInt32(-1) && other.WriteInt32(99));
    EXPECT_EQ(other.ReadInterfaceToken(), u"");
    EXPECT_EQ(other.GetReadPosition(), 8u);
    reply.WriteNoException();
    ASSERT_TRUE(reply.WriteInt32(-3) && reply.WriteString16(u"failed") && reply.WriteInt32(42));
    EXPECT_EQ(Hex(reply).substr(0, 8), "00000000");
    EXPECT_EQ((std::vector<int32_t>{reply.ReadException(), reply.ReadException(), reply.ReadInt32()}),
              (std::vector<int32_t>{0, -3, 42}));
    LogCapture capture;
    other.PrintBuffer("Caller", 42);
    EXPECT_TRUE(capture.Contains("Caller:42 size 8 data ffffffff63000000"));
    // An option keeps the values it is built with; flags only add, and the wait time is clamped when set.
    MessageOption option;
    EXPECT_EQ(std::pair(option.GetFlags(), option.GetWaitTime()), std::pair(0, 8));
    EXPECT_EQ(std::pair(MessageOption(1, 5000).GetWaitTime(), MessageOption(0, -4).GetWaitTime()), std::pair(5000, -4));
    MessageOption async(MessageOption::TF_ASYNC);
    async.SetFlags(MessageOption::TF_SYNC);
    async.SetFlags(MessageOption::TF_ACCEPT_FDS);
    EXPECT_EQ(async.GetFlags(), 0x11);
    for (auto [set, got] : {std::pair{0, 8}, {-1, 8}, {1, 1}, {3000, 3000}, {3001, 3000}}) {
        option.SetWaitTime(set);
        EXPECT_EQ(option.GetWaitTime(), got) << set;
    }
}

TEST(MessageParcelTest, StubsAndDescriptorsAreFlatObjectsAndAbsentOnesConsumeNothing)
{
    sptr<ScriptedStub> stub = new ScriptedStub();
    MessageParcel parcel;
    EXPECT_FALSE(parcel.WriteRemoteObject(nullptr));
    parcel.WriteInt32(11);
    EXPECT_TRUE(parcel.ReadRemoteObject() == nullptr && parcel.ReadFileDescriptor() == -1);
    EXPECT_EQ(parcel.GetReadPosition(), 0u);
    int before = stub->GetSptrRefCount();
    ASSERT_TRUE(parcel.WriteRemoteObject(stub));
    EXPECT_EQ(stub->GetSptrRefCount(), before + 1);
    EXPECT_TRUE(parcel.GetDataSize() == 4 + FLAT_SIZE && !parcel.ContainFileDescriptors());
    EXPECT_EQ(Hex(parcel).substr(8, 16), "852a62737f010000") << "type \"sb*\", flags 0x17f";
    parcel.SkipBytes(4);
    EXPECT_EQ(parcel.ReadRemoteObject().GetRefPtr(), static_cast<IRemoteObject *>(stub.GetRefPtr()));
    EXPECT_EQ(parcel.GetReadPosition(), 4 + FLAT_SIZE);
    // A descriptor is duplicated on the write and on every read, and the parcel's own copy closes with it.
    Pipe pipe;
    int held = -1;
    {
        MessageParcel carrier;
        EXPECT_FALSE(carrier.WriteFileDescriptor(-1));
        ASSERT_TRUE(carrier.WriteFileDescriptor(pipe.fds[1]));
        EXPECT_TRUE(carrier.ContainFileDescriptors());
        EXPECT_EQ(Hex(carrier).substr(0, 16), "852a64667f010000") << "type \"fd*\", flags 0x17f";
        held = static_cast<int>(HandleAt(carrier, 0));
        EXPECT_NE(held, pipe.fds[1]);
        int first = carrier.ReadFileDescriptor();
        EXPECT_EQ(carrier.GetReadPosition(), FLAT_SIZE);
        carrier.RewindRead(0);
        int second = carrier.ReadFileDescriptor();
        EXPECT_TRUE(first != held && second != first && first >= 0);
        EXPECT_TRUE(SamePipe(first, pipe.fds[0]) && SamePipe(second, pipe.fds[0]));
        close(first);
        close(second);
        EXPECT_NE(fcntl(held, F_GETFD), -1);
    }
    // Every copy is gone with the parcel: with the writer's own end closed, the reader sees the pipe hang up.
    close(pipe.fds[1]);
    pipe.fds[1] = -1;
    pollfd hangUp{pipe.fds[0], POLLIN, 0};
    EXPECT_TRUE(poll(&hangUp, 1, 0) == 1 && (hangUp.revents & POLLHUP) != 0);
}

TEST(MessageParcelTest, RawDataInlineUpToTheLimitThenOutOfLineAndAppendCopiesBytesSharesObjectsAndDuplicatesDescriptors)
{
    MessageParcel parcel;
    uint8_t byte = 1;
    EXPECT_FALSE(parcel.WriteRawData(nullptr, 4) || parcel.WriteRawData(&byte, 0) ||
                 parcel.WriteRawData(&byte, MessageParcel::MAX_RAWDATA_SIZE + 1));
    EXPECT_EQ(parcel.GetRawDataCapacity(), 134217728u);
    ASSERT_TRUE(parcel.WriteRawData("hello", 5));
    EXPECT_EQ(Hex(parcel), "0500000068656c6c6f000000");
    EXPECT_TRUE(parcel.ReadRawData(0) == nullptr && parcel.ReadRawData(4) == nullptr) << "no size or another one";
    EXPECT_EQ(parcel.GetReadPosition(), 4u) << "the size stays consumed";
    std::vector<uint8_t> atLimit(MessageParcel::MIN_RAWDATA_SIZE, 0x5a), above(MessageParcel::MIN_RAWDATA_SIZE + 1);
    for (size_t i = 0; i < above.size(); i++) {
        above[i] = static_cast<uint8_t>(i * 7);
    }
    MessageParcel blocks;
    ASSERT_TRUE(blocks.WriteRawData(atLimit.data(), atLimit.size()));
    EXPECT_EQ(blocks.GetDataSize(), 4 + atLimit.size());
    ASSERT_TRUE(blocks.WriteRawData(above.data(), above.size()));
    EXPECT_TRUE(blocks.GetDataSize() == 4 + atLimit.size() + 4 + FLAT_SIZE && blocks.ContainFileDescriptors());
    const void *inlined = blocks.ReadRawData(atLimit.size());
    const void *mapped = blocks.ReadRawData(above.size());
    ASSERT_TRUE(inlined != nullptr && mapped != nullptr);
    EXPECT_TRUE(!std::memcmp(inlined, atLimit.data(), atLimit.size()) &&
                !std::memcmp(mapped, above.data(), above.size()));
    // Append copies the bytes, shares the objects and duplicates the descriptors.
    Pipe pipe;
    sptr<IRemoteObject> stub = new ScriptedStub();
    MessageParcel source, target, empty;
    ASSERT_TRUE(source.WriteInt32(7) && source.WriteRemoteObject(stub) && source.WriteFileDescriptor(pipe.fds[1]) &&
                source.WriteUint8Unaligned(0xab));
    EXPECT_TRUE(target.Append(empty) && target.GetDataSize() == 0) << "an empty parcel appends nothing";
    target.WriteInt32(-1);
    ASSERT_TRUE(target.Append(source));
    EXPECT_EQ(target.GetDataSize(), 4 + 4 + 2 * FLAT_SIZE + 4) << "padded to 4";
    EXPECT_EQ((std::vector<int32_t>{target.ReadInt32(), target.ReadInt32()}), (std::vector<int32_t>{-1, 7}));
    EXPECT_EQ(target.ReadRemoteObject(), stub);
    EXPECT_NE(HandleAt(target, 8 + FLAT_SIZE), HandleAt(source, 4 + FLAT_SIZE)) << "the target holds its own copy";
    int fd = target.ReadFileDescriptor();
    EXPECT_TRUE(fd >= 0 && SamePipe(fd, pipe.fds[0]));
    close(fd);
    EXPECT_EQ(target.ReadUint32(), 0xabu);
    ASSERT_TRUE(source.Append(source)) << "appending a parcel to itself copies the old bytes";
    source.RewindRead(4 + 2 * FLAT_SIZE + 1); // the copy starts right after the unaligned byte
    EXPECT_TRUE(source.ReadInt32() == 7 && source.ReadRemoteObject() == stub);
    MessageParcel full;
    EXPECT_EQ(full.GetMaxCapacity(), 204800u);
    std::vector<uint8_t> block(204800);
    EXPECT_FALSE(full.WriteBuffer(block.data(), block.size() + 4));
    ASSERT_TRUE(full.WriteBuffer(block.data(), block.size() - 4));
    EXPECT_FALSE(full.Append(source));
    EXPECT_EQ(full.GetDataSize(), block.size() - 4) << "nothing is added when it does not fit";
    EXPECT_TRUE(full.WriteInt32(0)) << "the default maximum is reached exactly";
}
} // namespace OHOS::TarnbyTest
