// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_EMULATOR_CALLBACK_SENDER_H
#define TARNBY_EMULATOR_CALLBACK_SENDER_H

// How the service calls the client's callback objects: every parcel opens with the callback token and carries its
// fields in wire order. Each call is synchronous; the client's hook runs on one of the client's IPC threads.
#include <cstdint>
#include <string>

#include "iremote_object.h"

namespace OHOS::TarnbyEmulator {
// Message types of a collaboration callback call.
enum SessionMessageType : int32_t {
    SESSION_MESSAGE_DATA = 104,
    SESSION_MESSAGE_EVENT = 105,
};

// Surface-transfer event kinds (the subServiceType of a 601 call).
enum SurfaceEventType : uint32_t {
    SURFACE_EVENT_STARTED = 40001,
    SURFACE_EVENT_STOPPED = 40002,
    SURFACE_EVENT_WITH_CODE = 10001,
};

// The outcome of one call: the platform's send status and, when the callback answered in its reply, that answer.
struct CallbackResult {
    int sendStatus = 0;
    bool answered = false;
    int32_t answer = 0;

    bool Delivered() const
    {
        return sendStatus == 0;
    }
};

// The answer to a start request: request code 103, int32 result, int32 session id.
CallbackResult CallStartAnswer(const sptr<IRemoteObject> &innerCallback, int32_t result, int32_t sessionId);
// A session message: request code 103, int32 type, int32 session id, uint32 length, the bytes unpadded.
CallbackResult CallSessionMessage(const sptr<IRemoteObject> &callback, SessionMessageType type, int32_t sessionId,
                                  const uint8_t *data, uint32_t length);
// A surface event: request code 601, the five service-code fields (105, `eventType`, 0, 0, 0), then for
// SURFACE_EVENT_WITH_CODE a uint32 code, then the string `extra`.
CallbackResult CallSurfaceEvent(const sptr<IRemoteObject> &callback, uint32_t eventType, uint32_t code,
                                const std::string &extra);
} // namespace OHOS::TarnbyEmulator

#endif // TARNBY_EMULATOR_CALLBACK_SENDER_H
