// SPDX-License-Identifier: Apache-2.0
// Device-connect callbacks: a state change carries extra info as JSON text and, with a member "fd", a descriptor
// that the library puts into the text in place of the service's number. The hook owns that descriptor.
#include <json/json.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "callback_skeleton.h"
#include "example_service.h"
#include "tarnby_errors.h"

using namespace OHOS;
using namespace OHOS::Tarnby;

class ConnectWatcher : public CallbackSkeleton {
public:
    // Called on an IPC thread; the descriptor number is in context.extraInfo's "fd" member.
    int32_t OnServiceStateChanged(ServiceStateChangeContext context) override
    {
        Json::Value root;
        std::string what = context.firstString + " -> " + context.secondString;
        if (Json::Reader().parse(context.extraInfo, root) && root.isMember("fd")) {
            int fd = root["fd"].asInt();
            char text[64] = {};
            ssize_t got = pread(fd, text, sizeof(text) - 1, 0);
            what += ", the descriptor holds \"" + std::string(text, got > 0 ? got : 0) + "\"";
            close(fd); // ours to close
        }
        changes.Put(what);
        return TRBY_OK;
    }
    Example::Mailbox<std::string> changes;
};

int main(int argc, char **argv)
{
    auto service = Example::StartService(argc, argv);
    if (service == nullptr) {
        return 1;
    }
    auto watcher = sptr<ConnectWatcher>::MakeSptr();

    // The service's side: a state change with a descriptor of a small shared block.
    int block = memfd_create("camera-settings", MFD_CLOEXEC);
    const char settings[] = "1920x1080@30";
    bool written = block >= 0 && write(block, settings, sizeof(settings) - 1) == sizeof(settings) - 1;
    OHOS::TarnbyEmulator::ServiceStateChange change;
    change.firstString = "camera";
    change.secondString = "connected";
    change.extraInfo = R"({"fd": 0, "kind": "camera"})";
    change.fd = block;
    int32_t answer = service->SendServiceStateChange(watcher->AsObject(), change);
    close(block);

    std::string heard = watcher->changes.Take("(nothing)");
    std::printf("device-connect: %s (answer %d)\n", heard.c_str(), answer);
    bool ok = written && answer == TRBY_OK && heard == "camera -> connected, the descriptor holds \"1920x1080@30\"";
    std::printf("device-connect: %s\n", ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
