// What the module's log lines mean. The only place of the tool that knows their texts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "plugin/tamborin.h"

struct LogFact {
    enum class Kind {
        StreamRestarted,   // the channel's stream was silent for too long
        DeviceFound,       // used for one direction
        DeviceNotAllowed,  // its name is none of those that the module opens
        DeviceOfOtherApi,  // not of PortAudio's default host API
        FormatRefused,     // no mono at 8000 Hz; `reason` has PortAudio's words
        PortAudioFailed,
    };
    Kind kind;
    int32_t channelId = 0;   // of a restart
    std::string device{};    // of the kinds named after one, and of a refused format
    bool isInput = false;    // of a device found
    bool isDefault = false;  // of a device found
    std::string reason{};    // of a refused format

    bool operator==(const LogFact&) const = default;
};

// The lowest level at which the module tells all of them.
constexpr int32_t LogFactLevel = LogDetail;

// Returns nothing when the line says none of that. Any thread.
std::optional<LogFact> understandLogLine(std::string_view line);
