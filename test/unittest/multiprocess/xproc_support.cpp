// SPDX-License-Identifier: Apache-2.0
#include "xproc_support.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "message_parcel.h"
#include "raw_message.h"

extern char **environ;

namespace OHOS::TarnbyTest {
namespace {
constexpr int GUARD_MILLISECONDS = 10000; // completion, never speed
constexpr size_t LARGEST_MESSAGE = 64 * 1024;
} // namespace

Child::Child(const char *role, const std::vector<std::string> &environment)
{
    int out[2];
    EXPECT_EQ(pipe2(out, O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    std::vector<char *> env; // the added entries first: getenv takes the first of a name
    for (const std::string &item : environment) {
        env.push_back(const_cast<char *>(item.c_str()));
    }
    for (char **item = environ; *item != nullptr; item++) {
        env.push_back(*item);
    }
    env.push_back(nullptr);
    char *argv[] = {const_cast<char *>("/proc/self/exe"), const_cast<char *>(role), nullptr};
    EXPECT_EQ(posix_spawn(&pid_, "/proc/self/exe", &actions, nullptr, argv, env.data()), 0);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    output_ = fdopen(out[0], "r");
}

Child::~Child()
{
    Kill();
    fclose(output_);
}

std::string Child::Line()
{
    char line[128] = {};
    return fgets(line, sizeof(line), output_) == nullptr ? "" : std::string(line, strcspn(line, "\n"));
}

void Child::Kill()
{
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        Wait();
    }
}

int Child::Wait()
{
    int status = -1;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return status;
}

int32_t Echo(const sptr<IRemoteObject> &service, int32_t value, pid_t *servedFor)
{
    MessageParcel data;
    MessageParcel reply;
    data.WriteInt32(value);
    int result = Ask(service, ECHO, data, reply);
    int32_t answer = reply.ReadInt32();
    if (servedFor != nullptr) {
        *servedFor = reply.ReadInt32();
    }
    return result == 0 ? answer : -result;
}

std::vector<uint32_t> RawHeader::Words() const
{
    return {0x43504948, kind | inMemfd << 16, code, flags,    callId, 0,       handle, 0, 7,
            0,          targetThread,         0,    dataSize, 0,      objects, fds,    8, 204800};
}

std::vector<uint32_t> EchoFrame(uint32_t callId, int32_t value, uint32_t flags)
{
    RawHeader header;
    header.callId = callId;
    header.flags = flags;
    header.dataSize = sizeof(int32_t);
    std::vector<uint32_t> words = header.Words();
    words.push_back(static_cast<uint32_t>(value));
    return words;
}

RawPeer::RawPeer(const std::string &path)
{
    socket_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    sockaddr_un address{AF_UNIX, {}};
    strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    if (socket_ >= 0 && connect(socket_, reinterpret_cast<sockaddr *>(&address), sizeof(address)) != 0) {
        close(socket_);
        socket_ = -1;
    }
}

RawPeer::~RawPeer()
{
    if (socket_ >= 0) {
        close(socket_);
    }
}

bool RawPeer::Send(const std::vector<uint32_t> &words, const std::vector<int> &fds, bool wait)
{
    return SendRawMessage(socket_, words.data(), words.size() * sizeof(uint32_t), fds, wait ? 0 : MSG_DONTWAIT) >= 0;
}

std::vector<uint32_t> RawPeer::Receive()
{
    std::vector<uint32_t> words(LARGEST_MESSAGE / sizeof(uint32_t));
    if (PollFor(socket_, POLLIN, GUARD_MILLISECONDS) == 0) {
        return {};
    }
    ssize_t got = recv(socket_, words.data(), LARGEST_MESSAGE, 0);
    words.resize(got > 0 ? static_cast<size_t>(got) / sizeof(uint32_t) : 0);
    return words;
}

bool RawPeer::ClosedByPeer()
{
    char buffer[LARGEST_MESSAGE];
    for (;;) {
        if (PollFor(socket_, POLLIN, GUARD_MILLISECONDS) == 0) {
            return false;
        }
        ssize_t got = recv(socket_, buffer, sizeof(buffer), 0);
        if (got <= 0) {
            return got == 0 || errno == ECONNRESET;
        }
    }
}

bool RawPeer::HungUp()
{
    return (PollFor(socket_, POLLRDHUP, GUARD_MILLISECONDS) & (POLLHUP | POLLRDHUP)) != 0;
}

std::string ServicePath(int32_t id)
{
    return HostIpc::CrossProcessDirectory() + "/sa-" + std::to_string(id);
}

uint64_t ProcessStatus(pid_t pid, const std::string &field)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string name;
    uint64_t value = 0;
    while (status >> name) {
        if (name == field + ":" && status >> value) {
            return value;
        }
        status.ignore(1 << 20, '\n');
    }
    return 0;
}

bool AllThreadsStopped(pid_t pid)
{
    std::string tasks = "/proc/" + std::to_string(pid) + "/task";
    for (const auto &task : std::filesystem::directory_iterator(tasks)) {
        std::ifstream stat(task.path() / "stat");
        std::string line;
        std::getline(stat, line);
        size_t state = line.rfind(") ");
        if (state == std::string::npos || line.compare(state + 2, 1, "T") != 0) {
            return false;
        }
    }
    return true;
}

size_t MappingCount(pid_t pid)
{
    std::ifstream maps("/proc/" + std::to_string(pid) + "/maps");
    return static_cast<size_t>(std::count(std::istreambuf_iterator<char>(maps), {}, '\n'));
}

size_t OpenDescriptorCount(pid_t pid)
{
    std::error_code error;
    std::filesystem::directory_iterator fds("/proc/" + std::to_string(pid) + "/fd", error);
    return error ? 0 : static_cast<size_t>(std::distance(fds, {}));
}
} // namespace OHOS::TarnbyTest
