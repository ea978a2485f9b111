// SPDX-License-Identifier: Apache-2.0
// The cross-process frame decoder, the widest door of a process to another: every input becomes one socket message
// with descriptors of its choosing (memfds of a chosen size, sealed or not, pipes, directories), sent to a real
// connection of this process. The frame is also decoded on its own, so a mutation is judged by the codec alone too.
// A crash, a sanitizer report, a hang (the connection must answer a ping or close) or a leaked descriptor is a
// finding.
//
// Input: one byte, the number of descriptors (its low three bits, at most seven); per descriptor one kind byte (and
// for a memfd four size bytes, little-endian, below 1 MiB); the rest is the message as it goes on the socket.
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "connection.h"
#include "frame_codec.h"
#include "fuzz_parcel.h"
#include "ipc_object_stub.h"
#include "ipc_thread_pool.h"
#include "raw_message.h"
#include "reactor.h"

namespace OHOS::TarnbyFuzz {
namespace {
constexpr uint32_t MEMFD_SIZE_LIMIT = 1 << 20;
constexpr uint64_t PING_CALL = 0x7fffffff;
constexpr int GUARD_MILLISECONDS = 8000; // below the fuzzer's own time-out of an input

int MakeDescriptor(const uint8_t *&data, size_t &size)
{
    uint8_t kind = data[0];
    data++;
    size--;
    if (kind % 4 >= 2) {
        int ends[2] = {-1, -1};
        if (kind % 4 == 2 && pipe2(ends, O_CLOEXEC) == 0) {
            close(ends[1]);
            return ends[0];
        }
        return open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    }
    uint32_t length = 0;
    if (size >= sizeof(length)) {
        std::memcpy(&length, data, sizeof(length));
        data += sizeof(length);
        size -= sizeof(length);
    }
    int fd = memfd_create("fuzz", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (fd >= 0 && ftruncate(fd, length % MEMFD_SIZE_LIMIT) == 0 && kind % 4 == 0) {
        fcntl(fd, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE);
    }
    return fd;
}

// A ping to the first object, sent after the fuzzed frame: its reply (or the end of the connection) says that the
// connection has read the frame before it.
bool PingedOrClosed(int socket)
{
    HostIpc::FrameHeader ping = HostIpc::NewHeader(HostIpc::FrameKind::REQUEST);
    ping.code = PING_TRANSACTION;
    ping.callId = PING_CALL;
    ping.handle = HostIpc::HandleTable::ROOT_HANDLE;
    ping.waitTime = 8;
    TarnbyTest::SendRawMessage(socket, &ping, sizeof(ping), {});
    std::vector<uint8_t> buffer(HostIpc::MAX_MESSAGE);
    for (;;) {
        if (TarnbyTest::PollFor(socket, POLLIN, GUARD_MILLISECONDS) == 0) { // libFuzzer's timer interrupts polls
            return false;
        }
        ssize_t got = recv(socket, buffer.data(), buffer.size(), MSG_CMSG_CLOEXEC);
        HostIpc::FrameHeader header{};
        if (got <= 0) {
            return true;
        }
        if (static_cast<size_t>(got) >= sizeof(header)) {
            std::memcpy(&header, buffer.data(), sizeof(header));
            if (header.kind == static_cast<uint16_t>(HostIpc::FrameKind::REPLY) && header.callId == PING_CALL) {
                return true;
            }
        }
    }
}

void DecodeAlone(const uint8_t *data, size_t size, const std::vector<int> &fds)
{
    std::vector<uint8_t> message(data, data + size);
    HostIpc::ReceivedFds received;
    for (int fd : fds) {
        received.fds.push_back(fcntl(fd, F_DUPFD_CLOEXEC, 0));
    }
    HostIpc::DecodedFrame frame;
    if (HostIpc::DecodeFrame(message.data(), message.size(), received, frame) != HostIpc::FrameFault::NONE) {
        return;
    }
    // What the codec lets through is what the connection relies on: every object inside the data, every
    // descriptor object holding a descriptor.
    for (const HostIpc::FrameObject &object : frame.objects) {
        bool inside = object.offset + sizeof(HostIpc::FlatObject) <= frame.header.dataSize;
        if (!inside || (object.kind == HostIpc::FrameObject::Kind::DESCRIPTOR && object.fd < 0)) {
            std::abort();
        }
    }
}
} // namespace
} // namespace OHOS::TarnbyFuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace OHOS;
    (void)TarnbyFuzz::OpenInput(data, size); // keeps the runtime's log lines quiet
    static const sptr<IRemoteObject> root = sptr<IPCObjectStub>::MakeSptr(u"fuzz.FrameRoot");
    // The runtime's own descriptors (its epoll set, timer and task signal) come with its first use and stay.
    [[maybe_unused]] static const bool started = (HostIpc::Reactor::Get(), HostIpc::IpcThreadPool::Get(), true);
    if (size == 0) {
        return 0;
    }
    long before = TarnbyFuzz::OpenDescriptors();
    std::vector<int> fds;
    size_t count = data[0] % 8;
    data++;
    size--;
    for (size_t i = 0; i < count && size > 0; i++) {
        fds.push_back(TarnbyFuzz::MakeDescriptor(data, size));
    }
    TarnbyFuzz::DecodeAlone(data, size, fds);
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0) {
        std::shared_ptr<HostIpc::Connection> connection =
            HostIpc::Connection::Open(ends[1], HostIpc::Connection::Side::ACCEPTED, root);
        TarnbyTest::SendRawMessage(ends[0], data, size, fds);
        if (!TarnbyFuzz::PingedOrClosed(ends[0])) {
            std::abort(); // the connection neither answered nor closed
        }
        if (connection != nullptr) {
            connection->Close();
        }
        close(ends[0]);
    }
    for (int fd : fds) {
        close(fd);
    }
    // Requests of the frame may still end on an IPC thread; once they did, every descriptor must be closed.
    for (int round = 0; round < 5000 && TarnbyFuzz::OpenDescriptors() != before; round++) {
        usleep(1000);
    }
    if (TarnbyFuzz::OpenDescriptors() != before) {
        std::abort();
    }
    return 0;
}
