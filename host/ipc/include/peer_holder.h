// SPDX-License-Identifier: Apache-2.0
#ifndef OHOS_IPC_PEER_HOLDER_H
#define OHOS_IPC_PEER_HOLDER_H

#include <cstdint>

#include "iremote_object.h"

namespace OHOS {
// Keeps the remote object a typed proxy talks to, fenced by guard words so a corrupted holder yields nothing.
class PeerHolder {
protected:
    explicit PeerHolder(const sptr<IRemoteObject> &object);
    virtual ~PeerHolder() = default;

    // The held object, or nullptr when the guard words around it were overwritten.
    sptr<IRemoteObject> Remote();

private:
    static constexpr uint32_t HEAD_GUARD = 0x5A5A5A5A;
    static constexpr uint32_t TAIL_GUARD = 0xA5A5A5A5;

    const uint32_t head_ = HEAD_GUARD;
    const sptr<IRemoteObject> remoteObject_;
    const uint32_t tail_ = TAIL_GUARD;
};
} // namespace OHOS

#endif // OHOS_IPC_PEER_HOLDER_H
