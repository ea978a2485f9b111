// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_IPC_MESSAGE_OPTION_H
#define OHOS_IPC_MESSAGE_OPTION_H

namespace OHOS {
// How a request is sent: synchronous or one-way, plus a wait time that only cross-device calls honour.
class MessageOption {
public:
    enum {
        TF_SYNC = 0x00,
        TF_ASYNC = 0x01,
        TF_STATUS_CODE = 0x08,
        TF_ACCEPT_FDS = 0x10,
        TF_WAIT_TIME = 0x8,
        TF_ASYNC_WAKEUP_LATER = 0x100000,
        TF_IMAGE = 0x200000,
    };

    // Both values are kept as given; only SetWaitTime clamps.
    MessageOption(int flags = TF_SYNC, int waitTime = TF_WAIT_TIME);
    ~MessageOption() = default;

    // Adds flags to the current ones; a flag once set cannot be cleared.
    void SetFlags(int flags);
    int GetFlags() const;
    // A non-positive time means the default; anything above MAX_WAIT_TIME is cut to it.
    void SetWaitTime(int waitTime);
    int GetWaitTime() const;

private:
    static constexpr int MAX_WAIT_TIME = 3000;
    int flags_;
    int waitTime_;
};
} // namespace OHOS

#endif // OHOS_IPC_MESSAGE_OPTION_H
