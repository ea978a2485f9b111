#ifndef OHOS_IPC_IPC_SKELETON_H
#define OHOS_IPC_IPC_SKELETON_H

#include <sys/types.h>

namespace OHOS {
class IPCSkeleton {
public:
    // While a request from another process is handled on this thread: the sender's pid; otherwise our own.
    static pid_t GetCallingPid();
    // The same rule for the uid.
    static pid_t GetCallingUid();
    // The most IPC threads this process runs at once to serve requests (default 16); false outside 1..256.
    static bool SetMaxWorkThreadNum(int maxThreadNum);
};
} // namespace OHOS

#endif // OHOS_IPC_IPC_SKELETON_H
