// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <tuple>
#include <vector>

#include "securec.h"
#include "string_ex.h"

using namespace OHOS;

TEST(StringExTest, ConvertsEveryUtf8LengthBothWaysAndInvalidInputStopsOrEmptiesTheResult)
{
    const std::string utf8 = "a\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80"; // a, U+00E9, U+4E2D, U+1F600
    const std::u16string utf16 = u"a\u00e9\u4e2d\xd83d\xde00";
    EXPECT_TRUE(Str8ToStr16(utf8) == utf16 && Str16ToStr8(utf16) == utf8 && GetUtf16ToUtf8Length(utf16) == 10);
    char buffer[11];
    EXPECT_EQ(Char16ToChar8(utf16, buffer, 10), -1); // no room for the NUL
    EXPECT_TRUE(Char16ToChar8(utf16, buffer, 11) == 11 && buffer == utf8);
    EXPECT_TRUE(Str8ToStr16("").empty() && Str16ToStr8(u"").empty() && GetUtf16ToUtf8Length(u"") == -1);
    EXPECT_TRUE(Str8ToStr16(std::string("a\0b", 3)) == u"a" && Str16ToStr8(std::u16string(u"a\0b", 3)) == "a");
    // a bad byte, a truncated sequence, a stray continuation, an invalid lead, an overlong three-byte form
    for (const char *bad : {"ok\xff", "ok\xe4\xb8", "\x80", "\xc0\xaf", "\xe0\x80\xaf"}) {
        EXPECT_EQ(Str8ToStr16(bad), u"") << bad;
    }
    const std::u16string loneLow(1, char16_t(0xDC00));
    EXPECT_TRUE(Str16ToStr8(u"x" + loneLow).empty() && GetUtf16ToUtf8Length(loneLow) == -1);
    char kept[8] = "keep";
    EXPECT_TRUE(Char16ToChar8(loneLow, kept, sizeof(kept)) == -1 && std::string(kept) == "keep");
    EXPECT_EQ(Str16ToStr8(std::u16string(1, char16_t(0xD800)) + u"a"), "a"); // a lone high surrogate is dropped
}

TEST(StringExTest, StrToIntCaseTrimReplaceClassificationSplitAndPiecesBetweenDelimiters)
{
    // clang-format off
    const std::pair<std::string, std::string> texts[] = {
        {UpperStr("aBc-1"), "ABC-1"}, {LowerStr("AbC-1"), "abc-1"}, {TrimStr("  a b  "), "a b"},
        {TrimStr("xxaxx", 'x'), "a"}, {TrimStr("   "), ""}, {ReplaceStr("aaa", "aa", "b"), "ba"},
        {ReplaceStr("abc", "", "x"), "abc"}, {ReplaceStr("a.b", ".", "::"), "a::b"}, {DexToHexString(255), "FF"},
        {DexToHexString(255, false), "ff"}, {DexToHexString(-1), "FFFFFFFF"}, {ToString(-12), "-12"}};
    // clang-format on
    for (const auto &[actual, expected] : texts) {
        EXPECT_EQ(actual, expected);
    }
    const std::tuple<bool (*)(const std::string &), const char *, bool> predicates[] = {
        {IsNumericStr, "0123", true},   {IsNumericStr, "", false},  {IsNumericStr, "-1", false},
        {IsAlphaStr, "abZ", true},      {IsAlphaStr, "ab1", false}, {IsAlphaStr, "", false},
        {IsUpperStr, "ABZ", true},      {IsUpperStr, "AbC", false}, {IsUpperStr, "12E", false},
        {IsUpperStr, "", false},        {IsLowerStr, "abz", true},  {IsLowerStr, "aBc", false},
        {IsLowerStr, "12e", false},     {IsLowerStr, "", false},    {IsAsciiString, "ok", true},
        {IsAsciiString, "\xc3", false},
    };
    for (const auto &[predicate, text, expected] : predicates) {
        EXPECT_EQ(predicate(text), expected) << text;
    }
    EXPECT_TRUE(IsSameTextStr("Tarnby", "tARNBY") && !IsSameTextStr("Tarnby", "Tarnb"));
    EXPECT_TRUE(IsSubStr("service", "vic") && !IsSubStr("service", "x") && !IsSubStr("service", ""));
    std::vector<std::string> pieces = {"dropped"}; // the result replaces what was there
    SplitStr(" a , ,b,", ",", pieces);
    EXPECT_EQ(pieces, (std::vector<std::string>{"a", "b"}));
    SplitStr(" a , ,b,", ",", pieces, true, false);
    EXPECT_EQ(pieces, (std::vector<std::string>{" a ", " ", "b", ""}));
    SplitStr("a::b", "", pieces);
    EXPECT_EQ(pieces, std::vector<std::string>{"a::b"});
    std::string sub = "kept";
    EXPECT_TRUE(GetFirstSubStrBetween("x[ab]y[c]", "[", "]", sub) == 4u && sub == "ab");
    EXPECT_TRUE(GetFirstSubStrBetween("x[ab", "[", "]", sub) == std::string::npos &&
                GetFirstSubStrBetween("x[ab]", "", "]", sub) == std::string::npos && sub == "ab");
    pieces.clear();
    GetSubStrBetween("x[ab]y[c][]z[", "[", "]", pieces);
    EXPECT_EQ(pieces, (std::vector<std::string>{"ab", "c", ""}));
    pieces.clear();
    GetSubStrBetween("|a|b|", "|", "|", pieces); // a closing delimiter opens the next pair
    EXPECT_EQ(pieces, (std::vector<std::string>{"a", "b"}));
    GetSubStrBetween("abc", "", "", pieces);
    EXPECT_EQ(pieces.size(), 2u);
    // StrToInt takes only whole decimal integers.
    const std::pair<const char *, bool> numbers[] = {
        {"0", true},           {"-2147483648", true},  {"2147483647", true},
        {"2147483648", false}, {"-2147483649", false}, {"99999999999999999999", false},
        {"", false},           {"+1", false},          {" 1", false},
        {"1 ", false},         {"12a", false},         {"-", false},
        {"0x10", false},
    };
    for (const auto &[text, ok] : numbers) {
        int value = 7;
        EXPECT_EQ(StrToInt(text, value), ok) << text;
        EXPECT_EQ(value, ok ? static_cast<int>(strtol(text, nullptr, 10)) : 7) << text;
    }
}

// Each row: destination size and source, the expected code and the destination afterwards (0xAA = untouched).
TEST(MemcpySTest, ChecksInTheLibrarysOrderAndWipesOnResetCodesAndMemsetSFillsOrReportsTheRange)
{
    struct Case {
        size_t destMax;
        bool nullDest, nullSrc, overlap;
        size_t count;
        errno_t code;
        std::vector<uint8_t> after;
    } cases[] = {
        {0, true, true, false, 0, ERANGE, {0xAA, 0xAA, 0xAA, 0xAA}}, // destMax first, even before pointers
        {0x80000000UL, false, false, false, 1, ERANGE, {0xAA, 0xAA, 0xAA, 0xAA}},
        {4, true, false, false, 1, EINVAL, {0xAA, 0xAA, 0xAA, 0xAA}},
        {4, false, true, false, 1, 150, {0, 0, 0, 0}},
        {2, false, false, false, 3, 162, {0, 0, 0xAA, 0xAA}},
        {4, false, false, true, 2, 182, {0, 0, 0, 0}},
        {4, false, false, false, 0, EOK, {0xAA, 0xAA, 0xAA, 0xAA}},
        {4, false, false, false, 3, EOK, {1, 2, 3, 0xAA}},
    };
    for (const Case &c : cases) {
        uint8_t dest[8];
        memset(dest, 0xAA, sizeof(dest));
        const uint8_t src[] = {1, 2, 3, 4};
        const void *from = c.nullSrc ? nullptr : (c.overlap ? dest + 1 : static_cast<const void *>(src));
        EXPECT_EQ(memcpy_s(c.nullDest ? nullptr : dest, c.destMax, from, c.count), c.code)
            << c.destMax << "/" << c.count;
        EXPECT_EQ(std::vector<uint8_t>(dest, dest + 4), c.after) << c.destMax << "/" << c.count;
    }
    uint8_t self[4] = {5, 6, 7, 8};
    // the same range is no overlap, nor are adjacent ones
    EXPECT_TRUE(memcpy_s(self, 4, self, 4) == EOK && memcpy_s(self + 2, 2, self, 2) == EOK && self[2] == 5);
    uint8_t dest[8];
    memset(dest, 0xAA, sizeof(dest));
    EXPECT_TRUE(memset_s(nullptr, 0, 0, 0) == ERANGE && memset_s(nullptr, 8, 0, 1) == EINVAL);
    EXPECT_EQ(memset_s(dest, 4, 0x11, 6), 162);
    EXPECT_EQ(std::vector<uint8_t>(dest, dest + 5), (std::vector<uint8_t>{0x11, 0x11, 0x11, 0x11, 0xAA}));
    EXPECT_TRUE(memset_s(dest, 8, 0x22, 8) == EOK && dest[7] == 0x22);
}
