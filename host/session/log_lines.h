// Understands the module's log lines. Only this part of the tool knows their texts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "plugin/tamborin.h"

struct LogFact {
    enum class Kind {
        StreamRestarted,   // the channel had no running stream for too long
        DeviceFound,       // the module uses the device for one direction
        DeviceNotAllowed,  // the module does not open devices of this name
        DeviceOfOtherApi,  // the device is not of PortAudio's default host API
        FormatRefused,     // the device has no mono at 8000 Hz; `reason` is PortAudio's text
        PortAudioFailed,
    };
    Kind kind;
    int32_t channelId = 0;   // set for StreamRestarted
    std::string device{};    // set for Device... and FormatRefused
    bool isInput = false;    // set for DeviceFound
    bool isDefault = false;  // set for DeviceFound
    std::string reason{};    // set for FormatRefused

    bool operator==(const LogFact&) const = default;
};

// The lowest level of the lines that tell these facts.
constexpr int32_t LogFactLevel = LogDetail;

// Returns the fact that a line tells, or nothing when it tells none of the above. Any thread.
std::optional<LogFact> understandLogLine(std::string_view line);
