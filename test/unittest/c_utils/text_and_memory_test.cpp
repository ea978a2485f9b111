#include <gtest/gtest.h>

#include <cstring>

#include "securec.h"
#include "string_ex.h"

using namespace OHOS;

TEST(StringExTest, ConvertsEveryUtf8LengthBothWays)
{
    const std::string utf8 = "a\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80"; // a, U+00E9, U+4E2D, U+1F600
    const std::u16string utf16 = u"a\u00e9\u4e2d\xd83d\xde00";
    EXPECT_EQ(Str8ToStr16(utf8), utf16);
    EXPECT_EQ(Str16ToStr8(utf16), utf8);
    EXPECT_EQ(Str8ToStr16(""), u"");
    EXPECT_EQ(Str16ToStr8(u""), "");
}

TEST(StringExTest, StopsAtTheFirstNul)
{
    EXPECT_EQ(Str8ToStr16(std::string("a\0b", 3)), u"a");
    EXPECT_EQ(Str16ToStr8(std::u16string(u"a\0b", 3)), "a");
}

TEST(StringExTest, InvalidUtf8EmptiesTheWholeResult)
{
    EXPECT_EQ(Str8ToStr16("ok\xff"), u"");
    EXPECT_EQ(Str8ToStr16("ok\xe4\xb8"), u""); // truncated
    EXPECT_EQ(Str8ToStr16("\x80"), u"");       // stray continuation byte
    EXPECT_EQ(Str8ToStr16("\xc0\xaf"), u"");   // overlong
}

TEST(StringExTest, UnpairedSurrogates)
{
    EXPECT_EQ(Str16ToStr8(std::u16string(1, char16_t(0xDC00))), "");
    EXPECT_EQ(Str16ToStr8(u"x" + std::u16string(1, char16_t(0xDC00))), "");
    EXPECT_EQ(Str16ToStr8(std::u16string(1, char16_t(0xD800)) + u"a"), "a");
}

class MemcpySTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        memset(dest_, 0xAA, sizeof(dest_));
    }
    bool DestIs(uint8_t value, size_t count) const
    {
        for (size_t i = 0; i < count; i++) {
            if (dest_[i] != value) {
                return false;
            }
        }
        return true;
    }
    uint8_t dest_[8];
    const uint8_t src_[8] = {1, 2, 3, 4, 5, 6, 7, 8};
};

TEST_F(MemcpySTest, DestMaxIsCheckedBeforeAnyPointer)
{
    EXPECT_EQ(memcpy_s(nullptr, 0, nullptr, 0), ERANGE);
    EXPECT_EQ(memcpy_s(dest_, 0x80000000UL, src_, 1), ERANGE);
    EXPECT_TRUE(DestIs(0xAA, 8));
    EXPECT_EQ(memcpy_s(nullptr, 8, src_, 1), EINVAL);
}

TEST_F(MemcpySTest, ResetCodesWipeTheWholeDestination)
{
    EXPECT_EQ(memcpy_s(dest_, 8, nullptr, 1), 150);
    EXPECT_TRUE(DestIs(0, 8));
    SetUp();
    EXPECT_EQ(memcpy_s(dest_, 4, src_, 5), 162);
    EXPECT_TRUE(DestIs(0, 4));
    EXPECT_EQ(dest_[4], 0xAA);
    SetUp();
    EXPECT_EQ(memcpy_s(dest_, 8, dest_ + 2, 4), 182);
    EXPECT_TRUE(DestIs(0, 8));
}

TEST_F(MemcpySTest, CopiesOtherwise)
{
    EXPECT_EQ(memcpy_s(dest_, 8, src_, 0), EOK);
    EXPECT_TRUE(DestIs(0xAA, 8));
    EXPECT_EQ(memcpy_s(dest_, 8, dest_, 8), EOK);
    EXPECT_EQ(memcpy_s(dest_, 8, src_, 3), EOK);
    EXPECT_EQ(memcmp(dest_, src_, 3), 0);
    EXPECT_EQ(dest_[3], 0xAA);
    EXPECT_EQ(memcpy_s(dest_ + 4, 4, dest_, 4), EOK); // adjacent ranges do not overlap
}

TEST_F(MemcpySTest, MemsetSFillsOrReportsTheRange)
{
    EXPECT_EQ(memset_s(nullptr, 0, 0, 0), ERANGE);
    EXPECT_EQ(memset_s(nullptr, 8, 0, 1), EINVAL);
    EXPECT_EQ(memset_s(dest_, 4, 0x11, 6), 162);
    EXPECT_TRUE(DestIs(0x11, 4));
    EXPECT_EQ(dest_[4], 0xAA);
    EXPECT_EQ(memset_s(dest_, 8, 0x22, 8), EOK);
    EXPECT_TRUE(DestIs(0x22, 8));
}
