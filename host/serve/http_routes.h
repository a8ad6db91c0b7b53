// What there is at which path.
#pragma once

#include <optional>
#include <string>
#include <string_view>

enum class Resource {
    PageFile,
    Description,
    Metrics,
    Events,
    Channels,
    Channel,
    WavAudio,    // to hear
    TimedAudio,  // the same with times
    Audio,       // to talk
    Talk,        // the same by a WebSocket
};

struct Route {
    Resource resource = Resource::PageFile;
    int number = 0;  // of the channel, where there is one
};

// Nothing when there is nothing.
std::optional<Route> findRoute(std::string_view path);
// The methods that it takes, as the header Allow tells them.
const char* allowedMethods(Resource resource);
bool isAllowed(Resource resource, std::string_view method);
