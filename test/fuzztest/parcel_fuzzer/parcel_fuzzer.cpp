// SPDX-License-Identifier: Apache-2.0
// The host Parcel and MessageParcel readers on a parcel written by a hostile peer: a script at the head of the input
// chooses which reads run in which order (with sizes and positions from the input), the rest is the parcel. Every
// reader must stay inside the parcel and never read beyond its data, whatever a length or count claims.
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz_parcel.h"

namespace OHOS::TarnbyFuzz {
namespace {
using Read = void (*)(MessageParcel &, uint32_t number);

template <typename T>
void Vector(MessageParcel &parcel, bool (Parcel::*read)(std::vector<T> *))
{
    std::vector<T> values;
    (parcel.*read)(&values);
}

// Reads the last byte a reader handed out, so that a pointer past the parcel is caught.
void Touch(const void *bytes, uint32_t size)
{
    if (bytes != nullptr && size > 0) {
        (void)static_cast<const volatile uint8_t *>(bytes)[size - 1];
    }
}

// Every reader; `number` is a size or a position from the input where the reader takes one.
constexpr Read READS[] = {
    [](MessageParcel &p, uint32_t) { p.ReadBool(); },
    [](MessageParcel &p, uint32_t) { p.ReadInt8(); },
    [](MessageParcel &p, uint32_t) { p.ReadInt16(); },
    [](MessageParcel &p, uint32_t) { p.ReadInt32(); },
    [](MessageParcel &p, uint32_t) { p.ReadInt64(); },
    [](MessageParcel &p, uint32_t) { p.ReadUint64(); },
    [](MessageParcel &p, uint32_t) { p.ReadFloat(); },
    [](MessageParcel &p, uint32_t) { p.ReadDouble(); },
    [](MessageParcel &p, uint32_t) { p.ReadPointer(); },
    [](MessageParcel &p, uint32_t) { p.ReadBoolUnaligned(); },
    [](MessageParcel &p, uint32_t) {
        uint16_t value = 0;
        p.ReadUint16Unaligned(value);
    },
    [](MessageParcel &p, uint32_t) { p.ReadCString(); },
    [](MessageParcel &p, uint32_t) { p.ReadString(); },
    [](MessageParcel &p, uint32_t) { p.ReadString16(); },
    [](MessageParcel &p, uint32_t) {
        int32_t length = 0;
        p.ReadString16WithLength(length);
        p.ReadString8WithLength(length);
    },
    [](MessageParcel &p, uint32_t) { Vector(p, &Parcel::ReadBoolVector); },
    [](MessageParcel &p, uint32_t) { Vector(p, &Parcel::ReadInt8Vector); },
    [](MessageParcel &p, uint32_t) { Vector(p, &Parcel::ReadInt16Vector); },
    [](MessageParcel &p, uint32_t) { Vector(p, &Parcel::ReadInt32Vector); },
    [](MessageParcel &p, uint32_t) { Vector(p, &Parcel::ReadInt64Vector); },
    [](MessageParcel &p, uint32_t) { Vector(p, &Parcel::ReadUInt8Vector); },
    [](MessageParcel &p, uint32_t) { Vector(p, &Parcel::ReadUInt16Vector); },
    [](MessageParcel &p, uint32_t) { Vector(p, &Parcel::ReadUInt32Vector); },
    [](MessageParcel &p, uint32_t) { Vector(p, &Parcel::ReadUInt64Vector); },
    [](MessageParcel &p, uint32_t) { Vector(p, &Parcel::ReadFloatVector); },
    [](MessageParcel &p, uint32_t) { Vector(p, &Parcel::ReadDoubleVector); },
    [](MessageParcel &p, uint32_t) { Vector(p, &Parcel::ReadStringVector); },
    [](MessageParcel &p, uint32_t) { Vector(p, &Parcel::ReadString16Vector); },
    [](MessageParcel &p, uint32_t) { p.ReadRemoteObject(); },
    [](MessageParcel &p, uint32_t) { close(p.ReadFileDescriptor()); }, // -1 when there is none: close refuses it
    [](MessageParcel &p, uint32_t) { p.ReadInterfaceToken(); },
    [](MessageParcel &p, uint32_t) { p.ReadException(); },
    [](MessageParcel &p, uint32_t n) { Touch(p.ReadRawData(n), n); },
    [](MessageParcel &p, uint32_t n) { Touch(p.ReadUnpadBuffer(n), n); },
    [](MessageParcel &p, uint32_t n) { Touch(p.ReadBuffer(n), n); },
    [](MessageParcel &p, uint32_t n) { p.RewindRead(n % (p.GetDataSize() + 8)); },
    [](MessageParcel &p, uint32_t n) { p.SkipBytes(n % (p.GetDataSize() + 8)); },
};
} // namespace
} // namespace OHOS::TarnbyFuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace OHOS;
    using namespace OHOS::TarnbyFuzz;
    FuzzInput in = OpenInput(data, size);
    std::string script = in.ConsumeBytesAsString(in.ConsumeIntegral<uint8_t>() % 32 + 1);
    DescriptorLeakCheck leakCheck;
    MessageParcel parcel;
    WritePeerFields(in, parcel, CALLBACK_TOKEN);
    for (size_t i = 0; i < script.size(); ++i) {
        uint32_t number = i + 1 < script.size() ? WIRE_NUMBERS[uint8_t(script[i + 1]) % std::size(WIRE_NUMBERS)] : 0;
        READS[uint8_t(script[i]) % std::size(READS)](parcel, number);
        if (parcel.GetReadPosition() > parcel.GetDataCapacity()) {
            std::abort();
        }
    }
    return 0;
}
