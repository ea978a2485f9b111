// SPDX-License-Identifier: Apache-2.0
#include "peer_holder.h"

namespace OHOS {
PeerHolder::PeerHolder(const sptr<IRemoteObject> &object) : remoteObject_(object) {}

sptr<IRemoteObject> PeerHolder::Remote()
{
    if (head_ != HEAD_GUARD || tail_ != TAIL_GUARD) {
        return nullptr;
    }
    return remoteObject_;
}
} // namespace OHOS
