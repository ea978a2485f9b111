// SPDX-License-Identifier: Apache-2.0
#include "outbox.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "ipc_log.h"

namespace OHOS::HostIpc {
namespace {
std::atomic<int64_t> g_drainMilliseconds{Outbox::DEFAULT_DRAIN_TIME.count()};
} // namespace

std::chrono::milliseconds Outbox::DrainTime()
{
    return std::chrono::milliseconds(g_drainMilliseconds.load());
}

void Outbox::SetDrainTime(std::chrono::milliseconds drainTime)
{
    g_drainMilliseconds = drainTime.count();
}

Outbox::Outbox(int socket, std::function<void(const char *why)> onStalled) :
    socket_(socket), onStalled_(std::move(onStalled))
{
}

Outbox::~Outbox()
{
    Close();
}

Outbox::Result Outbox::Send(EncodedFrame &&frame)
{
    bool stalled;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stalled_) {
            errno = EPIPE;
            return Result::FAILED;
        }
        if (queue_.empty()) {
            if (SendMessage(socket_, frame.message, frame.fds) >= 0) {
                return Result::SENT;
            }
            if (errno != EAGAIN && errno != EWOULDBLOCK) {
                return Result::FAILED;
            }
        }
        stalled = !QueueLocked(std::move(frame));
    }
    if (stalled) {
        Stall("its unread messages passed the bound");
        return Result::STALLED;
    }
    return Result::QUEUED;
}

bool Outbox::QueueLocked(EncodedFrame &&frame)
{
    uint64_t bytes = frame.message.size() + (frame.memfd >= 0 ? frame.dataBytes : 0);
    if (queue_.size() >= MAX_QUEUED_MESSAGES || queuedBytes_ + bytes > MAX_QUEUED_BYTES || !frame.OwnDescriptors()) {
        return false;
    }
    bool first = queue_.empty();
    queue_.push_back(Queued{std::move(frame), std::chrono::steady_clock::now()});
    queuedBytes_ += bytes;
    if (!first) {
        return true;
    }
    if (watch_ < 0) {
        watch_ = fcntl(socket_, F_DUPFD_CLOEXEC, 0);
        if (watch_ < 0 || !Reactor::Get().Add(watch_, shared_from_this(), EPOLLOUT | EPOLLONESHOT, watchKey_)) {
            return false;
        }
    } else {
        Reactor::Get().Arm(watchKey_, watch_, EPOLLOUT);
    }
    std::weak_ptr<Outbox> self = weak_from_this();
    Reactor::Get().RunAt(queue_.front().since + DrainTime(), [self] {
        if (auto outbox = self.lock()) {
            outbox->CheckDrain();
        }
    });
    return true;
}

bool Outbox::FlushLocked()
{
    while (!queue_.empty()) {
        Queued &front = queue_.front();
        if (SendMessage(socket_, front.frame.message, front.frame.fds) < 0) {
            return errno == EAGAIN || errno == EWOULDBLOCK;
        }
        queuedBytes_ -= front.frame.message.size() + (front.frame.memfd >= 0 ? front.frame.dataBytes : 0);
        queue_.pop_front();
    }
    return true;
}

void Outbox::OnReady(uint32_t events)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (stalled_ || watch_ < 0) {
        return;
    }
    if (!FlushLocked()) {
        queue_.clear(); // the peer is gone; its reader sees the end
        queuedBytes_ = 0;
        return;
    }
    if (!queue_.empty()) {
        Reactor::Get().Arm(watchKey_, watch_, EPOLLOUT);
    }
}

void Outbox::CheckDrain()
{
    std::chrono::steady_clock::time_point oldest;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stalled_ || queue_.empty()) {
            return;
        }
        oldest = queue_.front().since;
        if (std::chrono::steady_clock::now() < oldest + DrainTime()) {
            std::weak_ptr<Outbox> self = weak_from_this();
            Reactor::Get().RunAt(oldest + DrainTime(), [self] {
                if (auto outbox = self.lock()) {
                    outbox->CheckDrain();
                }
            });
            return;
        }
    }
    Stall("it left a message unread for the drain time");
}

void Outbox::Stall(const char *why)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stalled_) {
            return;
        }
        stalled_ = true;
    }
    onStalled_(why);
}

void Outbox::Close()
{
    std::deque<Queued> dropped;
    std::lock_guard<std::mutex> lock(mutex_);
    stalled_ = true;
    dropped.swap(queue_);
    queuedBytes_ = 0;
    if (watch_ >= 0) {
        Reactor::Get().Remove(watchKey_, watch_);
        close(watch_);
        watch_ = -1;
    }
}

size_t Outbox::QueuedMessages()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return queue_.size();
}
} // namespace OHOS::HostIpc
