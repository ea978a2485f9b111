// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_FUZZ_PARCEL_H
#define TARNBY_FUZZ_PARCEL_H

// Shared by the fuzz targets: reads a fuzz input as a stream of choices, and writes the parcel a hostile peer could
// send, with the descriptors, remote objects, numbers and raw blocks that the real traffic carries placed where the
// input says, so that mutations reach the readers behind a correct token and a known code quickly.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>

#include <fuzzer/FuzzedDataProvider.h>

#include "ipc_object_stub.h"
#include "message_option.h"
#include "message_parcel.h"
#if __has_include("host_log.h")
#include "host_log.h"
#endif

namespace OHOS::TarnbyFuzz {
inline const std::u16string CALLBACK_TOKEN = u"ohos.ITarnby.ITarnbyCallback";
inline const std::u16string SERVICE_TOKEN = u"ohos.ITarnby.ITarnbyService";

// Numbers of the protocol and the bounds around them: request and service codes, sizes, and their neighbours.
inline constexpr uint32_t WIRE_NUMBERS[] = {
    0,     1,     2,     3,      7,      8,        13,        15,        16,        17,    18,    23,
    24,    25,    27,    28,     101,    102,      103,       104,       105,       106,   201,   301,
    401,   501,   502,   503,    504,    505,      506,       507,       601,       10001, 40001, 40002,
    32768, 32769, 70633, 320001, 320016, 0x3FF000, 0x8000000, 0x8000001, 0xFFFFFFFF};

using FuzzInput = FuzzedDataProvider; // integers come from the end of the input, bytes from the front

// One run's input. The first call also keeps the library's log lines out of the fuzzer's output (on the host; a
// device build logs as usual).
inline FuzzInput OpenInput(const uint8_t *data, size_t size)
{
#if __has_include("host_log.h")
    [[maybe_unused]] static const bool quiet = (HiLogSetSink([](const HiLogRecord &) {}), true);
#endif
    return FuzzInput(data, size);
}

// A protocol number most of the time, any number otherwise.
inline uint32_t WireNumber(FuzzInput &in)
{
    auto pick = in.ConsumeIntegral<uint8_t>();
    return pick < 2 * std::size(WIRE_NUMBERS) ? WIRE_NUMBERS[pick % std::size(WIRE_NUMBERS)]
                                              : in.ConsumeIntegral<uint32_t>();
}

inline long OpenDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

// Aborts (a finding) when handling an input left a descriptor open.
struct DescriptorLeakCheck {
    long before = OpenDescriptors();
    ~DescriptorLeakCheck()
    {
        if (OpenDescriptors() != before) {
            std::abort();
        }
    }
};

// Writes the rest of `in` into `parcel` as a peer could: a control byte chooses what comes next.
inline void WritePeerFields(FuzzInput &in, MessageParcel &parcel, const std::u16string &token)
{
    static const sptr<IRemoteObject> object = sptr<IPCObjectStub>::MakeSptr(u"fuzz.PeerObject");
    while (in.remaining_bytes() > 0) {
        uint8_t control = in.ConsumeIntegral<uint8_t>();
        switch (control % 8) {
            case 0:
                parcel.WriteRemoteObject(object);
                break;
            case 1: // the parcel keeps a duplicate of its own
                parcel.WriteFileDescriptor(STDIN_FILENO);
                break;
            case 2:
                parcel.WriteInterfaceToken(token);
                break;
            case 3: { // a raw block: inline, or out of line above 32 KiB (filled with one byte of the input)
                std::string bytes = in.ConsumeBytesAsString(in.ConsumeIntegral<uint8_t>());
                size_t size = (control & 0x80) ? MessageParcel::MIN_RAWDATA_SIZE + bytes.size() : bytes.size();
                std::string block(size, bytes.empty() ? 'x' : bytes[0]);
                parcel.WriteRawData(block.data(), block.size());
                break;
            }
            case 4:
                parcel.WriteString(in.ConsumeBytesAsString(in.ConsumeIntegral<uint8_t>()));
                break;
            case 5:
            case 6:
                parcel.WriteUint32(WireNumber(in));
                break;
            default: {
                std::string bytes = in.ConsumeBytesAsString(control / 8 + 1);
                parcel.WriteUnpadBuffer(bytes.data(), bytes.size());
                break;
            }
        }
    }
}

// A peer's request: the token (usually the right one, sometimes another or none), the five service-code fields (two
// protocol numbers, then three qualifiers that are zero unless the input says otherwise) and the peer's fields.
inline void WritePeerRequest(FuzzInput &in, MessageParcel &parcel, const std::u16string &token)
{
    uint8_t head = in.ConsumeIntegral<uint8_t>();
    if (head % 8 < 6) {
        parcel.WriteInterfaceToken(token);
    } else if (head % 8 == 6) {
        parcel.WriteInterfaceToken(u"ohos.ITarnby.Other");
    }
    parcel.WriteUint32(WireNumber(in));
    parcel.WriteUint32(WireNumber(in));
    for (int qualifier = 0; qualifier < 3; ++qualifier) {
        parcel.WriteUint32((head & (0x10 << qualifier)) ? WireNumber(in) : 0);
    }
    WritePeerFields(in, parcel, token);
}
// A peer's request as it reaches an object: a code (a protocol number most of the time), then the request; `deliver`
// takes (code, request, reply, option).
template <typename Deliver>
void DeliverPeerRequest(FuzzInput &in, const std::u16string &token, Deliver deliver)
{
    uint32_t code = WireNumber(in);
    MessageParcel request;
    WritePeerRequest(in, request, token);
    MessageParcel reply;
    MessageOption option;
    deliver(code, request, reply, option);
}
} // namespace OHOS::TarnbyFuzz

#endif // TARNBY_FUZZ_PARCEL_H
