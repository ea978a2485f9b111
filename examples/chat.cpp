// SPDX-License-Identifier: Apache-2.0
// A chat over a collaboration session: register a callback for the peer's ability, start a session, send a line,
// read the peer's answer in the callback, stop and unregister.
#include <cstdio>
#include <string>
#include <vector>

#include "collab_ability_callback.h"
#include "collaboration_ability.h"
#include "example_service.h"
#include "tarnby_errors.h"

using namespace OHOS;
using namespace OHOS::Tarnby;

// The service calls this object on one of its IPC threads. `data` is valid during the call only (copy what you
// keep), and may be null with a non-zero length when the service's block could not be read.
class ChatCallback : public CollabAbilityCallback {
public:
    void OnCollaborationData(int32_t sessionId, const uint8_t *data, uint32_t dataLen) override
    {
        lines.Put(data == nullptr ? std::string() : std::string(reinterpret_cast<const char *>(data), dataLen));
    }
    void OnCollaborationEvent(int32_t sessionId, const uint8_t *data, uint32_t dataLen) override {}

    Example::Mailbox<std::string> lines;
};

int main(int argc, char **argv)
{
    auto service = Example::StartService(argc, argv);
    if (service == nullptr) {
        return 1;
    }
    auto &collaboration = CollaborationAbility::GetInstance();
    auto peer = sptr<TargetInfo>::MakeSptr("peer-network-id", ABILITY_TARGET, "com.example.chat", "ChatAbility", 0);
    auto callback = sptr<ChatCallback>::MakeSptr();
    if (collaboration.RegisterCollaborationCallback(peer, callback) != TRBY_OK) {
        std::fprintf(stderr, "chat: register failed\n");
        return 1;
    }
    // The start blocks until the service answers with the session id (at most 20 seconds).
    auto [status, sessionId] = collaboration.StartCollaboration(4700, peer, "chat");
    if (status != TRBY_OK) {
        std::fprintf(stderr, "chat: start failed with %d\n", status);
        return 1;
    }
    std::string line = "hello, peer";
    status = collaboration.SendCollaborationData(sessionId, line.data(), line.size());
    std::printf("chat: sent \"%s\" on session %d: %d\n", line.c_str(), sessionId, status);

    std::string answer = "hello, app";
    service->PeerSendData(sessionId, std::vector<uint8_t>(answer.begin(), answer.end())); // the peer answers
    std::string heard = callback->lines.Take("(nothing)");
    std::printf("chat: the peer answered \"%s\"\n", heard.c_str());

    bool stopped = collaboration.StopCollaboration(sessionId) == TRBY_OK &&
                   collaboration.UnRegisterCollaborationCallback(peer) == TRBY_OK;
    bool ok = status == TRBY_OK && heard == answer && stopped;
    std::printf("chat: %s\n", ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
