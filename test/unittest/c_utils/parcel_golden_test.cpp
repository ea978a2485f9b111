// Replays every recorded platform row (../shared/golden) against the host Parcel. Each case name maps to a
// lambda that performs the row's calls and renders the outcome in the file's own notation; the file decides
// what is right.
#include <gtest/gtest.h>
#include <sys/stat.h>

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

constexpr size_t KIB200 = 204800;
const std::u16string SERVICE_TOKEN = u"ohos.ITarnby.ITarnbyService";

std::string Hex(const uint8_t *data, size_t size)
{
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (size_t i = 0; i < size; i++) {
        out.push_back(digits[data[i] >> 4]);
        out.push_back(digits[data[i] & 0xf]);
    }
    return out;
}

std::string DataHex(const Parcel &parcel, size_t from = 0)
{
    const auto *data = reinterpret_cast<const uint8_t *>(parcel.GetData());
    size_t size = parcel.GetDataSize();
    return from < size ? Hex(data + from, size - from) : "";
}

std::string B(bool value)
{
    return value ? "true" : "false";
}

std::string N(long long value)
{
    return std::to_string(value);
}

// Return values of a call sequence, "true,true,false".
std::string R(std::initializer_list<bool> results)
{
    std::string out;
    for (bool result : results) {
        out += (out.empty() ? "" : ",") + B(result);
    }
    return out;
}

std::string Q(const std::string &text)
{
    return "\"" + text + "\"";
}

// Golden strings are ASCII; a local narrowing keeps the library's converter out of the comparison.
std::string Q16(const std::u16string &text)
{
    std::string narrow;
    for (char16_t unit : text) {
        narrow.push_back(unit < 0x80 ? static_cast<char>(unit) : '?');
    }
    return "u" + Q(narrow);
}

template <typename T>
std::string V(const std::vector<T> &items)
{
    std::string out = "v={";
    for (size_t i = 0; i < items.size(); i++) {
        out += (i == 0 ? "" : ", ") + N(items[i]);
    }
    return out + "}";
}

std::string V(const std::vector<std::string> &items)
{
    std::string out = "v={";
    for (size_t i = 0; i < items.size(); i++) {
        out += (i == 0 ? "" : ", ") + Q(items[i]);
    }
    return out + "}";
}

std::string Buf(const uint8_t *data, size_t length)
{
    if (data == nullptr) {
        return "nullptr";
    }
    return "non-null -> " + (length == 0 ? std::string("(0 bytes)") : Hex(data, length));
}

std::string Obj(const sptr<IntParcelable> &object)
{
    return object == nullptr ? "nullptr" : "object v=" + N(object->value_);
}

std::string Size(const Parcel &p)
{
    return "size=" + N(p.GetDataSize());
}

std::string Cap(const Parcel &p)
{
    return "cap=" + N(p.GetDataCapacity());
}

// The call runs while the arguments are evaluated; the state is read afterwards, in the body.
std::string SizeAfter(bool result, const Parcel &p)
{
    return B(result) + " " + Size(p);
}

std::string CapAfter(bool result, const Parcel &p)
{
    return B(result) + " " + Cap(p);
}

bool FillInt32(Parcel &p, size_t count)
{
    bool all = true;
    for (size_t i = 0; i < count; i++) {
        all = p.WriteInt32(static_cast<int32_t>(i)) && all;
    }
    return all;
}

void FillTo(Parcel &p, size_t bytes)
{
    while (p.GetDataSize() < bytes) {
        p.WriteInt32(0);
    }
}

void ParseCopy(Parcel &p, std::initializer_list<uint8_t> bytes)
{
    auto *copy = static_cast<uint8_t *>(malloc(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), copy);
    p.ParseFrom(reinterpret_cast<uintptr_t>(copy), bytes.size());
}

// ---------------------------------------------------------------- write rows (parcel_vectors.tsv)

using WriteCase = std::function<std::string(Parcel &)>;

std::string S300()
{
    std::string text;
    for (int i = 0; i < 300; i++) {
        text.push_back(static_cast<char>('a' + i % 26));
    }
    return text;
}

std::map<std::string, WriteCase> ScalarWriteCases()
{
    return {
        {"int32_7", [](Parcel &p) { return R({p.WriteInt32(7)}); }},
        {"int32_neg1", [](Parcel &p) { return R({p.WriteInt32(-1)}); }},
        {"int32_0x12345678", [](Parcel &p) { return R({p.WriteInt32(0x12345678)}); }},
        {"int32_min", [](Parcel &p) { return R({p.WriteInt32(INT32_MIN)}); }},
        {"uint32_14", [](Parcel &p) { return R({p.WriteUint32(14)}); }},
        {"uint32_max", [](Parcel &p) { return R({p.WriteUint32(0xFFFFFFFF)}); }},
        {"uint32_0x1b8003ec", [](Parcel &p) { return R({p.WriteUint32(0x1B8003EC)}); }},
        {"bool_true", [](Parcel &p) { return R({p.WriteBool(true)}); }},
        {"bool_false", [](Parcel &p) { return R({p.WriteBool(false)}); }},
        {"int64_1", [](Parcel &p) { return R({p.WriteInt64(1)}); }},
        {"int64_neg2", [](Parcel &p) { return R({p.WriteInt64(-2)}); }},
        {"int64_0x0102030405060708", [](Parcel &p) { return R({p.WriteInt64(0x0102030405060708)}); }},
        {"int32_then_int64",
         [](Parcel &p) {
             return R({p.WriteInt32(1), p.WriteInt64(2)});
         }},
        {"uint64_max", [](Parcel &p) { return R({p.WriteUint64(0xFFFFFFFFFFFFFFFF)}); }},
        {"int8_neg1", [](Parcel &p) { return R({p.WriteInt8(-1)}); }},
        {"uint8_255", [](Parcel &p) { return R({p.WriteUint8(255)}); }},
        {"int16_neg2", [](Parcel &p) { return R({p.WriteInt16(-2)}); }},
    };
}

std::map<std::string, WriteCase> TextWriteCases()
{
    return {
        {"string_empty", [](Parcel &p) { return R({p.WriteString("")}); }},
        {"string_a", [](Parcel &p) { return R({p.WriteString("a")}); }},
        {"string_abc", [](Parcel &p) { return R({p.WriteString("abc")}); }},
        {"string_abcd", [](Parcel &p) { return R({p.WriteString("abcd")}); }},
        {"string_hello", [](Parcel &p) { return R({p.WriteString("hello")}); }},
        {"string_300", [](Parcel &p) { return R({p.WriteString(S300())}); }},
        {"string_embedded_nul", [](Parcel &p) { return R({p.WriteString(std::string("a\0b", 3))}); }},
        {"string_utf8", [](Parcel &p) { return R({p.WriteString("\xc3\xa9")}); }},
        {"string16_empty", [](Parcel &p) { return R({p.WriteString16(u"")}); }},
        {"string16_a", [](Parcel &p) { return R({p.WriteString16(u"a")}); }},
        {"string16_ab", [](Parcel &p) { return R({p.WriteString16(u"ab")}); }},
        {"string16_token", [](Parcel &p) { return R({p.WriteString16(SERVICE_TOKEN)}); }},
        {"string16_callback_token", [](Parcel &p) { return R({p.WriteString16(u"ohos.ITarnby.ITarnbyCallback")}); }},
        {"cstring_abc", [](Parcel &p) { return R({p.WriteCString("abc")}); }},
        {"string16_withlength_null", [](Parcel &p) { return R({p.WriteString16WithLength(nullptr, 3)}); }},
    };
}

std::map<std::string, WriteCase> VectorWriteCases()
{
    return {
        {"strvec_empty", [](Parcel &p) { return R({p.WriteStringVector({})}); }},
        {"strvec_one", [](Parcel &p) { return R({p.WriteStringVector({"abc"})}); }},
        {"strvec_three",
         [](Parcel &p) {
             return R({p.WriteStringVector({"a", "", "hello"})});
         }},
        {"strvec_three_b",
         [](Parcel &p) {
             return R({p.WriteStringVector({"x", "yz", "abcd"})});
         }},
        {"u32vec_empty", [](Parcel &p) { return R({p.WriteUInt32Vector({})}); }},
        {"u32vec_14_17",
         [](Parcel &p) {
             return R({p.WriteUInt32Vector({14, 17})});
         }},
        {"i32vec_1_neg1",
         [](Parcel &p) {
             return R({p.WriteInt32Vector({1, -1})});
         }},
        {"u8vec_1_2_3",
         [](Parcel &p) {
             return R({p.WriteUInt8Vector({1, 2, 3})});
         }},
        {"boolvec_t_f",
         [](Parcel &p) {
             return R({p.WriteBoolVector({true, false})});
         }},
        {"string16vec_two",
         [](Parcel &p) {
             return R({p.WriteString16Vector({u"a", u""})});
         }},
    };
}

const uint8_t BYTES[] = {0x11, 0x22, 0x33, 0x44, 0x55};
const uint8_t HELLO[] = {0x68, 0x65, 0x6c, 0x6c, 0x6f};

std::map<std::string, WriteCase> BufferWriteCases()
{
    return {
        {"buffer_0", [](Parcel &p) { return R({p.WriteBuffer(BYTES, 0)}); }},
        {"buffer_null", [](Parcel &p) { return R({p.WriteBuffer(nullptr, 4)}); }},
        {"buffer_1", [](Parcel &p) { return R({p.WriteBuffer(BYTES, 1)}); }},
        {"buffer_3", [](Parcel &p) { return R({p.WriteBuffer(BYTES, 3)}); }},
        {"buffer_4", [](Parcel &p) { return R({p.WriteBuffer(BYTES, 4)}); }},
        {"buffer_5", [](Parcel &p) { return R({p.WriteBuffer(BYTES, 5)}); }},
        {"unpad_0", [](Parcel &p) { return R({p.WriteUnpadBuffer(BYTES, 0)}); }},
        {"unpad_1", [](Parcel &p) { return R({p.WriteUnpadBuffer(BYTES, 1)}); }},
        {"unpad_3", [](Parcel &p) { return R({p.WriteUnpadBuffer(BYTES, 3)}); }},
        {"unpad_4", [](Parcel &p) { return R({p.WriteUnpadBuffer(BYTES, 4)}); }},
        {"unpad_5", [](Parcel &p) { return R({p.WriteUnpadBuffer(BYTES, 5)}); }},
        {"int32_then_unpad_1",
         [](Parcel &p) {
             const uint8_t ab = 0xAB;
             return R({p.WriteInt32(2), p.WriteUnpadBuffer(&ab, 1), p.WriteInt32(3)});
         }},
        {"mp_rawdata_1",
         [](Parcel &p) {
             const uint8_t ab = 0xAB;
             return R({p.WriteInt32(1), p.WriteUnpadBuffer(&ab, 1)});
         }},
        {"mp_rawdata_5",
         [](Parcel &p) {
             return R({p.WriteInt32(5), p.WriteUnpadBuffer(HELLO, 5)});
         }},
        {"mp_rawdata_8",
         [](Parcel &p) {
             const uint8_t eight[] = {1, 2, 3, 4, 5, 6, 7, 8};
             return R({p.WriteInt32(8), p.WriteUnpadBuffer(eight, 8)});
         }},
    };
}

std::map<std::string, WriteCase> CompositeWriteCases()
{
    return {
        {"strong_parcelable_42", [](Parcel &p) { return R({p.WriteStrongParcelable(new IntParcelable(42))}); }},
        {"strong_parcelable_null", [](Parcel &p) { return R({p.WriteStrongParcelable(nullptr)}); }},
        {"parcelable_null", [](Parcel &p) { return R({p.WriteParcelable(nullptr)}); }},
        {"parcelable_42",
         [](Parcel &p) {
             IntParcelable object(42);
             return R({p.WriteParcelable(&object)});
         }},
        {"mixed_str16_ints",
         [](Parcel &p) {
             return R({p.WriteString16(SERVICE_TOKEN), p.WriteInt32(103), p.WriteInt32(7), p.WriteInt32(0),
                       p.WriteInt32(0), p.WriteInt32(0)});
         }},
        {"mixed_record",
         [](Parcel &p) {
             return R({p.WriteInt32(0), p.WriteString("dev"), p.WriteUint32(14), p.WriteBool(true),
                       p.WriteStringVector({"a", "bc"}), p.WriteUInt32Vector({14, 17}),
                       p.WriteStrongParcelable(nullptr), p.WriteStrongParcelable(new IntParcelable(5)),
                       p.WriteString(""), p.WriteInt64(-1)});
         }},
        {"mixed_buffers",
         [](Parcel &p) {
             const uint8_t two[] = {0x01, 0x02};
             return R({p.WriteInt32(5), p.WriteUnpadBuffer(HELLO, 5), p.WriteString("x"), p.WriteBuffer(two, 2),
                       p.WriteBool(false)});
         }},
        {"mp_token_service",
         [](Parcel &p) {
             return R({p.WriteInt32(0x100), p.WriteInt32(0), p.WriteString16(SERVICE_TOKEN)});
         }},
        {"mp_token_callback",
         [](Parcel &p) {
             return R({p.WriteInt32(0x100), p.WriteInt32(0), p.WriteString16(u"ohos.ITarnby.ITarnbyCallback")});
         }},
        {"mp_token_empty",
         [](Parcel &p) {
             return R({p.WriteInt32(0x100), p.WriteInt32(0), p.WriteString16(u"")});
         }},
    };
}

std::map<std::string, WriteCase> AllWriteCases()
{
    std::map<std::string, WriteCase> all;
    for (const auto &group :
         {ScalarWriteCases(), TextWriteCases(), VectorWriteCases(), BufferWriteCases(), CompositeWriteCases()}) {
        all.insert(group.begin(), group.end());
    }
    return all;
}

// ---------------------------------------------------------------- read rows (parcel_reads.tsv)

// Results of a row's calls, each with the readable bytes and read position right after it.
class Steps {
public:
    explicit Steps(Parcel &parcel) : parcel_(parcel) {}

    void Add(const std::string &result)
    {
        results_.push_back(result);
        readable_.push_back(N(parcel_.GetReadableBytes()));
        positions_.push_back(N(parcel_.GetReadPosition()));
    }

    std::string Results() const
    {
        return Join(results_, " ; ");
    }
    std::string Readable() const
    {
        return Join(readable_, ",");
    }
    std::string Positions() const
    {
        return Join(positions_, ",");
    }

private:
    static std::string Join(const std::vector<std::string> &items, const std::string &separator)
    {
        std::string out;
        for (size_t i = 0; i < items.size(); i++) {
            out += (i == 0 ? "" : separator) + items[i];
        }
        return out;
    }

    Parcel &parcel_;
    std::vector<std::string> results_;
    std::vector<std::string> readable_;
    std::vector<std::string> positions_;
};

struct ReadCase {
    std::function<void(Parcel &)> setup;
    std::function<void(Parcel &, Steps &)> calls;
};

void Nothing(Parcel &) {}

void ReadInt32Out(Parcel &p, Steps &s, int32_t initial)
{
    int32_t v = initial;
    bool ok = p.ReadInt32(v);
    s.Add(B(ok) + " v=" + N(v));
}

void ReadUint32Out(Parcel &p, Steps &s, uint32_t initial)
{
    uint32_t v = initial;
    bool ok = p.ReadUint32(v);
    s.Add(B(ok) + " v=" + N(v));
}

void ReadBoolOut(Parcel &p, Steps &s, bool initial)
{
    bool b = initial;
    bool ok = p.ReadBool(b);
    s.Add(B(ok) + " b=" + B(b));
}

void ReadStringOut(Parcel &p, Steps &s, const std::string &initial)
{
    std::string text = initial;
    bool ok = p.ReadString(text);
    s.Add(B(ok) + " s=" + Q(text));
}

void ReadString16Out(Parcel &p, Steps &s, const std::u16string &initial)
{
    std::u16string text = initial;
    bool ok = p.ReadString16(text);
    s.Add(B(ok) + " s=" + Q16(text));
}

void ReadU32Vector(Parcel &p, Steps &s, std::vector<uint32_t> initial)
{
    bool ok = p.ReadUInt32Vector(&initial);
    s.Add(B(ok) + " " + V(initial));
}

void ReadStrVector(Parcel &p, Steps &s, std::vector<std::string> initial)
{
    bool ok = p.ReadStringVector(&initial);
    s.Add(B(ok) + " " + V(initial));
}

void ReadBufferStep(Parcel &p, Steps &s, size_t length)
{
    s.Add(Buf(p.ReadBuffer(length), length));
}

void ReadUnpadStep(Parcel &p, Steps &s, size_t length)
{
    s.Add(Buf(p.ReadUnpadBuffer(length), length));
}

std::map<std::string, ReadCase> EmptyReadCases()
{
    return {
        {"empty_ReadInt32",
         {Nothing,
          [](Parcel &p, Steps &s) {
              s.Add(N(p.ReadInt32()));
              ReadInt32Out(p, s, 12345);
          }}},
        {"empty_ReadUint32",
         {Nothing,
          [](Parcel &p, Steps &s) {
              s.Add(N(p.ReadUint32()));
              ReadUint32Out(p, s, 777);
          }}},
        {"empty_ReadBool",
         {Nothing,
          [](Parcel &p, Steps &s) {
              s.Add(B(p.ReadBool()));
              ReadBoolOut(p, s, true);
          }}},
        {"empty_ReadInt64", {Nothing, [](Parcel &p, Steps &s) { s.Add(N(p.ReadInt64())); }}},
        {"empty_ReadString",
         {Nothing,
          [](Parcel &p, Steps &s) {
              s.Add(Q(p.ReadString()));
              ReadStringOut(p, s, "keep");
          }}},
        {"empty_ReadString16",
         {Nothing,
          [](Parcel &p, Steps &s) {
              s.Add(Q16(p.ReadString16()));
              ReadString16Out(p, s, u"keep");
          }}},
        {"empty_ReadUInt32Vector", {Nothing, [](Parcel &p, Steps &s) { ReadU32Vector(p, s, {99}); }}},
        {"empty_ReadStringVector", {Nothing, [](Parcel &p, Steps &s) { ReadStrVector(p, s, {"keep"}); }}},
        {"empty_ReadBuffer",
         {Nothing,
          [](Parcel &p, Steps &s) {
              ReadBufferStep(p, s, 0);
              ReadBufferStep(p, s, 4);
              ReadUnpadStep(p, s, 4);
          }}},
        {"empty_sizes",
         {Nothing,
          [](Parcel &p, Steps &s) {
              s.Add(N(p.GetDataSize()));
              s.Add(N(p.GetDataCapacity()));
              s.Add(N(p.GetMaxCapacity()));
              s.Add(N(p.GetWritableBytes()));
          }}},
    };
}

std::map<std::string, ReadCase> ScalarReadCases()
{
    return {
        {"short2_reads",
         {[](Parcel &p) { p.WriteInt16Unaligned(0x0102); },
          [](Parcel &p, Steps &s) {
              s.Add(N(p.ReadInt32()));
              ReadUint32Out(p, s, 777);
              ReadBoolOut(p, s, true);
              ReadStringOut(p, s, "keep");
              int16_t v = 0;
              bool ok = p.ReadInt16Unaligned(v);
              s.Add(B(ok) + " v=" + N(v));
          }}},
        {"int32_readback",
         {[](Parcel &p) { p.WriteInt32(-7); },
          [](Parcel &p, Steps &s) {
              s.Add(N(p.ReadInt32()));
              s.Add(N(p.ReadInt32()));
          }}},
        {"uint32_as_int32",
         {[](Parcel &p) { p.WriteUint32(0xFFFFFFFF); }, [](Parcel &p, Steps &s) { s.Add(N(p.ReadInt32())); }}},
        {"bool_from_2",
         {[](Parcel &p) { p.WriteInt32(2), p.WriteInt32(2); },
          [](Parcel &p, Steps &s) {
              s.Add(B(p.ReadBool()));
              ReadBoolOut(p, s, false);
          }}},
        {"int64_short",
         {[](Parcel &p) { p.WriteInt32(1); },
          [](Parcel &p, Steps &s) {
              s.Add(N(p.ReadInt64()));
              s.Add(N(p.ReadInt32()));
          }}},
        {"parsefrom_readonly",
         {[](Parcel &p) {
              ParseCopy(p, {7, 0, 0, 0, 8, 0, 0, 0});
          },
          [](Parcel &p, Steps &s) {
              s.Add(N(p.ReadInt32()));
              s.Add(B(p.WriteInt32(1)));
              s.Add(N(p.ReadInt32()));
          }}},
    };
}

void WriteTwo(Parcel &p, int32_t first, int32_t second)
{
    p.WriteInt32(first);
    p.WriteInt32(second);
}

std::map<std::string, ReadCase> StringReadCases()
{
    return {
        {"string_ok_abcd",
         {[](Parcel &p) { p.WriteString("abcd"), p.WriteInt32(9); },
          [](Parcel &p, Steps &s) {
              s.Add(Q(p.ReadString()));
              s.Add(N(p.ReadInt32()));
          }}},
        {"string_len_neg1",
         {[](Parcel &p) { WriteTwo(p, -1, 0x64636261); },
          [](Parcel &p, Steps &s) {
              ReadStringOut(p, s, "keep");
              s.Add(N(p.ReadInt32()));
          }}},
        {"string_len_neg1_valueform",
         {[](Parcel &p) { WriteTwo(p, -1, 0x64636261); }, [](Parcel &p, Steps &s) { s.Add(Q(p.ReadString())); }}},
        {"string_len_int32min",
         {[](Parcel &p) { WriteTwo(p, INT32_MIN, 0); }, [](Parcel &p, Steps &s) { ReadStringOut(p, s, "keep"); }}},
        {"string_len_int32max",
         {[](Parcel &p) { WriteTwo(p, INT32_MAX, 0); }, [](Parcel &p, Steps &s) { ReadStringOut(p, s, "keep"); }}},
        {"string_len_huge",
         {[](Parcel &p) { WriteTwo(p, 0x7FFFFFFE, 0x64636261); },
          [](Parcel &p, Steps &s) {
              ReadStringOut(p, s, "keep");
              s.Add(N(p.ReadInt32()));
          }}},
        {"string_len_1000",
         {[](Parcel &p) { WriteTwo(p, 1000, 0x64636261); }, [](Parcel &p, Steps &s) { s.Add(Q(p.ReadString())); }}},
        {"string_len_eq_remaining",
         {[](Parcel &p) { p.WriteInt32(4), p.WriteBuffer("abcd", 4); },
          [](Parcel &p, Steps &s) { ReadStringOut(p, s, ""); }}},
        {"string_no_nul",
         {[](Parcel &p) { p.WriteInt32(3), p.WriteBuffer("abcd", 4); },
          [](Parcel &p, Steps &s) { ReadStringOut(p, s, "keep"); }}},
        {"string_dirty_pad",
         {[](Parcel &p) {
              const uint8_t body[] = {0x61, 0x00, 0x78, 0x79};
              p.WriteInt32(1), p.WriteBuffer(body, 4);
          },
          [](Parcel &p, Steps &s) { ReadStringOut(p, s, ""); }}},
        {"string_len0", {[](Parcel &p) { WriteTwo(p, 0, 0); }, [](Parcel &p, Steps &s) { ReadStringOut(p, s, ""); }}},
        {"string_len0_no_body",
         {[](Parcel &p) { p.WriteInt32(0); }, [](Parcel &p, Steps &s) { ReadStringOut(p, s, ""); }}},
        {"string16_len_neg1",
         {[](Parcel &p) { WriteTwo(p, -1, 5); },
          [](Parcel &p, Steps &s) {
              ReadString16Out(p, s, u"");
              s.Add(N(p.ReadInt32()));
          }}},
        {"string16_token",
         {[](Parcel &p) { p.WriteString16(SERVICE_TOKEN); },
          [](Parcel &p, Steps &s) { s.Add(Q16(p.ReadString16())); }}},
        {"string_unpadded_end",
         {[](Parcel &p) {
              ParseCopy(p, {1, 0, 0, 0, 0x61, 0});
          },
          [](Parcel &p, Steps &s) { ReadStringOut(p, s, ""); }}},
    };
}

std::map<std::string, ReadCase> VectorReadCases()
{
    return {
        {"u32vec_ok",
         {[](Parcel &p) {
              p.WriteUInt32Vector({14, 17});
          },
          [](Parcel &p, Steps &s) { ReadU32Vector(p, s, {99}); }}},
        {"u32vec_count_too_big",
         {[](Parcel &p) { p.WriteInt32(5), p.WriteUint32(14), p.WriteUint32(17); },
          [](Parcel &p, Steps &s) {
              ReadU32Vector(p, s, {99});
              s.Add(N(p.ReadUint32()));
          }}},
        {"u32vec_count_neg",
         {[](Parcel &p) { p.WriteInt32(-1), p.WriteUint32(14); },
          [](Parcel &p, Steps &s) { ReadU32Vector(p, s, {99}); }}},
        {"u32vec_count0", {[](Parcel &p) { p.WriteInt32(0); }, [](Parcel &p, Steps &s) { ReadU32Vector(p, s, {99}); }}},
        {"u32vec_partial_word",
         {[](Parcel &p) { p.WriteInt32(2), p.WriteUint32(14), p.WriteInt16Unaligned(1); },
          [](Parcel &p, Steps &s) { ReadU32Vector(p, s, {99}); }}},
        {"strvec_ok",
         {[](Parcel &p) {
              p.WriteStringVector({"a", "bc"});
          },
          [](Parcel &p, Steps &s) { ReadStrVector(p, s, {"keep"}); }}},
        {"strvec_count_gt_bytes",
         {[](Parcel &p) { p.WriteInt32(100), p.WriteString("abc"); },
          [](Parcel &p, Steps &s) {
              ReadStrVector(p, s, {"keep"});
              s.Add(Q(p.ReadString()));
          }}},
        {"strvec_count_gt_strings",
         {[](Parcel &p) { p.WriteInt32(3), p.WriteString("abc"); },
          [](Parcel &p, Steps &s) { ReadStrVector(p, s, {"keep"}); }}},
        {"strvec_bad_elements",
         {[](Parcel &p) { p.WriteInt32(2), p.WriteInt32(-1), p.WriteInt32(7); },
          [](Parcel &p, Steps &s) { ReadStrVector(p, s, {}); }}},
        {"strvec_count_neg",
         {[](Parcel &p) { p.WriteInt32(-1); }, [](Parcel &p, Steps &s) { ReadStrVector(p, s, {"keep"}); }}},
        {"strvec_count0",
         {[](Parcel &p) { p.WriteInt32(0); }, [](Parcel &p, Steps &s) { ReadStrVector(p, s, {"keep"}); }}},
    };
}

std::map<std::string, ReadCase> BufferReadCases()
{
    return {
        {"buf_past_end",
         {[](Parcel &p) { p.WriteInt32(0x44332211); },
          [](Parcel &p, Steps &s) {
              ReadBufferStep(p, s, 8);
              ReadUnpadStep(p, s, 5);
              ReadBufferStep(p, s, 4);
              ReadBufferStep(p, s, 1);
              ReadBufferStep(p, s, 0);
          }}},
        {"unpad_read_ok",
         {[](Parcel &p) { p.WriteUnpadBuffer(BYTES, 5), p.WriteInt32(9); },
          [](Parcel &p, Steps &s) {
              ReadUnpadStep(p, s, 5);
              s.Add(N(p.ReadInt32()));
          }}},
        {"buffer_read_nopad",
         {[](Parcel &p) { p.WriteUnpadBuffer(BYTES, 5), p.WriteInt32(9); },
          [](Parcel &p, Steps &s) {
              ReadBufferStep(p, s, 5);
              s.Add(N(p.ReadInt32()));
          }}},
        {"unpad_read_past_data_end",
         {[](Parcel &p) { p.WriteUint8Unaligned(0x11); },
          [](Parcel &p, Steps &s) {
              ReadUnpadStep(p, s, 1);
              s.Add(N(p.GetReadPosition()));
          }}},
    };
}

std::map<std::string, ReadCase> ParcelableReadCases()
{
    auto readObject = [](Parcel &p, Steps &s) { s.Add(Obj(p.ReadStrongParcelable<IntParcelable>())); };
    return {
        {"strongparcelable_flag0", {[](Parcel &p) { WriteTwo(p, 0, 42); }, readObject}},
        {"strongparcelable_flag1", {[](Parcel &p) { WriteTwo(p, 1, 42); }, readObject}},
        {"strongparcelable_flag7", {[](Parcel &p) { WriteTwo(p, 7, 42); }, readObject}},
        {"strongparcelable_empty", {Nothing, readObject}},
        {"strongparcelable_flag1_nobody", {[](Parcel &p) { p.WriteInt32(1); }, readObject}},
        {"derived_read_token_ok",
         {[](Parcel &p) { p.WriteInt32(0x100), p.WriteInt32(0), p.WriteString16(SERVICE_TOKEN); },
          [](Parcel &p, Steps &s) {
              std::string policy = N(p.ReadInt32());
              std::string workSource = N(p.ReadInt32());
              s.Add(policy + ", " + workSource + ", " + Q16(p.ReadString16()));
          }}},
        {"derived_read_token_missing",
         {[](Parcel &p) { WriteTwo(p, 103, 7); },
          [](Parcel &p, Steps &s) {
              std::string policy = N(p.ReadInt32());
              std::string workSource = N(p.ReadInt32());
              s.Add(policy + ", " + workSource + ", " + Q16(p.ReadString16()));
          }}},
        {"derived_read_rawdata_ok",
         {[](Parcel &p) { p.WriteInt32(5), p.WriteUnpadBuffer(HELLO, 5), p.WriteInt32(9); },
          [](Parcel &p, Steps &s) {
              std::string size = N(p.ReadInt32());
              s.Add(size + ", " + Buf(p.ReadUnpadBuffer(5), 5));
              s.Add(N(p.ReadInt32()));
          }}},
    };
}

std::map<std::string, ReadCase> CapacityLimitCases()
{
    return {
        {"cap_growth",
         {Nothing,
          [](Parcel &p, Steps &s) {
              for (size_t target : {4, 64, 68, 4096, 4100, 8196}) {
                  FillTo(p, target);
                  s.Add(N(p.GetDataCapacity()));
              }
          }}},
        {"cap_setmax",
         {Nothing,
          [](Parcel &p, Steps &s) {
              for (size_t max : {100, 204800, 204801, 300000, 250000}) {
                  bool ok = p.SetMaxCapacity(max);
                  s.Add(B(ok) + " max=" + N(p.GetMaxCapacity()));
              }
          }}},
        {"cap_default_full_int32",
         {[](Parcel &p) { FillInt32(p, 51200); },
          [](Parcel &p, Steps &s) {
              s.Add(N(p.GetDataSize()) + "; " + N(p.GetDataCapacity()));
              s.Add(SizeAfter(p.WriteInt32(1), p));
              s.Add(SizeAfter(p.WriteBool(true), p));
              s.Add(SizeAfter(p.WriteString(""), p));
              s.Add(SizeAfter(p.WriteParcelable(nullptr), p));
              s.Add(SizeAfter(p.WriteStrongParcelable(nullptr), p));
          }}},
        {"cap_partial_string",
         {[](Parcel &p) { FillInt32(p, 51198); },
          [](Parcel &p, Steps &s) {
              bool ok = p.WriteString("abcdefgh");
              s.Add(B(ok) + " " + Size(p) + " tail=" + DataHex(p, KIB200 - 8));
              s.Add(SizeAfter(p.WriteString("ab"), p));
          }}},
        {"cap_exact_string",
         {[](Parcel &p) { FillInt32(p, 51198); },
          [](Parcel &p, Steps &s) { s.Add(SizeAfter(p.WriteString("ab"), p)); }}},
        {"cap_partial_strvec",
         {[](Parcel &p) { FillInt32(p, 51197); },
          [](Parcel &p, Steps &s) {
              bool ok = p.WriteStringVector({"a", "b", "c"});
              s.Add(B(ok) + " " + Size(p) + " tail=" + DataHex(p, KIB200 - 12));
          }}},
        {"cap_partial_u32vec",
         {[](Parcel &p) { FillInt32(p, 51198); },
          [](Parcel &p, Steps &s) {
              bool ok = p.WriteUInt32Vector({14, 17});
              s.Add(B(ok) + " " + Size(p) + " tail=" + DataHex(p, KIB200 - 8));
          }}},
        {"cap_partial_parcelable",
         {[](Parcel &p) { FillInt32(p, 51199); },
          [](Parcel &p, Steps &s) {
              bool ok = p.WriteStrongParcelable(new IntParcelable(42));
              s.Add(B(ok) + " " + Size(p) + " tail=" + DataHex(p, KIB200 - 4));
          }}},
        {"cap_int64_no_room",
         {[](Parcel &p) { FillInt32(p, 51199); },
          [](Parcel &p, Steps &s) {
              s.Add(SizeAfter(p.WriteInt64(1), p));
              s.Add(SizeAfter(p.WriteBuffer(BYTES, 5), p));
              s.Add(SizeAfter(p.WriteUnpadBuffer(BYTES, 5), p));
              s.Add(SizeAfter(p.WriteBuffer(BYTES, 4), p));
          }}},
        {"cap_raised_max",
         {[](Parcel &p) { p.SetMaxCapacity(204804), FillInt32(p, 51200); },
          [](Parcel &p, Steps &s) {
              bool ok = p.WriteInt32(1);
              s.Add(B(ok) + " " + Size(p) + " " + Cap(p));
              s.Add(SizeAfter(p.WriteInt32(2), p));
          }}},
    };
}

std::map<std::string, ReadCase> CapacityPresetCases()
{
    return {
        {"cap_setdata_small",
         {Nothing,
          [](Parcel &p, Steps &s) {
              s.Add(CapAfter(p.SetDataCapacity(8), p));
              std::string writes = R({p.WriteInt32(1), p.WriteInt32(2), p.WriteInt32(3)});
              s.Add(writes + " " + Size(p) + " " + Cap(p));
              s.Add(CapAfter(p.SetDataCapacity(12), p));
              s.Add(CapAfter(p.SetDataCapacity(13), p));
              writes = R({p.WriteInt32(4), p.WriteInt32(5)});
              s.Add(writes + " " + Size(p) + " " + Cap(p));
          }}},
        {"cap_setdata_above_max",
         {Nothing,
          [](Parcel &p, Steps &s) {
              bool ok = p.SetDataCapacity(204808);
              s.Add(B(ok) + " " + Cap(p) + " max=" + N(p.GetMaxCapacity()));
              s.Add(SizeAfter(FillInt32(p, 51202), p));
              s.Add(SizeAfter(p.WriteInt32(1), p));
          }}},
        {"cap_bigstring_default",
         {Nothing,
          [](Parcel &p, Steps &s) {
              bool ok = p.WriteString(std::string(300000, 'x'));
              s.Add(B(ok) + " " + Size(p) + " bytes=" + DataHex(p));
          }}},
        {"cap_bigstring_max_4190208",
         {[](Parcel &p) { p.SetMaxCapacity(4190208); },
          [](Parcel &p, Steps &s) {
              bool ok = p.WriteString(std::string(4190207, 'x'));
              s.Add(B(ok) + " " + Size(p) + " " + Cap(p));
          }}},
        {"cap_bigstring_max_4190212",
         {[](Parcel &p) { p.SetMaxCapacity(4190212); },
          [](Parcel &p, Steps &s) {
              bool ok = p.WriteString(std::string(4190207, 'x'));
              s.Add(B(ok) + " " + Size(p) + " " + Cap(p));
              s.Add(SizeAfter(p.WriteInt32(1), p));
          }}},
        {"cap_bigunpad_default",
         {[](Parcel &p) { p.WriteInt32(7); },
          [](Parcel &p, Steps &s) {
              std::vector<uint8_t> big(4190208, 0x5a);
              std::string writes = R({p.WriteUint32(4190208), p.WriteUnpadBuffer(big.data(), big.size())});
              s.Add(writes + " " + Size(p));
          }}},
        {"cap_setdata_then_fill",
         {[](Parcel &p) { p.SetMaxCapacity(300000), p.SetDataCapacity(250000); },
          [](Parcel &p, Steps &s) {
              s.Add(N(p.GetDataCapacity()) + "; " + N(p.GetMaxCapacity()));
              bool ok = p.WriteString(std::string(249995, 'x'));
              s.Add(B(ok) + " " + Size(p) + " " + Cap(p));
              ok = p.WriteInt32(1);
              s.Add(B(ok) + " " + Size(p) + " " + Cap(p));
          }}},
    };
}

std::map<std::string, ReadCase> AllReadCases()
{
    std::map<std::string, ReadCase> all;
    for (const auto &group : {EmptyReadCases(), ScalarReadCases(), StringReadCases(), VectorReadCases(),
                              BufferReadCases(), ParcelableReadCases(), CapacityLimitCases(), CapacityPresetCases()}) {
        all.insert(group.begin(), group.end());
    }
    return all;
}

// ---------------------------------------------------------------- the file side

using Row = std::map<std::string, std::string>;

std::vector<std::string> SplitTabs(const std::string &line)
{
    std::vector<std::string> fields;
    size_t start = 0;
    for (;;) {
        size_t tab = line.find('\t', start);
        fields.push_back(line.substr(start, tab == std::string::npos ? std::string::npos : tab - start));
        if (tab == std::string::npos) {
            return fields;
        }
        start = tab + 1;
    }
}

// Rows keyed by the header's column names; '#' lines are commentary.
std::vector<Row> LoadTable(const std::string &path)
{
    std::ifstream in(path);
    std::vector<Row> rows;
    std::vector<std::string> header;
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        std::vector<std::string> fields = SplitTabs(line);
        if (header.empty()) {
            header = fields;
            continue;
        }
        Row row;
        for (size_t i = 0; i < header.size(); i++) {
            row[header[i]] = i < fields.size() ? fields[i] : "";
        }
        rows.push_back(row);
    }
    return rows;
}

bool GoldenDirExists()
{
    struct stat info {};
    return stat(TARNBY_GOLDEN_DIR, &info) == 0 && S_ISDIR(info.st_mode);
}

// "returns true,true; size 12; ..." -> {"true,true", "12"}
std::pair<std::string, std::string> ParseWriteNotes(const std::string &notes)
{
    const std::string returns = "returns ";
    const std::string size = "; size ";
    size_t sizeAt = notes.find(size);
    if (notes.compare(0, returns.size(), returns) != 0 || sizeAt == std::string::npos) {
        return {"?", "?"};
    }
    size_t sizeEnd = notes.find(';', sizeAt + size.size());
    return {notes.substr(returns.size(), sizeAt - returns.size()),
            notes.substr(sizeAt + size.size(),
                         sizeEnd == std::string::npos ? std::string::npos : sizeEnd - sizeAt - size.size())};
}

bool IsHex(const std::string &text)
{
    return !text.empty() && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

// setup_hex is either the bytes, "(N bytes)" for big fills, or empty for a parcel left untouched.
void ExpectSetup(const Parcel &p, const std::string &setupHex)
{
    if (IsHex(setupHex)) {
        EXPECT_EQ(DataHex(p), setupHex);
    } else if (setupHex.empty()) {
        EXPECT_EQ(p.GetDataSize(), 0u);
    } else {
        EXPECT_EQ("(" + N(p.GetDataSize()) + " bytes)", setupHex);
    }
}

} // namespace

TEST(ParcelGoldenTest, EveryWriteVectorMatchesThePlatformBytes)
{
    if (!GoldenDirExists()) {
        GTEST_SKIP() << "no recorded vectors at " << TARNBY_GOLDEN_DIR;
    }
    std::vector<Row> rows = LoadTable(std::string(TARNBY_GOLDEN_DIR) + "/parcel_vectors.tsv");
    ASSERT_FALSE(rows.empty());
    std::map<std::string, WriteCase> cases = AllWriteCases();
    for (const Row &row : rows) {
        const std::string &name = row.at("case");
        SCOPED_TRACE(name + ": " + row.at("ops"));
        auto found = cases.find(name);
        if (found == cases.end()) {
            ADD_FAILURE() << "no host replay for recorded case " << name;
            continue;
        }
        Parcel parcel;
        std::string returns = found->second(parcel);
        auto expected = ParseWriteNotes(row.at("notes"));
        EXPECT_EQ(returns, expected.first);
        EXPECT_EQ(N(parcel.GetDataSize()), expected.second);
        EXPECT_EQ(DataHex(parcel), row.at("hex"));
        cases.erase(found);
    }
    for (const auto &unused : cases) {
        ADD_FAILURE() << "replay " << unused.first << " has no recorded row";
    }
}

TEST(ParcelGoldenTest, EveryReadRowMatchesThePlatformBehaviour)
{
    if (!GoldenDirExists()) {
        GTEST_SKIP() << "no recorded vectors at " << TARNBY_GOLDEN_DIR;
    }
    std::vector<Row> rows = LoadTable(std::string(TARNBY_GOLDEN_DIR) + "/parcel_reads.tsv");
    ASSERT_FALSE(rows.empty());
    std::map<std::string, ReadCase> cases = AllReadCases();
    for (const Row &row : rows) {
        const std::string &name = row.at("case");
        SCOPED_TRACE(name + ": " + row.at("setup") + " | " + row.at("calls"));
        auto found = cases.find(name);
        if (found == cases.end()) {
            ADD_FAILURE() << "no host replay for recorded case " << name;
            continue;
        }
        Parcel parcel;
        found->second.setup(parcel);
        ExpectSetup(parcel, row.at("setup_hex"));
        Steps steps(parcel);
        found->second.calls(parcel, steps);
        EXPECT_EQ(steps.Results(), row.at("results"));
        EXPECT_EQ(steps.Readable(), row.at("readable_after"));
        EXPECT_EQ(steps.Positions(), row.at("pos_after"));
        cases.erase(found);
    }
    for (const auto &unused : cases) {
        ADD_FAILURE() << "replay " << unused.first << " has no recorded row";
    }
}
