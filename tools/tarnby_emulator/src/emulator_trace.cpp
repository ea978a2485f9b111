// SPDX-License-Identifier: Apache-2.0
// What the emulator shows of itself: each transaction across the service's boundary as it ends, and its state.
#include "emulator_core.h"

namespace OHOS::TarnbyEmulator {
void EmulatorCore::SetTransactionSink(TransactionSink sink)
{
    auto shared = sink ? std::make_shared<const TransactionSink>(std::move(sink)) : nullptr;
    std::lock_guard<std::mutex> lock(eventsMutex_);
    sink_ = std::move(shared);
}

void EmulatorCore::SetEventSink(EventSink sink)
{
    auto shared = sink ? std::make_shared<const EventSink>(std::move(sink)) : nullptr;
    std::lock_guard<std::mutex> lock(eventsMutex_);
    eventSink_ = std::move(shared);
}

void EmulatorCore::Trace(Transaction transaction)
{
    std::shared_ptr<const TransactionSink> sink;
    {
        std::lock_guard<std::mutex> lock(eventsMutex_);
        sink = sink_;
        transaction.sequence = nextTransaction_++;
    }
    if (sink != nullptr) {
        (*sink)(transaction);
    }
}

CallbackResult EmulatorCore::TracedCall(const std::string &operation, uint32_t code, std::vector<RequestField> fields,
                                        const std::function<CallbackResult()> &call)
{
    auto started = std::chrono::steady_clock::now();
    auto wallClock = std::chrono::system_clock::now();
    CallbackResult result = call();
    Transaction transaction;
    transaction.callback = true;
    transaction.code = code;
    transaction.operation = operation;
    transaction.fields = std::move(fields);
    transaction.status = result.Delivered() && result.answered ? result.answer : result.sendStatus;
    transaction.durationMs =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - started).count();
    transaction.startedAtMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(wallClock.time_since_epoch()).count();
    Trace(std::move(transaction));
    return result;
}

EmulatorSnapshot EmulatorCore::Snapshot() const
{
    EmulatorSnapshot snapshot;
    std::lock_guard<std::mutex> lock(mutex_);
    snapshot.running = stub_ != nullptr;
    for (const auto &[id, session] : state_.sessions) {
        snapshot.sessions.push_back({id, session.local, session.target.Describe(), session.extraData});
    }
    for (const auto &[key, registration] : state_.registrations) {
        snapshot.registrations.push_back(registration.target.Describe());
    }
    for (const auto &[id, audio] : state_.audio) {
        snapshot.transfers.push_back({id, "audio", audio.devName + " on " + audio.peerNetworkId, audio.state});
    }
    for (const auto &[id, surface] : state_.surfaces) {
        snapshot.transfers.push_back(
            {id, "surface", surface.device.secondText + " on " + surface.device.firstText, surface.state});
    }
    return snapshot;
}
} // namespace OHOS::TarnbyEmulator
