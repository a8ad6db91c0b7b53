// The module's channels as its description document tells them, and documents that change them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct ChannelDescription {
    int number = 0;
    int32_t id = 0;
    std::string name;
    std::string device;
    bool isOutput = false;
    bool hasDevice = false;
    bool enabled = false;
};

struct Description {
    int bufferLength = 0;  // ms
    std::vector<ChannelDescription> channels;
};

// False when `xml` is no description (the announcement and the status are none).
bool parseDescription(std::string_view xml, Description& description);

// The version that an announcement tells; empty when `xml` is none.
std::string announcedVersion(std::string_view xml);
// The alarm that a status document tells; nothing when `xml` is none.
std::optional<bool> reportedAlarm(std::string_view xml);

// A configuration that enables or disables channels and, when positive, sets the buffering (ms).
std::string enablingDocument(const std::vector<int>& numbers, bool enabled, int bufferLength);
// One that names a channel or enables or disables it, or both.
std::string changingDocument(int number, const std::optional<std::string>& name,
                             std::optional<bool> enabled);
