// SPDX-License-Identifier: Apache-2.0
// Parcel behaviour beyond the recorded rows: vector element widths, the terminator rule, cursors after ParseFrom,
// counts bounded by what the bytes can hold, binder objects in the data, allocators and the write-fault switch.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "host_parcel.h"
#include "parcel.h"
#include "test_parcelable.h"

using namespace OHOS;

namespace {
// Writes `values`, checks the bytes, reads them back from a fresh cursor and checks the cursor ends on the data end.
template <typename T>
void ExpectVector(bool (Parcel::*write)(const std::vector<T> &), bool (Parcel::*read)(std::vector<T> *),
                  const std::vector<T> &values, const std::string &hex)
{
    Parcel parcel;
    ASSERT_TRUE((parcel.*write)(values));
    EXPECT_EQ(Hex(parcel), hex);
    std::vector<T> back;
    EXPECT_TRUE((parcel.*read)(&back));
    EXPECT_EQ(back, values);
    EXPECT_EQ(parcel.GetReadPosition(), parcel.GetDataSize());
}

#define VECTOR(Name, T, ...) ExpectVector<T>(&Parcel::Write##Name##Vector, &Parcel::Read##Name##Vector, __VA_ARGS__)

// A parcel that records binder objects like the IPC layer does.
class ObjectParcel : public Parcel {
public:
    bool WriteObject(uint64_t handle)
    {
        parcel_flat_binder_object flat{}; // written the platform's way: the header's type, then the object
        flat.hdr.type = BINDER_TYPE_BINDER;
        flat.flags = 0x17f;
        flat.binder = handle;
        size_t offset = GetWritePosition();
        return WriteBuffer(&flat, sizeof(flat)) && WriteObjectOffset(offset);
    }
};

// Reads a whole flat object as the record's value (copied out: the data is only 4-byte aligned).
struct Handle : public RefBase {
    uint64_t handle = 0;
    static Handle *Unmarshalling(Parcel &parcel)
    {
        const auto *flat = parcel.ReadBuffer(sizeof(parcel_flat_binder_object));
        auto *out = flat == nullptr ? nullptr : new Handle();
        if (out != nullptr) {
            memcpy(&out->handle, flat + offsetof(parcel_flat_binder_object, binder), sizeof(out->handle));
        }
        return out;
    }
};

// Journals its calls (a, r, d); leaks of the allocator itself show in the ASan build.
struct JournalAllocator : public DefaultAllocator {
    static inline std::string calls;
    void *Alloc(size_t size) override
    {
        calls += "a";
        return DefaultAllocator::Alloc(size);
    }
    void *Realloc(void *data, size_t size) override
    {
        calls += "r";
        return DefaultAllocator::Realloc(data, size);
    }
    void Dealloc(void *data) override
    {
        calls += "d";
        DefaultAllocator::Dealloc(data);
    }
};
} // namespace

// bool and int16 are widened to words like their scalar writers; int8, uint8 and uint16 are packed and padded once.
TEST(ParcelVectorTest, EveryElementTypeHasThePlatformWidthAndCountsAreBoundedByIt)
{
    VECTOR(Int16, int16_t, {1, -2, 3}, "0300000001000000feffffff03000000");
    VECTOR(Bool, bool, {true, false, true}, "03000000010000000000000001000000");
    VECTOR(Int8, int8_t, {1, -2, 3}, "0300000001fe0300");
    VECTOR(UInt8, uint8_t, {1, 2, 3, 4, 5}, "050000000102030405000000");
    VECTOR(UInt16, uint16_t, {1, 0xfffe, 3}, "030000000100feff03000000");
    VECTOR(Int32, int32_t, {7, -1}, "0200000007000000ffffffff");
    VECTOR(UInt32, uint32_t, {}, "00000000");
    VECTOR(Int64, int64_t, {1, -2}, "020000000100000000000000feffffffffffffff");
    VECTOR(UInt64, uint64_t, {0x0102030405060708}, "010000000807060504030201");
    VECTOR(Float, float, {1.0f, -2.0f}, "020000000000803f000000c0");
    VECTOR(Double, double, {1.0}, "01000000000000000000f03f");
    VECTOR(String16, std::u16string, {u"ab"}, "01000000020000006100620000000000");
    // A count is refused, consumed and with the vector untouched, unless count elements of their wire size fit.
    auto parcelWith = [](int32_t count, size_t zeroBytes) {
        auto parcel = std::make_unique<Parcel>();
        parcel->SetMaxCapacity(1 << 20);
        parcel->WriteInt32(count);
        std::vector<uint8_t> zeros(zeroBytes);
        parcel->WriteBuffer(zeros.data(), zeros.size());
        return parcel;
    };
    std::vector<int16_t> shorts = {9}; // 3 fit as 2-byte values, not as 4-byte words
    EXPECT_TRUE(!parcelWith(3, 8)->ReadInt16Vector(&shorts) && parcelWith(2, 8)->ReadInt16Vector(&shorts));
    std::vector<bool> flags = {true};
    auto boolParcel = parcelWith(3, 8);
    EXPECT_FALSE(boolParcel->ReadBoolVector(&flags));
    EXPECT_TRUE(flags == std::vector<bool>{true} && boolParcel->GetReadPosition() == 4u);
    std::vector<double> doubles;
    EXPECT_FALSE(parcelWith(2, 12)->ReadDoubleVector(&doubles));
    // A count is checked against the readable bytes, as on the device: 100000 bytes take 100000 strings, the
    // 12500 there and the rest empty; one more is refused with the vector as it was.
    std::vector<std::string> texts = {"kept"};
    EXPECT_TRUE(!parcelWith(100001, 100000)->ReadStringVector(&texts) && texts == std::vector<std::string>{"kept"});
    EXPECT_TRUE(parcelWith(100000, 100000)->ReadStringVector(&texts) && texts.size() == 100000u);
    std::vector<std::u16string> texts16;
    EXPECT_FALSE(parcelWith(100001, 100000)->ReadString16Vector(&texts16));
    EXPECT_TRUE(parcelWith(100000, 100000)->ReadString16Vector(&texts16) && texts16.size() == 100000u);
    // The last element may lack its pad at the very end of received data.
    auto *block = static_cast<uint8_t *>(calloc(9, 1));
    block[0] = 1;
    Parcel received;
    ASSERT_TRUE(received.ParseFrom(reinterpret_cast<uintptr_t>(block), 9));
    EXPECT_TRUE(received.ReadStringVector(&texts) && texts == std::vector<std::string>{""});
}

TEST(ParcelWriteTest, CursorsAfterParseFromAndRewindUnalignedBoolsTheTerminatorRuleAndWholeBinderObjects)
{
    auto *block = static_cast<uint8_t *>(malloc(8));
    memcpy(block, "\x07\0\0\0\x08\0\0\0", 8);
    Parcel parcel;
    ASSERT_TRUE(parcel.ParseFrom(reinterpret_cast<uintptr_t>(block), 8));
    // write and read positions, data size, capacity, readable bytes
    EXPECT_EQ((std::vector<size_t>{parcel.GetWritePosition(), parcel.GetReadPosition(), parcel.GetDataSize(),
                                   parcel.GetDataCapacity(), parcel.GetReadableBytes()}),
              (std::vector<size_t>{0, 0, 8, 8, 8}));
    EXPECT_FALSE(parcel.WriteInt32(1) || parcel.SetDataCapacity(64));
    EXPECT_EQ((std::vector<int32_t>{parcel.ReadInt32(), parcel.ReadInt32()}), (std::vector<int32_t>{7, 8}));
    parcel.FlushBuffer();
    EXPECT_TRUE(parcel.WriteInt32(1) && parcel.WriteInt32(2) && !parcel.RewindWrite(12));
    EXPECT_TRUE(parcel.RewindWrite(4) && parcel.WriteInt32(3));
    EXPECT_EQ(Hex(parcel), "0100000003000000");
    Parcel bytes; // an unaligned bool is any non-zero byte
    for (uint8_t byte : {2, 0, 1, 0xff}) {
        ASSERT_TRUE(bytes.WriteUint8Unaligned(byte));
    }
    EXPECT_EQ((std::vector<bool>{bytes.ReadBoolUnaligned(), bytes.ReadBoolUnaligned(), bytes.ReadBoolUnaligned(),
                                 bytes.ReadBoolUnaligned(), bytes.ReadBoolUnaligned()}),
              (std::vector<bool>{true, false, true, true, false})); // the last finds nothing left
    // A buffer written with a terminator counts it in its size: it overwrites the last typeSize bytes.
    struct Case {
        const void *data;
        size_t size, typeSize;
        bool ok;
        const char *hex;
    } cases[] = {
        {"abcX", 4, 1, true, "61626300"},         {"abcX", 3, 1, true, "61620000"},         {"abcX", 1, 4, false, ""},
        {"abcX", 5, 1, true, "6162635800000000"}, {u"abX", 6, 2, true, "6100620000000000"}, {nullptr, 4, 1, false, ""},
    };
    for (const Case &c : cases) {
        Parcel terminated;
        EXPECT_EQ(terminated.WriteBufferAddTerminator(c.data, c.size, c.typeSize), c.ok) << c.hex;
        EXPECT_EQ(Hex(terminated), c.hex);
    }
    // Reads may take a recorded binder object whole, never a part of it.
    ObjectParcel objects;
    ASSERT_TRUE(objects.WriteInt32(5) && objects.WriteObject(0x1234) && objects.WriteInt32(6));
    EXPECT_FALSE(objects.CheckOffsets() || objects.ReadObject<Handle>() != nullptr);
    EXPECT_EQ(objects.ReadInt32(), 5);
    EXPECT_TRUE(objects.CheckOffsets());
    EXPECT_EQ(objects.ReadInt32(), 0);                // the object's first word
    EXPECT_EQ(objects.ReadBuffer(8), nullptr);        // part of it
    EXPECT_NE(objects.ReadBuffer(8, false), nullptr); // unless the caller asks for no check
    objects.RewindRead(4);
    sptr<Handle> object = objects.ReadObject<Handle>();
    EXPECT_TRUE(object != nullptr && object->handle == 0x1234u && objects.ReadInt32() == 6);
}

TEST(ParcelWriteTest, SetAllocatorOwnsTheAllocatorAWriteFaultFailsTheNthWriteAndOneRecordIsWrittenFromTwoThreads)
{
    JournalAllocator::calls.clear();
    {
        Parcel parcel;
        EXPECT_FALSE(parcel.SetAllocator(nullptr));
        ASSERT_TRUE(parcel.WriteInt32(1) && parcel.WriteInt32(2));
        ASSERT_TRUE(parcel.SetAllocator(new JournalAllocator()));
        EXPECT_EQ(parcel.GetDataCapacity(), 8u);
        EXPECT_EQ(Hex(parcel), "0100000002000000");
        EXPECT_TRUE(parcel.WriteInt32(3) && parcel.ReadInt32() == 1); // grows through the new allocator
    }
    EXPECT_EQ(JournalAllocator::calls, "ard"); // copied into its own block, grown, freed with the parcel
    // The write-fault switch fails exactly the nth write, on this thread only.
    Parcel parcel;
    HostParcel::FailNthWrite(3);
    EXPECT_TRUE(parcel.WriteInt32(1) && parcel.WriteInt32(0x100)); // a string's length is write 3, its body write 4
    EXPECT_FALSE(parcel.WriteString16(u"ab"));
    std::thread other([] {
        Parcel elsewhere;
        EXPECT_TRUE(elsewhere.WriteInt32(9) && HostParcel::WriteCount() == 1u); // counted, never armed here
    });
    other.join();
    EXPECT_TRUE(parcel.WriteString16(u"ab") && HostParcel::WriteCount() == 5u);
    EXPECT_EQ(Hex(parcel), "0100000000010000020000006100620000000000");
    HostParcel::FailNthWrite(3); // count, first element, then the second element fails
    EXPECT_TRUE(!parcel.WriteInt32Vector({7, 8, 9}) && parcel.GetDataSize() == 28u);
    HostParcel::FailNthWrite(2); // a plain record keeps its presence flag, a binder object goes whole or not at all
    EXPECT_FALSE(parcel.WriteStrongParcelable(new IntParcelable(4)));
    IntParcelable binder(4, true);
    HostParcel::FailNthWrite(2);
    EXPECT_TRUE(!parcel.WriteParcelable(&binder) && parcel.GetDataSize() == 32u);
    HostParcel::FailNthWrite(0);
    EXPECT_TRUE(parcel.WriteInt64(1) && HostParcel::WriteCount() == 1u);
    // Two threads write one shared record; its behaviour flag is updated atomically (the TSan build checks the race).
    sptr<Parcelable> record = new IntParcelable(3);
    auto writeMany = [&record] {
        Parcel own;
        for (int i = 0; i < 1000; i++) {
            own.RewindWrite(0);
            EXPECT_TRUE(own.WriteStrongParcelable(record));
        }
        EXPECT_EQ(Hex(own), "0100000003000000");
    };
    std::thread first(writeMany);
    writeMany();
    first.join();
    EXPECT_TRUE(record->TestBehavior(Parcelable::HOLD_OBJECT));
}
