// MessageParcel in one process: token bytes, flat objects, descriptors and raw blocks, decoded by hand.
#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ipc_test_support.h"
#include "message_parcel.h"

namespace OHOS::TarnbyTest {
namespace {
constexpr uint32_t TYPE_STUB = 0x73622a85;
constexpr uint32_t TYPE_FD = 0x66642a85;
constexpr uint32_t FLAT_FLAGS = 0x17f;
constexpr size_t FLAT_SIZE = 24;

std::string Hex(MessageParcel &parcel)
{
    static const char digits[] = "0123456789abcdef";
    const auto *bytes = reinterpret_cast<const uint8_t *>(parcel.GetData());
    std::string text;
    for (size_t i = 0; i < parcel.GetDataSize(); i++) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 0xf];
    }
    return text;
}

bool IsOpen(int fd)
{
    return fcntl(fd, F_GETFD) != -1;
}

// Writes `text` into `writer` and reads it back from `reader`: proves two descriptors name one pipe.
bool SamePipe(int writer, int reader, const std::string &text)
{
    if (write(writer, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        return false;
    }
    std::string received(text.size(), '\0');
    return read(reader, received.data(), received.size()) == static_cast<ssize_t>(text.size()) && received == text;
}

class Pipe {
public:
    Pipe()
    {
        EXPECT_EQ(pipe2(fds_, O_CLOEXEC), 0);
    }
    ~Pipe()
    {
        close(fds_[0]);
        close(fds_[1]);
    }
    int Reader() const
    {
        return fds_[0];
    }
    int Writer() const
    {
        return fds_[1];
    }

private:
    int fds_[2] = {-1, -1};
};
} // namespace

TEST(MessageParcelTest, InterfaceTokenHasPolicyWorkSourceAndName)
{
    MessageParcel parcel;
    ASSERT_TRUE(parcel.WriteInterfaceToken(u"ohos.ITarnby.ITarnbyService"));
    EXPECT_EQ(Hex(parcel), "00010000"
                           "00000000"
                           "1b000000"
                           "6f0068006f0073002e0049005400610072006e00620079002e00490054006100"
                           "72006e006200790053006500720076006900630065000000");
    EXPECT_EQ(parcel.GetDataSize(), 68u);
    EXPECT_EQ(parcel.GetInterfaceToken(), u"ohos.ITarnby.ITarnbyService");
    EXPECT_EQ(parcel.ReadInterfaceToken(), u"ohos.ITarnby.ITarnbyService");
    EXPECT_EQ(parcel.GetReadableBytes(), 0u);
}

TEST(MessageParcelTest, ReadInterfaceTokenIgnoresHeaderWordsAndGivesEmptyWithoutName)
{
    MessageParcel parcel;
    parcel.WriteInt32(103);
    parcel.WriteInt32(7);
    EXPECT_EQ(parcel.ReadInterfaceToken(), u"");
    EXPECT_EQ(parcel.GetReadPosition(), 8u);

    MessageParcel other;
    other.WriteInt32(-1);
    other.WriteInt32(99);
    other.WriteString16(u"x");
    EXPECT_EQ(other.ReadInterfaceToken(), u"x");
}

TEST(MessageParcelTest, StubIsWrittenAsFlatBinderAndHeldByTheParcel)
{
    sptr<ScriptedStub> stub = new ScriptedStub(nullptr);
    MessageParcel parcel;
    EXPECT_FALSE(parcel.WriteRemoteObject(nullptr));
    EXPECT_EQ(parcel.GetDataSize(), 0u);
    parcel.WriteInt32(11);
    int before = stub->GetSptrRefCount();
    ASSERT_TRUE(parcel.WriteRemoteObject(stub));
    EXPECT_EQ(stub->GetSptrRefCount(), before + 1);
    EXPECT_EQ(parcel.GetDataSize(), 4 + FLAT_SIZE);

    EXPECT_EQ(parcel.ReadInt32(), 11);
    size_t objectStart = parcel.GetReadPosition();
    EXPECT_EQ(parcel.ReadUint32(), TYPE_STUB);
    EXPECT_EQ(parcel.ReadUint32(), FLAT_FLAGS);
    parcel.RewindRead(objectStart);
    sptr<IRemoteObject> read = parcel.ReadRemoteObject();
    EXPECT_EQ(read.GetRefPtr(), static_cast<IRemoteObject *>(stub.GetRefPtr()));
    EXPECT_EQ(parcel.GetReadPosition(), objectStart + FLAT_SIZE);
}

TEST(MessageParcelTest, ReadingAnObjectWhereNoneWasWrittenConsumesNothing)
{
    MessageParcel parcel;
    parcel.WriteInt32(1);
    parcel.WriteInt32(2);
    parcel.WriteInt64(3);
    parcel.WriteInt64(4);
    EXPECT_EQ(parcel.ReadRemoteObject(), nullptr);
    EXPECT_EQ(parcel.ReadFileDescriptor(), -1);
    EXPECT_EQ(parcel.GetReadPosition(), 0u);
    EXPECT_FALSE(parcel.ContainFileDescriptors());
}

TEST(MessageParcelTest, DescriptorIsDuplicatedOnWriteAndOnEveryRead)
{
    Pipe pipe;
    int sent = fcntl(pipe.Writer(), F_DUPFD_CLOEXEC, 0);
    MessageParcel parcel;
    EXPECT_FALSE(parcel.WriteFileDescriptor(-1));
    ASSERT_TRUE(parcel.WriteFileDescriptor(sent));
    EXPECT_TRUE(parcel.ContainFileDescriptors());
    close(sent); // the parcel keeps its own copy

    EXPECT_EQ(parcel.ReadUint32(), TYPE_FD);
    EXPECT_EQ(parcel.ReadUint32(), FLAT_FLAGS);
    int held = static_cast<int>(parcel.ReadUint64());
    EXPECT_TRUE(IsOpen(held));
    parcel.RewindRead(0);

    int first = parcel.ReadFileDescriptor();
    ASSERT_GE(first, 0);
    EXPECT_NE(first, held);
    EXPECT_EQ(parcel.GetReadPosition(), FLAT_SIZE);
    parcel.RewindRead(0);
    int second = parcel.ReadFileDescriptor();
    EXPECT_NE(second, first);
    EXPECT_TRUE(SamePipe(first, pipe.Reader(), "one"));
    close(first);
    EXPECT_TRUE(SamePipe(second, pipe.Reader(), "two"));
    close(second);
}

TEST(MessageParcelTest, HeldDescriptorClosesWithTheParcel)
{
    Pipe pipe;
    int held = -1;
    {
        MessageParcel parcel;
        ASSERT_TRUE(parcel.WriteFileDescriptor(pipe.Writer()));
        parcel.SkipBytes(8);
        held = static_cast<int>(parcel.ReadUint64());
        EXPECT_TRUE(IsOpen(held));
    }
    EXPECT_FALSE(IsOpen(held));
}

TEST(MessageParcelTest, SmallRawDataIsInlineWithLengthAndPadding)
{
    const uint8_t hello[] = {0x68, 0x65, 0x6c, 0x6c, 0x6f};
    MessageParcel parcel;
    ASSERT_TRUE(parcel.WriteRawData(hello, sizeof(hello)));
    parcel.WriteInt32(9);
    EXPECT_EQ(Hex(parcel), "0500000068656c6c6f00000009000000");
    const void *read = parcel.ReadRawData(sizeof(hello));
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(std::memcmp(read, hello, sizeof(hello)), 0);
    EXPECT_EQ(parcel.ReadInt32(), 9);
}

TEST(MessageParcelTest, RawDataRefusesNullEmptyAndOversizeBlocks)
{
    MessageParcel parcel;
    uint8_t byte = 1;
    EXPECT_FALSE(parcel.WriteRawData(nullptr, 4));
    EXPECT_FALSE(parcel.WriteRawData(&byte, 0));
    EXPECT_FALSE(parcel.WriteRawData(&byte, MessageParcel::MAX_RAWDATA_SIZE + 1));
    EXPECT_EQ(parcel.GetDataSize(), 0u);
    EXPECT_EQ(parcel.GetRawDataCapacity(), 134217728u);
}

TEST(MessageParcelTest, ReadRawDataOfAnotherSizeFailsWithTheLengthConsumed)
{
    const uint8_t data[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    MessageParcel parcel;
    ASSERT_TRUE(parcel.WriteRawData(data, sizeof(data)));
    EXPECT_EQ(parcel.ReadRawData(0), nullptr);
    EXPECT_EQ(parcel.GetReadPosition(), 0u);
    EXPECT_EQ(parcel.ReadRawData(7), nullptr);
    EXPECT_EQ(parcel.GetReadPosition(), 4u);
}

TEST(MessageParcelTest, RawDataGoesOutOfLineAboveTheInlineLimit)
{
    std::vector<uint8_t> atLimit(MessageParcel::MIN_RAWDATA_SIZE, 0x5a);
    std::vector<uint8_t> aboveLimit(MessageParcel::MIN_RAWDATA_SIZE + 1);
    for (size_t i = 0; i < aboveLimit.size(); i++) {
        aboveLimit[i] = static_cast<uint8_t>(i * 7);
    }
    MessageParcel parcel;
    ASSERT_TRUE(parcel.WriteRawData(atLimit.data(), atLimit.size()));
    EXPECT_EQ(parcel.GetDataSize(), 4 + atLimit.size());
    ASSERT_TRUE(parcel.WriteRawData(aboveLimit.data(), aboveLimit.size()));
    EXPECT_EQ(parcel.GetDataSize(), 4 + atLimit.size() + 4 + FLAT_SIZE);
    EXPECT_TRUE(parcel.ContainFileDescriptors());

    const void *inlineBlock = parcel.ReadRawData(atLimit.size());
    ASSERT_NE(inlineBlock, nullptr);
    EXPECT_EQ(std::memcmp(inlineBlock, atLimit.data(), atLimit.size()), 0);
    EXPECT_EQ(parcel.ReadInt32(), static_cast<int32_t>(aboveLimit.size()));
    EXPECT_EQ(parcel.ReadUint32(), TYPE_FD);
    parcel.RewindRead(parcel.GetReadPosition() - 8);
    const void *mapped = parcel.ReadRawData(aboveLimit.size());
    ASSERT_NE(mapped, nullptr);
    EXPECT_EQ(std::memcmp(mapped, aboveLimit.data(), aboveLimit.size()), 0);
}

TEST(MessageParcelTest, ExceptionWordAndItsMessage)
{
    MessageParcel parcel;
    parcel.WriteNoException();
    parcel.WriteInt32(-3);
    parcel.WriteString16(u"failed");
    parcel.WriteInt32(42);
    EXPECT_EQ(Hex(parcel).substr(0, 8), "00000000");
    EXPECT_EQ(parcel.ReadException(), 0);
    EXPECT_EQ(parcel.ReadException(), -3);
    EXPECT_EQ(parcel.ReadInt32(), 42);
}

TEST(MessageParcelTest, DefaultMaximumIsTheParcelOne)
{
    MessageParcel parcel;
    EXPECT_EQ(parcel.GetMaxCapacity(), 204800u);
    std::vector<uint8_t> block(204800);
    EXPECT_FALSE(parcel.WriteBuffer(block.data(), block.size() + 4));
    EXPECT_TRUE(parcel.WriteBuffer(block.data(), block.size()));
}
} // namespace OHOS::TarnbyTest
