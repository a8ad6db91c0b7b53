#include "host/session/json_records.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <span>
#include <string_view>

#include "host/session/sound_format.h"

namespace {

using Json = nlohmann::ordered_json;

std::string inHexadecimal(uint64_t number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "0x%" PRIx64, number);
    return text.data();
}

const char* nameOf(const HostMessage& message) {
    switch (message.kind) {
        case KindAudio:
            return "audio";
        case KindStatusDocument:
            return "status";
        case KindLog:
            return message.type == TypeLogLevelQuery ? "log-level-query" : "log";
        case KindModuleDocument:
            return "document";
        case KindBufferRelease:
            return "buffer-release";
        default:
            return "unknown";
    }
}

void addContent(Json& record, const HostMessage& message) {
    const std::string_view text(static_cast<const char*>(message.data), message.length);
    switch (message.kind) {
        case KindAudio:
            record["seconds"] = message.seconds;
            record["milliseconds"] = message.milliseconds;
            record["samples"] = message.length;
            record["peak"] = peakOf({static_cast<const uint8_t*>(message.data), message.length});
            break;
        case KindLog:
            if (message.type == TypeLogLevelQuery)
                break;
            record["level"] = message.level;
            record["text"] = text;
            break;
        case KindStatusDocument:
        case KindModuleDocument:
            record["xml"] = text;
            break;
        case KindBufferRelease:
            record["buffer"] = inHexadecimal(reinterpret_cast<uintptr_t>(message.data));
            break;
        default:
            record["length"] = message.length;
            break;
    }
}

}  // namespace

std::string jsonLine(const HostMessage& message, int32_t answer, bool isAscii) {
    Json record;
    record["record"] = nameOf(message);
    record["kind"] = message.kind;
    record["type"] = inHexadecimal(message.type);
    record["source"] = inHexadecimal(static_cast<uint64_t>(message.sourceId));
    addContent(record, message);
    if (message.type == TypeLogLevelQuery)
        record["answer"] = answer;
    // Bytes that are not UTF-8 are replaced. A name in the settings may contain such bytes.
    return record.dump(-1, ' ', isAscii, Json::error_handler_t::replace) + "\n";
}
