// Channels as clients name them: by number or by name, in the paths of RTSP URLs and in changes.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/session/documents.h"

// The path of a URL. Its first segment names a channel.
struct NamingPath {
    std::optional<std::string> channel;  // decoded; nothing when the percent-encoding is wrong
    std::string rest;                    // empty, or a slash and what follows, as it was encoded
};
// Ignores slashes at the end.
NamingPath splitPath(std::string_view urlPath);

// Finds an input, or output, by its number, or else by its name. Of channels with the same name it
// returns the first one.
std::optional<ChannelDescription> findNamed(const std::vector<ChannelDescription>& channels,
                                            std::string_view numberOrName, bool isOutput);

constexpr size_t MostNameBytes = 128;
// Returns true when a client may give a channel this name: UTF-8 of 1 to MostNameBytes bytes,
// without control characters.
bool isGoodName(std::string_view name);
