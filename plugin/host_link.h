// Sends everything that the module says to its host. No other code calls the host's callback.
//
// Every function builds its record on its own stack and may be called on any thread except a stream
// callback's. None may be called while a lock is held, with one exception: the two loggers may be
// called under a channel's queueLock.
#pragma once

#include <cstdint>
#include <span>

#include "plugin/tamborin.h"

class TiXmlDocument;

// The callback given to Load; null before the first Load. Stays set after Unload.
extern HostCallback g_hostCallback;

// Asks the host for its threshold and, when `level` reaches it, formats the line and sends it.
// Lines of 2048 characters and more are cut to 2047 characters and a zero byte. At level 0 only a
// line of exactly 2048 characters is cut. Returns the host's answer to the line, or 0 when nothing
// was sent. Sends nothing when `callback` is null.
[[gnu::format(printf, 4, 5)]] int32_t logMessage(int64_t moduleId, HostCallback callback,
                                                 int32_t level, const char* format, ...) noexcept;

// Does the same with the module's ID and the host's callback.
[[gnu::format(printf, 2, 3)]] void logLine(int32_t level, const char* format, ...) noexcept;

// Prints `document` without indentation and sends it as KindModuleDocument or KindStatusDocument.
// Calls Close when the host answers 1. Throws std::bad_alloc; nothing has been sent then.
void sendDocument(const TiXmlDocument& document, int32_t kind);

// Sends one encoded capture frame with its capture time. Calls Close when the host answers 1.
void sendAudioFrame(std::span<const uint8_t> codes, uint64_t seconds, uint16_t milliseconds,
                    int32_t channelId) noexcept;

// Hands an accepted buffer back to the host. `buffer` is not null. The caller calls this once for
// each buffer and does not touch it afterwards. Returns the host's answer, which no caller needs.
int32_t releaseHostBuffer(const void* buffer) noexcept;
