// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_CALLBACK_TOKEN_H
#define TARNBY_CALLBACK_TOKEN_H

#include "message_parcel.h"
#include "tarnby_log.h"

namespace OHOS::Tarnby {
// Reads the interface token a callback request opens with and compares it with the callback descriptor; a mismatch
// is logged (under the callback tag, at the caller's site) and the caller answers 1010.
bool ReadCallbackToken(MessageParcel &data, LogSite site = LogSite::Here());
} // namespace OHOS::Tarnby

#endif // TARNBY_CALLBACK_TOKEN_H
