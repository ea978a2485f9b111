// SPDX-License-Identifier: Apache-2.0
// Replays every row recorded from the platform's Parcel (golden/*.tsv) against the host Parcel. A replay names the
// row's calls and renders their outcome in the file's own notation; the file decides what is right.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "parcel.h"
#include "test_parcelable.h"

using namespace OHOS;

namespace {

const std::u16string SERVICE = u"ohos.ITarnby.ITarnbyService";
const std::u16string CALLBACK = u"ohos.ITarnby.ITarnbyCallback";
const uint8_t BYTES[] = {0x11, 0x22, 0x33, 0x44, 0x55};
const uint8_t HELLO[] = {0x68, 0x65, 0x6c, 0x6c, 0x6f};
const uint8_t AB = 0xAB;
const uint8_t EIGHT[] = {1, 2, 3, 4, 5, 6, 7, 8};

// Renderers in the files' notation. Those taking a call's result read the parcel after it, in their body.
std::string B(bool value)
{
    return value ? "true" : "false";
}

std::string B(const std::string &results)
{
    return results;
}

const auto N = [](long long value) { return std::to_string(value); };
const auto Q = [](const std::string &text) { return "\"" + text + "\""; };
// Golden strings are ASCII; a local narrowing keeps the converter under test out of the comparison.
const auto Q16 = [](const std::u16string &text) { return "u" + Q(std::string(text.begin(), text.end())); };
const auto Buf = [](const uint8_t *data, size_t length) {
    return data == nullptr ? "nullptr" : "non-null -> " + (length == 0 ? "(0 bytes)" : Hex(data, length));
};
const auto Size = [](auto ok, const Parcel &p) { return B(ok) + " size=" + N(p.GetDataSize()); };
const auto SizeCap = [](auto ok, const Parcel &p) { return Size(ok, p) + " cap=" + N(p.GetDataCapacity()); };
const auto Bytes = [](bool ok, const Parcel &p) { return Size(ok, p) + " bytes=" + Hex(p); };
const auto Cap = [](bool ok, const Parcel &p) { return B(ok) + " cap=" + N(p.GetDataCapacity()); };
const auto Tailed = [](bool ok, Parcel &p, size_t n) { return Size(ok, p) + " tail=" + Hex(p, p.GetDataSize() - n); };

template <typename Items, typename Show>
std::string Join(const Items &items, const char *separator, Show show)
{
    std::string out;
    const char *gap = "";
    for (const auto &item : items) {
        out += gap + show(item);
        gap = separator;
    }
    return out;
}

const auto Same = [](const std::string &text) { return text; };
const auto V = [](const auto &items, auto show) { return "v={" + Join(items, ", ", show) + "}"; };

std::string R(std::initializer_list<bool> results)
{
    return Join(results, ",", [](bool result) { return B(result); });
}

bool Fill(Parcel &p, size_t bytes)
{
    bool all = true;
    while (p.GetDataSize() < bytes && all) {
        all = p.WriteInt32(0);
    }
    return all;
}

// clang-format off
#define ROW(name, ...) {name, [](Parcel &p) { return R({__VA_ARGS__}); }}
// clang-format on

std::map<std::string, std::function<std::string(Parcel &)>> WriteCases()
{
    std::string s300;
    for (int i = 0; i < 300; i++) {
        s300.push_back(static_cast<char>('a' + i % 26));
    }
    IntParcelable p42(42);
    // clang-format off
    return {
        ROW("int32_7", p.WriteInt32(7)), ROW("int32_neg1", p.WriteInt32(-1)),
        ROW("int32_0x12345678", p.WriteInt32(0x12345678)), ROW("int32_min", p.WriteInt32(INT32_MIN)),
        ROW("uint32_14", p.WriteUint32(14)), ROW("uint32_max", p.WriteUint32(0xFFFFFFFF)),
        ROW("uint32_0x1b8003ec", p.WriteUint32(0x1B8003EC)), ROW("bool_true", p.WriteBool(true)),
        ROW("bool_false", p.WriteBool(false)), ROW("int64_1", p.WriteInt64(1)), ROW("int64_neg2", p.WriteInt64(-2)),
        ROW("int64_0x0102030405060708", p.WriteInt64(0x0102030405060708)),
        ROW("int32_then_int64", p.WriteInt32(1), p.WriteInt64(2)), ROW("uint64_max", p.WriteUint64(0xFFFFFFFFFFFFFFFF)),
        ROW("int8_neg1", p.WriteInt8(-1)), ROW("uint8_255", p.WriteUint8(255)), ROW("int16_neg2", p.WriteInt16(-2)),
        ROW("string_empty", p.WriteString("")), ROW("string_a", p.WriteString("a")),
        ROW("string_abc", p.WriteString("abc")), ROW("string_abcd", p.WriteString("abcd")),
        ROW("string_hello", p.WriteString("hello")),
        {"string_300", [s300](Parcel &p) { return R({p.WriteString(s300)}); }},
        ROW("string_embedded_nul", p.WriteString(std::string("a\0b", 3))),
        ROW("string_utf8", p.WriteString("\xc3\xa9")), ROW("string16_empty", p.WriteString16(u"")),
        ROW("string16_a", p.WriteString16(u"a")), ROW("string16_ab", p.WriteString16(u"ab")),
        ROW("string16_token", p.WriteString16(SERVICE)), ROW("string16_callback_token", p.WriteString16(CALLBACK)),
        ROW("cstring_abc", p.WriteCString("abc")),
        ROW("string16_withlength_null", p.WriteString16WithLength(nullptr, 3)),
        ROW("strvec_empty", p.WriteStringVector({})), ROW("strvec_one", p.WriteStringVector({"abc"})),
        ROW("strvec_three", p.WriteStringVector({"a", "", "hello"})),
        ROW("strvec_three_b", p.WriteStringVector({"x", "yz", "abcd"})), ROW("u32vec_empty", p.WriteUInt32Vector({})),
        ROW("u32vec_14_17", p.WriteUInt32Vector({14, 17})), ROW("i32vec_1_neg1", p.WriteInt32Vector({1, -1})),
        ROW("u8vec_1_2_3", p.WriteUInt8Vector({1, 2, 3})), ROW("boolvec_t_f", p.WriteBoolVector({true, false})),
        ROW("string16vec_two", p.WriteString16Vector({u"a", u""})), ROW("buffer_0", p.WriteBuffer(BYTES, 0)),
        ROW("buffer_null", p.WriteBuffer(nullptr, 4)), ROW("buffer_1", p.WriteBuffer(BYTES, 1)),
        ROW("buffer_3", p.WriteBuffer(BYTES, 3)), ROW("buffer_4", p.WriteBuffer(BYTES, 4)),
        ROW("buffer_5", p.WriteBuffer(BYTES, 5)), ROW("unpad_0", p.WriteUnpadBuffer(BYTES, 0)),
        ROW("unpad_1", p.WriteUnpadBuffer(BYTES, 1)), ROW("unpad_3", p.WriteUnpadBuffer(BYTES, 3)),
        ROW("unpad_4", p.WriteUnpadBuffer(BYTES, 4)), ROW("unpad_5", p.WriteUnpadBuffer(BYTES, 5)),
        ROW("int32_then_unpad_1", p.WriteInt32(2), p.WriteUnpadBuffer(&AB, 1), p.WriteInt32(3)),
        ROW("mp_rawdata_1", p.WriteInt32(1), p.WriteUnpadBuffer(&AB, 1)),
        ROW("mp_rawdata_5", p.WriteInt32(5), p.WriteUnpadBuffer(HELLO, 5)),
        ROW("mp_rawdata_8", p.WriteInt32(8), p.WriteUnpadBuffer(EIGHT, 8)),
        ROW("strong_parcelable_42", p.WriteStrongParcelable(new IntParcelable(42))),
        ROW("strong_parcelable_null", p.WriteStrongParcelable(nullptr)),
        ROW("parcelable_null", p.WriteParcelable(nullptr)),
        {"parcelable_42", [p42](Parcel &p) { return R({p.WriteParcelable(&p42)}); }},
        ROW("mixed_str16_ints", p.WriteString16(SERVICE), p.WriteInt32(103), p.WriteInt32(7), p.WriteInt32(0),
            p.WriteInt32(0), p.WriteInt32(0)),
        ROW("mixed_record", p.WriteInt32(0), p.WriteString("dev"), p.WriteUint32(14), p.WriteBool(true),
            p.WriteStringVector({"a", "bc"}), p.WriteUInt32Vector({14, 17}), p.WriteStrongParcelable(nullptr),
            p.WriteStrongParcelable(new IntParcelable(5)), p.WriteString(""), p.WriteInt64(-1)),
        ROW("mixed_buffers", p.WriteInt32(5), p.WriteUnpadBuffer(HELLO, 5), p.WriteString("x"), p.WriteBuffer(EIGHT, 2),
            p.WriteBool(false)),
        ROW("mp_token_service", p.WriteInt32(0x100), p.WriteInt32(0), p.WriteString16(SERVICE)),
        ROW("mp_token_callback", p.WriteInt32(0x100), p.WriteInt32(0), p.WriteString16(CALLBACK)),
        ROW("mp_token_empty", p.WriteInt32(0x100), p.WriteInt32(0), p.WriteString16(u"")),
    };
    // clang-format on
}

// Outcomes of a row's calls, each with the readable bytes and the read position right after it.
struct Steps {
    Parcel &p;
    std::string results, readable, positions;
    Steps &operator<<(const std::string &result)
    {
        bool first = readable.empty();
        results += (first ? "" : " ; ") + result;
        readable += (first ? "" : ",") + N(p.GetReadableBytes());
        positions += (first ? "" : ",") + N(p.GetReadPosition());
        return *this;
    }
};

// Out-parameter reads: the result, then the value left in the out parameter.
#define OUT(T, read, shown)                                                                                            \
    [](Parcel &p, T v) {                                                                                               \
        bool ok = read;                                                                                                \
        return B(ok) + " " + shown;                                                                                    \
    }
const auto Int32 = OUT(int32_t, p.ReadInt32(v), "v=" + N(v));
const auto Uint32 = OUT(uint32_t, p.ReadUint32(v), "v=" + N(v));
const auto Bool = OUT(bool, p.ReadBool(v), "b=" + B(v));
const auto Str = OUT(std::string, p.ReadString(v), "s=" + Q(v));
const auto Str16 = OUT(std::u16string, p.ReadString16(v), "s=" + Q16(v));
const auto U32Vec = OUT(std::vector<uint32_t>, p.ReadUInt32Vector(&v), V(v, N));
const auto StrVec = OUT(std::vector<std::string>, p.ReadStringVector(&v), V(v, Q));
const auto Int16U = OUT(int16_t, p.ReadInt16Unaligned(v), "v=" + N(v));
const auto Grown = [](Parcel &p, size_t bytes) { return Fill(p, bytes) ? N(p.GetDataCapacity()) : "no room"; };
const auto Max = [](bool ok, const Parcel &p) { return B(ok) + " max=" + N(p.GetMaxCapacity()); };
const auto Object = [](Parcel &p) {
    sptr<IntParcelable> object = p.ReadStrongParcelable<IntParcelable>();
    return object == nullptr ? "nullptr" : "object v=" + N(object->value_);
};
const auto Token = [](Parcel &p) {
    return Join(std::vector{N(p.ReadInt32()), N(p.ReadInt32()), Q16(p.ReadString16())}, ", ", Same);
};
const auto RawData = [](Parcel &p) {
    return Join(std::vector{N(p.ReadInt32()), Buf(p.ReadUnpadBuffer(5), 5)}, ", ", Same);
};

// clang-format off
#define CALLS(name, ...) {name, [](Parcel &p, Steps &s) { s << __VA_ARGS__; }}
// clang-format on

std::map<std::string, std::function<void(Parcel &, Steps &)>> ReadCases()
{
    // clang-format off
    return {
        CALLS("empty_ReadInt32", N(p.ReadInt32()) << Int32(p, 12345)),
        CALLS("empty_ReadUint32", N(p.ReadUint32()) << Uint32(p, 777)),
        CALLS("empty_ReadBool", B(p.ReadBool()) << Bool(p, true)), CALLS("empty_ReadInt64", N(p.ReadInt64())),
        CALLS("empty_ReadString", Q(p.ReadString()) << Str(p, "keep")),
        CALLS("empty_ReadString16", Q16(p.ReadString16()) << Str16(p, u"keep")),
        CALLS("empty_ReadUInt32Vector", U32Vec(p, {99})), CALLS("empty_ReadStringVector", StrVec(p, {"keep"})),
        CALLS("empty_ReadBuffer", Buf(p.ReadBuffer(0), 0) << Buf(p.ReadBuffer(4), 4) << Buf(p.ReadUnpadBuffer(4), 4)),
        CALLS("empty_sizes", N(p.GetDataSize())
                                 << N(p.GetDataCapacity()) << N(p.GetMaxCapacity()) << N(p.GetWritableBytes())),
        CALLS("short2_reads", N(p.ReadInt32()) << Uint32(p, 777) << Bool(p, true) << Str(p, "keep") << Int16U(p, 0)),
        CALLS("int32_readback", N(p.ReadInt32()) << N(p.ReadInt32())), CALLS("uint32_as_int32", N(p.ReadInt32())),
        CALLS("bool_from_2", B(p.ReadBool()) << Bool(p, false)),
        CALLS("int64_short", N(p.ReadInt64()) << N(p.ReadInt32())),
        CALLS("string_ok_abcd", Q(p.ReadString()) << N(p.ReadInt32())),
        CALLS("string_len_neg1", Str(p, "keep") << N(p.ReadInt32())),
        CALLS("string_len_neg1_valueform", Q(p.ReadString())), CALLS("string_len_int32min", Str(p, "keep")),
        CALLS("string_len_int32max", Str(p, "keep")), CALLS("string_len_huge", Str(p, "keep") << N(p.ReadInt32())),
        CALLS("string_len_1000", Q(p.ReadString())), CALLS("string_len_eq_remaining", Str(p, "")),
        CALLS("string_no_nul", Str(p, "keep")), CALLS("string_dirty_pad", Str(p, "")), CALLS("string_len0", Str(p, "")),
        CALLS("string_len0_no_body", Str(p, "")), CALLS("string16_len_neg1", Str16(p, u"") << N(p.ReadInt32())),
        CALLS("string16_token", Q16(p.ReadString16())), CALLS("string_unpadded_end", Str(p, "")),
        CALLS("u32vec_ok", U32Vec(p, {99})), CALLS("u32vec_count_too_big", U32Vec(p, {99}) << N(p.ReadUint32())),
        CALLS("u32vec_count_neg", U32Vec(p, {99})), CALLS("u32vec_count0", U32Vec(p, {99})),
        CALLS("u32vec_partial_word", U32Vec(p, {99})), CALLS("strvec_ok", StrVec(p, {"keep"})),
        CALLS("strvec_count_gt_bytes", StrVec(p, {"keep"}) << Q(p.ReadString())),
        CALLS("strvec_count_gt_strings", StrVec(p, {"keep"})), CALLS("strvec_bad_elements", StrVec(p, {})),
        CALLS("strvec_count_neg", StrVec(p, {"keep"})), CALLS("strvec_count0", StrVec(p, {"keep"})),
        CALLS("buf_past_end", Buf(p.ReadBuffer(8), 8) << Buf(p.ReadUnpadBuffer(5), 5) << Buf(p.ReadBuffer(4), 4)
                                                      << Buf(p.ReadBuffer(1), 1) << Buf(p.ReadBuffer(0), 0)),
        CALLS("unpad_read_ok", Buf(p.ReadUnpadBuffer(5), 5) << N(p.ReadInt32())),
        CALLS("buffer_read_nopad", Buf(p.ReadBuffer(5), 5) << N(p.ReadInt32())),
        CALLS("unpad_read_past_data_end", Buf(p.ReadUnpadBuffer(1), 1) << N(p.GetReadPosition())),
        CALLS("parsefrom_readonly", N(p.ReadInt32()) << B(p.WriteInt32(1)) << N(p.ReadInt32())),
        CALLS("cap_growth", Grown(p, 4) << Grown(p, 64) << Grown(p, 68) << Grown(p, 4096) << Grown(p, 4100)
                                << Grown(p, 8196)),
        CALLS("cap_setmax", Max(p.SetMaxCapacity(100), p) << Max(p.SetMaxCapacity(204800), p)
                                << Max(p.SetMaxCapacity(204801), p) << Max(p.SetMaxCapacity(300000), p)
                                << Max(p.SetMaxCapacity(250000), p)),
        CALLS("cap_default_full_int32", N(p.GetDataSize()) + "; " + N(p.GetDataCapacity())
                                            << Size(p.WriteInt32(1), p) << Size(p.WriteBool(true), p)
                                            << Size(p.WriteString(""), p) << Size(p.WriteParcelable(nullptr), p)
                                            << Size(p.WriteStrongParcelable(nullptr), p)),
        CALLS("cap_partial_string", Tailed(p.WriteString("abcdefgh"), p, 4) << Size(p.WriteString("ab"), p)),
        CALLS("cap_exact_string", Size(p.WriteString("ab"), p)),
        CALLS("cap_partial_strvec", Tailed(p.WriteStringVector({"a", "b", "c"}), p, 12)),
        CALLS("cap_partial_u32vec", Tailed(p.WriteUInt32Vector({14, 17}), p, 8)),
        CALLS("cap_partial_parcelable", Tailed(p.WriteStrongParcelable(new IntParcelable(42)), p, 4)),
        CALLS("cap_int64_no_room", Size(p.WriteInt64(1), p)
                                       << Size(p.WriteBuffer(BYTES, 5), p) << Size(p.WriteUnpadBuffer(BYTES, 5), p)
                                       << Size(p.WriteBuffer(BYTES, 4), p)),
        CALLS("cap_raised_max", SizeCap(p.WriteInt32(1), p) << Size(p.WriteInt32(2), p)),
        CALLS("cap_setdata_small", Cap(p.SetDataCapacity(8), p)
                                       << SizeCap(R({p.WriteInt32(1), p.WriteInt32(2), p.WriteInt32(3)}), p)
                                       << Cap(p.SetDataCapacity(12), p) << Cap(p.SetDataCapacity(13), p)
                                       << SizeCap(R({p.WriteInt32(4), p.WriteInt32(5)}), p)),
        CALLS("cap_setdata_above_max",
              Cap(p.SetDataCapacity(204808), p) + " max=" + N(p.GetMaxCapacity())
                  << Size(Fill(p, 204808), p) << Size(p.WriteInt32(1), p)),
        CALLS("cap_bigstring_default", Bytes(p.WriteString(std::string(300000, 'x')), p)),
        CALLS("cap_bigstring_max_4190208", SizeCap(p.WriteString(std::string(4190207, 'x')), p)),
        CALLS("cap_bigstring_max_4190212", SizeCap(p.WriteString(std::string(4190207, 'x')), p)
                                               << Size(p.WriteInt32(1), p)),
        CALLS("cap_bigunpad_default",
              Size(R({p.WriteUint32(4190208), p.WriteUnpadBuffer(std::vector<uint8_t>(4190208, 0x5a).data(), 4190208)}),
                   p)),
        CALLS("cap_setdata_then_fill", N(p.GetDataCapacity()) + "; " + N(p.GetMaxCapacity())
                                           << SizeCap(p.WriteString(std::string(249995, 'x')), p)
                                           << SizeCap(p.WriteInt32(1), p)),
        CALLS("strongparcelable_flag0", Object(p)), CALLS("strongparcelable_flag1", Object(p)),
        CALLS("strongparcelable_flag7", Object(p)), CALLS("strongparcelable_empty", Object(p)),
        CALLS("strongparcelable_flag1_nobody", Object(p)), CALLS("derived_read_token_ok", Token(p)),
        CALLS("derived_read_token_missing", Token(p)), CALLS("derived_read_rawdata_ok", RawData(p) << N(p.ReadInt32())),
    };
    // clang-format on
}

using Row = std::map<std::string, std::string>;

// Rows keyed by the header's column names; '#' lines are commentary.
std::vector<Row> LoadTable(const std::string &name)
{
    std::ifstream in(std::string(TARNBY_GOLDEN_DIR) + "/" + name);
    std::vector<Row> rows;
    std::vector<std::string> header;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        std::vector<std::string> fields;
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, '\t');) {
            fields.push_back(cell);
        }
        if (header.empty()) {
            header = fields;
            continue;
        }
        rows.emplace_back();
        for (size_t i = 0; i < header.size(); i++) {
            rows.back()[header[i]] = i < fields.size() ? fields[i] : "";
        }
    }
    return rows;
}

size_t Number(const std::string &text, const std::string &key)
{
    size_t at = text.find(key);
    return at == std::string::npos ? 0 : std::stoul(text.substr(at + key.size()));
}

// The setup column as data: ParseFrom of the recorded bytes, or the limits it names, then the recorded bytes
// written one by one (or "(N bytes)" of int32 words). Only the token row records no bytes that matter.
void Prepare(Parcel &p, const Row &row)
{
    const std::string &setup = row.at("setup");
    const std::string &hex = row.at("setup_hex");
    std::vector<uint8_t> bytes;
    for (size_t i = 0; hex[0] != '(' && i + 1 < hex.size(); i += 2) {
        bytes.push_back(static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    }
    if (row.at("case") == "derived_read_token_ok") {
        ASSERT_TRUE(p.WriteInt32(0x100) && p.WriteInt32(0) && p.WriteString16(SERVICE));
        return;
    }
    if (setup.rfind("ParseFrom", 0) == 0) {
        auto *copy = static_cast<uint8_t *>(malloc(bytes.size()));
        memcpy(copy, bytes.data(), bytes.size());
        ASSERT_TRUE(p.ParseFrom(reinterpret_cast<uintptr_t>(copy), bytes.size()));
        return;
    }
    size_t max = Number(setup, "SetMaxCapacity("), capacity = Number(setup, "SetDataCapacity(");
    ASSERT_TRUE((max == 0 || p.SetMaxCapacity(max)) && (capacity == 0 || p.SetDataCapacity(capacity)));
    for (uint8_t byte : bytes) {
        ASSERT_TRUE(p.WriteUint8Unaligned(byte));
    }
    ASSERT_TRUE(Fill(p, Number(hex, "(")));
}

// Runs `check` on every row of `file` with its replay; every replay must meet its row.
template <typename Cases, typename Check>
void Replay(const std::string &file, size_t rows, Cases cases, Check check)
{
    std::vector<Row> table = LoadTable(file);
    ASSERT_EQ(table.size(), rows);
    for (const Row &row : table) {
        SCOPED_TRACE(row.at("case") + ": " + row.at(row.count("ops") ? "ops" : "calls"));
        auto found = cases.find(row.at("case"));
        ASSERT_NE(found, cases.end()) << "no replay";
        Parcel parcel;
        check(row, parcel, found->second);
        cases.erase(found);
    }
    EXPECT_TRUE(cases.empty()) << cases.begin()->first << " replays no recorded row";
}
} // namespace

TEST(ParcelGoldenTest, EveryWriteRowGivesThePlatformBytes)
{
    Replay("parcel_vectors.tsv", 67, WriteCases(), [](const Row &row, Parcel &parcel, const auto &replay) {
        std::string outcome = "returns " + replay(parcel);
        outcome += "; size " + N(parcel.GetDataSize());
        std::string notes = row.at("notes") + ";";
        EXPECT_EQ(notes.substr(0, notes.find(';', notes.find("; size") + 1)), outcome);
        EXPECT_EQ(Hex(parcel), row.at("hex"));
        Parcel roomy; // the same bytes when the storage is already there (the one-pass paths)
        ASSERT_TRUE(roomy.SetDataCapacity(4096));
        EXPECT_EQ("returns " + replay(roomy), outcome.substr(0, outcome.find("; size")));
        EXPECT_EQ(Hex(roomy), row.at("hex"));
    });
}

TEST(ParcelGoldenTest, EveryReadRowBehavesAsOnThePlatform)
{
    Replay("parcel_reads.tsv", 71, ReadCases(), [](const Row &row, Parcel &parcel, const auto &replay) {
        SCOPED_TRACE(row.at("setup"));
        Prepare(parcel, row);
        Steps steps{parcel, "", "", ""};
        replay(parcel, steps);
        EXPECT_EQ((std::vector<std::string>{steps.results, steps.readable, steps.positions}),
                  (std::vector<std::string>{row.at("results"), row.at("readable_after"), row.at("pos_after")}));
    });
}
