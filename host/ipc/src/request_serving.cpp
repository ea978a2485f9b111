// SPDX-License-Identifier: Apache-2.0
#include "request_serving.h"

#include "ipc_log.h"
#include "ipc_thread_pool.h"

namespace OHOS::HostIpc {
int ServeRequest(const sptr<IRemoteObject> &target, uint32_t code, MessageParcel &data, MessageParcel &reply,
                 MessageOption &option, const Identity &caller, ServingContext context)
{
    int result;
    {
        CallingIdentityScope identity(caller);
        ServingScope serving(std::move(context));
        result = target->SendRequest(code, data, reply, option);
    }
    return reply.GetDataSize() != 0 ? ERR_NONE : result;
}

OneWayLanes &OneWayLanes::Get()
{
    static OneWayLanes *lanes = new OneWayLanes();
    return *lanes;
}

void OneWayLanes::Enter(const void *object, std::function<void()> task, std::function<void()> &runNow)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto [lane, free] = lanes_.try_emplace(object);
    if (free) {
        runNow = Wrap(object, std::move(task));
    } else {
        lane->second.push_back(std::move(task));
    }
}

size_t OneWayLanes::Waiting()
{
    std::lock_guard<std::mutex> lock(mutex_);
    size_t waiting = 0;
    for (const auto &[object, lane] : lanes_) {
        waiting += lane.size();
    }
    return waiting;
}

// The next request of a lane goes through the pool's queue, so one busy object does not keep a thread from others.
std::function<void()> OneWayLanes::Wrap(const void *object, std::function<void()> task)
{
    return [this, object, task = std::move(task)]() mutable {
        task();
        task = nullptr;
        std::function<void()> next = Next(object);
        if (next && !IpcThreadPool::Get().Submit(next)) {
            next(); // no thread could be started: the lane goes on here
        }
    };
}

std::function<void()> OneWayLanes::Next(const void *object)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto lane = lanes_.find(object);
    if (lane == lanes_.end()) {
        return nullptr;
    }
    if (lane->second.empty()) {
        lanes_.erase(lane);
        return nullptr;
    }
    std::function<void()> task = std::move(lane->second.front());
    lane->second.pop_front();
    return Wrap(object, std::move(task));
}
} // namespace OHOS::HostIpc
