// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_HOST_IPC_REQUEST_SERVING_H
#define OHOS_HOST_IPC_REQUEST_SERVING_H

// How a request is served once it has crossed a boundary, the same for both: the handler runs with the caller's
// identity, nested requests find the waiting caller, the reply rule of the driver applies, and one-way requests to
// one object keep their order.
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

#include "call_waiter.h"
#include "iremote_object.h"
#include "thread_identity.h"

namespace OHOS::HostIpc {
// Runs `target`'s SendRequest as a request from `caller`, in `context`. As over the driver, a reply with data wins
// over the handler's own result: the result that travels back is returned.
int ServeRequest(const sptr<IRemoteObject> &target, uint32_t code, MessageParcel &data, MessageParcel &reply,
                 MessageOption &option, const Identity &caller, ServingContext context);

// One-way requests to one object are served one at a time, in the order they came, as the driver delivers them;
// requests to different objects do not wait for each other.
//
// Threads: any. Locks: mutex_, a leaf; tasks run without it.
class OneWayLanes {
public:
    static OneWayLanes &Get();
    // `task` runs now if the lane of `object` is free: it comes back wrapped in `runNow`, to run on any thread,
    // and whoever runs it continues the lane afterwards. Otherwise it waits in the lane.
    void Enter(const void *object, std::function<void()> task, std::function<void()> &runNow);
    size_t Waiting();

private:
    OneWayLanes() = default;
    std::function<void()> Wrap(const void *object, std::function<void()> task);
    // The next task of the lane, wrapped; empty when the lane is done.
    std::function<void()> Next(const void *object);

    std::mutex mutex_;
    std::map<const void *, std::deque<std::function<void()>>> lanes_; // present while the lane runs
};
} // namespace OHOS::HostIpc

#endif // OHOS_HOST_IPC_REQUEST_SERVING_H
