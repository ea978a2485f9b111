// Byte layouts and cursor rules of the Parcel calls the library relies on. Expected bytes are spelled out by
// hand so that a swapped field, a missing pad or a wrong length unit shows up even where a round trip agrees.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "parcel.h"
#include "test_parcelable.h"

using namespace OHOS;

namespace {

using Bytes = std::vector<uint8_t>;

Bytes Data(const Parcel &parcel)
{
    const auto *data = reinterpret_cast<const uint8_t *>(parcel.GetData());
    return data == nullptr ? Bytes() : Bytes(data, data + parcel.GetDataSize());
}

void FillWords(Parcel &parcel, size_t words)
{
    for (size_t i = 0; i < words; i++) {
        ASSERT_TRUE(parcel.WriteInt32(0));
    }
}

} // namespace

TEST(ParcelLayoutTest, ScalarsAreLittleEndianWordsWithoutEightByteAlignment)
{
    Parcel parcel;
    ASSERT_TRUE(parcel.WriteInt32(0x12345678));
    ASSERT_TRUE(parcel.WriteBool(true));
    ASSERT_TRUE(parcel.WriteInt8(-1));
    ASSERT_TRUE(parcel.WriteUint16(0xBEEF));
    ASSERT_TRUE(parcel.WriteInt64(0x0102030405060708));
    EXPECT_EQ(Data(parcel), (Bytes{0x78, 0x56, 0x34, 0x12, 0x01, 0x00, 0x00, 0x00, 0xff, 0xff, 0xff, 0xff,
                                   0xef, 0xbe, 0x00, 0x00, 0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01}));
}

TEST(ParcelLayoutTest, StringsCarryTheirLengthInUnitsThenTerminatorAndPad)
{
    Parcel parcel;
    ASSERT_TRUE(parcel.WriteString("abcd"));
    ASSERT_TRUE(parcel.WriteString16(u"ab"));
    ASSERT_TRUE(parcel.WriteString(""));
    EXPECT_EQ(Data(parcel), (Bytes{0x04, 0, 0, 0, 'a', 'b', 'c', 'd', 0, 0, 0, 0, // 4 bytes + NUL + 3 pad
                                   0x02, 0, 0, 0, 'a', 0,   'b', 0,   0, 0, 0, 0, // 2 units + NUL unit + pad
                                   0x00, 0, 0, 0, 0,   0,   0,   0}));            // "" still has its NUL word
}

TEST(ParcelLayoutTest, InterfaceTokenStringTakesSixtyBytes)
{
    Parcel parcel;
    ASSERT_TRUE(parcel.WriteString16(u"ohos.ITarnby.ITarnbyService"));
    Bytes data = Data(parcel);
    ASSERT_EQ(data.size(), 60u);
    EXPECT_EQ(Bytes(data.begin(), data.begin() + 6), (Bytes{27, 0, 0, 0, 'o', 0}));
    EXPECT_EQ(Bytes(data.end() - 4, data.end()), (Bytes{'e', 0, 0, 0}));
}

TEST(ParcelLayoutTest, VectorsAreCountThenElements)
{
    Parcel parcel;
    ASSERT_TRUE(parcel.WriteStringVector({"x", ""}));
    ASSERT_TRUE(parcel.WriteUInt32Vector({14, 17}));
    ASSERT_TRUE(parcel.WriteUInt8Vector({1, 2, 3, 4, 5}));
    EXPECT_EQ(Data(parcel), (Bytes{2, 0, 0,  0, 1, 0, 0,  0, 'x', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0,
                                   0, 0, 14, 0, 0, 0, 17, 0, 0,   0, 5, 0, 0, 0, 1, 2, 3, 4, 5, 0, 0, 0}));
}

TEST(ParcelLayoutTest, ParcelablesArePresenceFlagThenTheirOwnFields)
{
    Parcel parcel;
    sptr<IntParcelable> object = new IntParcelable(0x2a);
    ASSERT_TRUE(parcel.WriteStrongParcelable(object));
    ASSERT_TRUE(parcel.WriteStrongParcelable(nullptr));
    EXPECT_EQ(Data(parcel), (Bytes{1, 0, 0, 0, 0x2a, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_TRUE(object->TestBehavior(Parcelable::HOLD_OBJECT));

    sptr<IntParcelable> back = parcel.ReadStrongParcelable<IntParcelable>();
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->value_, 0x2a);
    EXPECT_EQ(parcel.ReadStrongParcelable<IntParcelable>(), nullptr);
    EXPECT_EQ(parcel.GetReadableBytes(), 0u);
}

TEST(ParcelLayoutTest, BuffersHaveNoLengthAndUnpadBufferStillPads)
{
    Parcel parcel;
    const uint8_t five[] = {1, 2, 3, 4, 5};
    ASSERT_TRUE(parcel.WriteUnpadBuffer(five, 5));
    ASSERT_TRUE(parcel.WriteBuffer(five, 2));
    EXPECT_FALSE(parcel.WriteBuffer(five, 0));
    EXPECT_FALSE(parcel.WriteBuffer(nullptr, 4));
    EXPECT_EQ(Data(parcel), (Bytes{1, 2, 3, 4, 5, 0, 0, 0, 1, 2, 0, 0}));

    const uint8_t *read = parcel.ReadUnpadBuffer(5);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(memcmp(read, five, 5), 0);
    EXPECT_EQ(parcel.GetReadPosition(), 8u);
    ASSERT_NE(parcel.ReadBuffer(2), nullptr);
    EXPECT_EQ(parcel.GetReadPosition(), 10u); // ReadBuffer leaves the pad
}

TEST(ParcelReadRulesTest, FailedScalarReadsConsumeNothingAndKeepTheOutValue)
{
    Parcel parcel;
    ASSERT_TRUE(parcel.WriteInt16Unaligned(0x0102));
    int32_t value = 99;
    EXPECT_FALSE(parcel.ReadInt32(value));
    EXPECT_EQ(value, 99);
    EXPECT_EQ(parcel.ReadInt64(), 0);
    EXPECT_EQ(parcel.GetReadPosition(), 0u);
    int16_t half = 0;
    EXPECT_TRUE(parcel.ReadInt16Unaligned(half));
    EXPECT_EQ(half, 0x0102);
}

TEST(ParcelReadRulesTest, ReadStringConsumesABadLengthButRestoresAShortBody)
{
    Parcel negative;
    ASSERT_TRUE(negative.WriteInt32(-1));
    ASSERT_TRUE(negative.WriteInt32(7));
    std::string text = "keep";
    EXPECT_FALSE(negative.ReadString(text));
    EXPECT_EQ(text, "");
    EXPECT_EQ(negative.ReadInt32(), 7); // the -1 stayed consumed

    Parcel tooLong;
    ASSERT_TRUE(tooLong.WriteInt32(4));
    ASSERT_TRUE(tooLong.WriteBuffer("abcd", 4)); // no room for the NUL
    EXPECT_FALSE(tooLong.ReadString(text));
    EXPECT_EQ(tooLong.GetReadPosition(), 0u);

    Parcel unterminated;
    ASSERT_TRUE(unterminated.WriteInt32(3));
    ASSERT_TRUE(unterminated.WriteBuffer("abcd", 4));
    EXPECT_EQ(unterminated.ReadString(), "");
    EXPECT_EQ(unterminated.GetReadPosition(), 0u);
}

TEST(ParcelReadRulesTest, VectorCountsAreCheckedAgainstRemainingBytes)
{
    Parcel tooMany;
    ASSERT_TRUE(tooMany.WriteInt32(3));
    ASSERT_TRUE(tooMany.WriteUint32(14));
    ASSERT_TRUE(tooMany.WriteUint32(17));
    std::vector<uint32_t> numbers = {99};
    EXPECT_FALSE(tooMany.ReadUInt32Vector(&numbers));
    EXPECT_EQ(numbers, std::vector<uint32_t>{99});
    EXPECT_EQ(tooMany.GetReadPosition(), 4u);

    // Three strings claimed, one present: the count fits the bytes, so the read "succeeds" with blanks.
    Parcel shortStrings;
    ASSERT_TRUE(shortStrings.WriteInt32(3));
    ASSERT_TRUE(shortStrings.WriteString("abc"));
    std::vector<std::string> texts;
    EXPECT_TRUE(shortStrings.ReadStringVector(&texts));
    EXPECT_EQ(texts, (std::vector<std::string>{"abc", "", ""}));
    EXPECT_FALSE(shortStrings.ReadStringVector(nullptr));
}

TEST(ParcelReadRulesTest, MissingPadAtTheEndMovesTheCursorToTheCapacity)
{
    Parcel parcel;
    ASSERT_TRUE(parcel.WriteUint8Unaligned(0x11));
    ASSERT_NE(parcel.ReadUnpadBuffer(1), nullptr);
    EXPECT_EQ(parcel.GetReadPosition(), 64u);
    EXPECT_EQ(parcel.GetReadableBytes(), 0u);
}

TEST(ParcelCapacityTest, GrowsByDoublingThenInPageSteps)
{
    Parcel parcel;
    EXPECT_EQ(parcel.GetDataCapacity(), 0u);
    FillWords(parcel, 1);
    EXPECT_EQ(parcel.GetDataCapacity(), 64u);
    FillWords(parcel, 16);
    EXPECT_EQ(parcel.GetDataCapacity(), 128u);
    FillWords(parcel, 1024 - 17);
    EXPECT_EQ(parcel.GetDataCapacity(), 4096u);
    FillWords(parcel, 1);
    EXPECT_EQ(parcel.GetDataCapacity(), 8192u);
}

TEST(ParcelCapacityTest, MaximumOnlyRisesAndBoundsEveryWrite)
{
    Parcel parcel;
    EXPECT_EQ(parcel.GetMaxCapacity(), 204800u);
    EXPECT_FALSE(parcel.SetMaxCapacity(1024));
    EXPECT_FALSE(parcel.SetMaxCapacity(204800));
    FillWords(parcel, 51198);
    EXPECT_FALSE(parcel.WriteString("abcdefgh")); // the length goes in, the body does not
    EXPECT_EQ(parcel.GetDataSize(), 204796u);
    EXPECT_FALSE(parcel.WriteInt64(1));
    EXPECT_EQ(parcel.GetDataSize(), 204796u);
    EXPECT_TRUE(parcel.WriteStrongParcelable(nullptr));

    ASSERT_TRUE(parcel.SetMaxCapacity(204808));
    EXPECT_TRUE(parcel.WriteInt64(1));
    EXPECT_EQ(parcel.GetDataSize(), 204808u);
    EXPECT_EQ(parcel.GetDataCapacity(), 204808u);
}

TEST(ParcelCapacityTest, RewindWriteCutsTheDataAndRefusesToGoForward)
{
    Parcel parcel;
    ASSERT_TRUE(parcel.WriteInt32(1));
    ASSERT_TRUE(parcel.WriteInt32(2));
    EXPECT_FALSE(parcel.RewindWrite(12));
    ASSERT_TRUE(parcel.RewindWrite(4));
    EXPECT_EQ(parcel.GetDataSize(), 4u);
    ASSERT_TRUE(parcel.WriteInt32(3));
    EXPECT_EQ(Data(parcel), (Bytes{1, 0, 0, 0, 3, 0, 0, 0}));
    EXPECT_FALSE(parcel.RewindRead(9));
    EXPECT_TRUE(parcel.RewindRead(4));
    EXPECT_EQ(parcel.ReadInt32(), 3);
}

TEST(ParcelCapacityTest, CopyThroughDataAndWriteBufferIsExact)
{
    Parcel source;
    ASSERT_TRUE(source.WriteString16(u"token"));
    ASSERT_TRUE(source.WriteInt32(-5));
    Parcel copy;
    ASSERT_TRUE(copy.WriteBuffer(reinterpret_cast<const void *>(source.GetData()), source.GetDataSize()));
    EXPECT_EQ(Data(copy), Data(source));
    EXPECT_EQ(copy.ReadString16(), u"token");
    EXPECT_EQ(copy.ReadInt32(), -5);
}

TEST(ParcelCapacityTest, ParsedParcelIsReadOnlyUntilFlushed)
{
    auto *block = static_cast<uint8_t *>(malloc(8));
    const uint8_t bytes[] = {7, 0, 0, 0, 8, 0, 0, 0};
    memcpy(block, bytes, sizeof(bytes));
    Parcel parcel;
    ASSERT_TRUE(parcel.ParseFrom(reinterpret_cast<uintptr_t>(block), sizeof(bytes)));
    EXPECT_EQ(parcel.ReadInt32(), 7);
    EXPECT_FALSE(parcel.WriteInt32(1));
    EXPECT_FALSE(parcel.SetDataCapacity(64));
    EXPECT_EQ(parcel.ReadInt32(), 8);
    parcel.FlushBuffer();
    EXPECT_EQ(parcel.GetDataSize(), 0u);
    EXPECT_TRUE(parcel.WriteInt32(1));
}
