// SPDX-License-Identifier: Apache-2.0
#include "trace_recorder.h"

#include <cerrno>
#include <cstring>

namespace OHOS::TarnbyEmulator {
namespace {
constexpr size_t SHOWN_TEXT_MAX = 64;

// Short printable blocks are shown as text: the peer's "hello" reads better than its bytes.
bool Printable(const std::vector<uint8_t> &bytes)
{
    for (uint8_t byte : bytes) {
        if (byte < 0x20 || byte > 0x7e) {
            return false;
        }
    }
    return bytes.size() <= SHOWN_TEXT_MAX;
}

Json::Value FieldJson(const RequestField &field)
{
    Json::Value json;
    json["name"] = field.name;
    if (const auto *number = std::get_if<int32_t>(&field.value)) {
        json["type"] = "int32";
        json["value"] = *number;
    } else if (const auto *unsignedNumber = std::get_if<uint32_t>(&field.value)) {
        json["type"] = "uint32";
        json["value"] = *unsignedNumber;
    } else if (const auto *string = std::get_if<std::string>(&field.value)) {
        json["type"] = "string";
        json["value"] = string->size() <= SHOWN_TEXT_MAX ? *string : FieldText(field.value);
        json["size"] = static_cast<Json::UInt64>(string->size());
    } else if (const auto *bytes = std::get_if<std::vector<uint8_t>>(&field.value)) {
        json["type"] = "bytes";
        json["size"] = static_cast<Json::UInt64>(bytes->size());
        json["value"] = Printable(*bytes) ? std::string(bytes->begin(), bytes->end()) : FieldText(field.value);
    } else {
        json["type"] = "object";
        json["value"] = FieldText(field.value);
    }
    return json;
}
} // namespace

Json::Value TransactionJson(const Transaction &transaction)
{
    Json::Value json;
    json["sequence"] = static_cast<Json::UInt64>(transaction.sequence);
    json["direction"] = transaction.callback ? "callback" : "request";
    json["code"] = transaction.code;
    json["operation"] = transaction.operation.empty() ? "(none)" : transaction.operation;
    if (!transaction.callback) {
        json["envelope"] = transaction.envelope;
        json["callingPid"] = transaction.callingPid;
    }
    json["fields"] = Json::Value(Json::arrayValue);
    for (const RequestField &field : transaction.fields) {
        json["fields"].append(FieldJson(field));
    }
    if (!transaction.problem.empty()) {
        json["problem"] = transaction.problem;
    }
    json["status"] = transaction.status;
    const char *name = EmulatorResultName(transaction.status);
    json["statusName"] = name != nullptr ? name : "";
    json["durationMs"] = transaction.durationMs;
    json["startedAtMs"] = static_cast<Json::Int64>(transaction.startedAtMs);
    return json;
}

Json::Value EventJson(const EmulatorEvent &event)
{
    Json::Value json;
    json["sequence"] = static_cast<Json::UInt64>(event.sequence);
    json["kind"] = event.kind;
    json["id"] = event.id;
    json["result"] = event.result;
    json["text"] = event.text;
    return json;
}

TraceRecorder::~TraceRecorder()
{
    if (file_ != nullptr) {
        std::fclose(file_);
    }
}

bool TraceRecorder::WriteTo(const std::string &path, std::string &error)
{
    FILE *file = std::fopen(path.c_str(), "ae");
    if (file == nullptr) {
        error = "cannot open the trace file " + path + ": " + std::strerror(errno);
        return false;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    file_ = file;
    return true;
}

void TraceRecorder::Record(const Transaction &transaction)
{
    Json::Value entry = TransactionJson(transaction);
    std::function<void(const Json::Value &)> listener;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ring_.push_back(entry);
        if (ring_.size() > RING_SIZE) {
            ring_.pop_front();
        }
        if (file_ != nullptr) {
            Json::StreamWriterBuilder builder;
            builder["indentation"] = "";
            std::string line = Json::writeString(builder, entry) + "\n";
            std::fwrite(line.data(), 1, line.size(), file_);
            std::fflush(file_);
        }
        listener = listener_;
    }
    if (listener) {
        listener(entry);
    }
}

Json::Value TraceRecorder::Entries() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    Json::Value entries(Json::arrayValue);
    for (const Json::Value &entry : ring_) {
        entries.append(entry);
    }
    return entries;
}

void TraceRecorder::OnEntry(std::function<void(const Json::Value &entry)> listener)
{
    std::lock_guard<std::mutex> lock(mutex_);
    listener_ = std::move(listener);
}
} // namespace OHOS::TarnbyEmulator
