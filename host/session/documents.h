// The module's channels as its description document lists them, and documents that change them.
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

// Reads a description document. Returns false when `xml` is another one, such as the announcement.
bool parseDescription(std::string_view xml, Description& description);

// Returns the module's version from the announcement; empty when `xml` is another document.
std::string announcedVersion(std::string_view xml);
// Returns whether a status document reports an alarm; nothing when `xml` is another document.
std::optional<bool> reportedAlarm(std::string_view xml);

// Returns a configuration that enables or disables channels. Sets `bufferLength` (ms) if positive.
std::string enablingDocument(const std::vector<int>& numbers, bool enabled, int bufferLength);
// Returns a configuration that names a channel, enables or disables it, or does both.
std::string changingDocument(int number, const std::optional<std::string>& name,
                             std::optional<bool> enabled);
