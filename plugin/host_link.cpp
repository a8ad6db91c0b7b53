#include "plugin/host_link.h"

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>
#include <string>

#include "plugin/document.h"

HostCallback g_hostCallback = nullptr;

namespace {

constexpr int32_t AskToStop = 1;
constexpr size_t LogBufferSize = 2048;
constexpr uint32_t DetailSize = sizeof(HostMessage) - offsetof(HostMessage, detailSize);
static_assert(DetailSize == 168);

HostMessage makeMessage(int64_t kind, uint64_t type, int64_t sourceId) {
    HostMessage message{};
    message.size = sizeof(HostMessage);
    message.version = 1;
    message.sourceId = sourceId;
    message.kind = kind;
    message.type = type;
    return message;
}

void addDetail(HostMessage& message) {
    message.detailSize = DetailSize;
    message.detailVersion = 1;
}

int32_t sendText(int64_t moduleId, HostCallback callback, int32_t level, const char* text,
                 uint32_t length) {
    HostMessage message = makeMessage(KindLog, TypeLogText, moduleId);
    message.length = length;
    message.data = text;
    addDetail(message);
    message.level = static_cast<uint64_t>(level);
    return callback(&message, 0);
}

[[gnu::format(printf, 4, 0)]] int32_t formatAndSend(int64_t moduleId, HostCallback callback,
                                                    int32_t level, const char* format,
                                                    va_list arguments) {
    if (callback == nullptr)
        return 0;
    const HostMessage query = makeMessage(KindLog, TypeLogLevelQuery, moduleId);
    if (level < callback(&query, 0))
        return 0;

    char buffer[LogBufferSize];
    va_list firstUse;
    va_copy(firstUse, arguments);
    const int needed = std::vsnprintf(buffer, sizeof buffer, format, firstUse);
    va_end(firstUse);
    if (needed <= 0)
        return 0;
    const auto length = static_cast<uint32_t>(needed);
    if (length < LogBufferSize)
        return sendText(moduleId, callback, level, buffer, length);
    if (length == LogBufferSize || level != LogDetail)
        return sendText(moduleId, callback, level, buffer, LogBufferSize);

    const size_t wholeSize = size_t{length} + 1;
    const std::unique_ptr<char[]> whole(new (std::nothrow) char[wholeSize]);
    if (!whole || std::vsnprintf(whole.get(), wholeSize, format, arguments) < 0)
        return 0;
    return sendText(moduleId, callback, level, whole.get(), length);
}

void sendAndObey(const HostMessage& message) {
    if (g_hostCallback(&message, 0) == AskToStop)
        Close();
}

}  // namespace

int32_t logMessage(int64_t moduleId, HostCallback callback, int32_t level, const char* format,
                   ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    const int32_t answer = formatAndSend(moduleId, callback, level, format, arguments);
    va_end(arguments);
    return answer;
}

void logLine(int32_t level, const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    formatAndSend(ModuleId, g_hostCallback, level, format, arguments);
    va_end(arguments);
}

void sendDocument(const TiXmlDocument& document, int32_t kind) {
    const std::string text = printDocument(document, Layout::Compact);
    HostMessage message = makeMessage(kind, TypeDocument, ModuleId);
    message.length = static_cast<uint32_t>(text.size());
    message.data = text.data();
    sendAndObey(message);
}

void sendAudioFrame(std::span<const uint8_t> codes, uint64_t seconds, uint16_t milliseconds,
                    int32_t channelId) noexcept {
    HostMessage message = makeMessage(KindAudio, TypeAudio, channelId);
    message.length = static_cast<uint32_t>(codes.size());
    message.data = codes.data();
    addDetail(message);
    message.seconds = seconds;
    message.milliseconds = milliseconds;
    sendAndObey(message);
}

int32_t releaseHostBuffer(const void* buffer) noexcept {
    HostMessage message = makeMessage(KindBufferRelease, 0, ModuleId);
    message.data = buffer;
    return g_hostCallback(&message, 0);
}
