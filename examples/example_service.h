// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EXAMPLE_SERVICE_H
#define TARNBY_EXAMPLE_SERVICE_H

// Not part of what you copy: on a device the Tarnby service is simply there. On a PC the examples run against the
// service emulator, in their own process (no arguments) or as tarnby_emulator_server in a second process
// (--server <path of tarnby_emulator_server>), and use it to play the other side: the peer, the service's events,
// the service's death and return.
#include <stdlib.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>

#include "service_control.h"

namespace Example {
// The emulated service, started; null (with a message) when it could not be started.
inline std::unique_ptr<OHOS::TarnbyEmulator::ServiceControl> StartService(int argc, char **argv)
{
    std::unique_ptr<OHOS::TarnbyEmulator::ServiceControl> service;
    if (argc == 3 && std::strcmp(argv[1], "--server") == 0) {
        // Both processes find each other in a private registry directory, set before the first IPC call.
        static char directory[] = "/tmp/tarnby-example-XXXXXX";
        if (getenv("OHOS_HOST_IPC_DIR") == nullptr && mkdtemp(directory) != nullptr) {
            setenv("OHOS_HOST_IPC_DIR", directory, 1);
        }
        service = OHOS::TarnbyEmulator::ServiceProcess(argv[2]);
    } else {
        service = OHOS::TarnbyEmulator::InProcessService();
    }
    if (!service->Start()) {
        std::fprintf(stderr, "the emulated service did not start\n");
        return nullptr;
    }
    std::printf("the service runs %s\n", service->Where().c_str());
    return service;
}

// Something a hook tells the main thread: set once on an IPC thread, awaited on the main thread.
template <typename T>
class Mailbox {
public:
    void Put(T value)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        value_ = std::move(value);
        full_ = true;
        changed_.notify_all();
    }
    // The value, or `fallback` when none came within five seconds; the box is empty again afterwards.
    T Take(T fallback)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        if (!changed_.wait_for(lock, std::chrono::seconds(5), [this] { return full_; })) {
            return fallback;
        }
        full_ = false;
        return std::move(value_);
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    T value_{};
    bool full_ = false;
};
} // namespace Example

#endif // TARNBY_EXAMPLE_SERVICE_H
