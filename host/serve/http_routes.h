// The paths of the HTTP server.
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
    WavAudio,    // to hear an input
    TimedAudio,  // to hear an input, with the frames' times
    TalkUpload,
    TalkSocket,
};

struct Route {
    Resource resource = Resource::PageFile;
    int number = 0;  // of the channel, where there is one
};

// Returns what is at the path, or nothing.
std::optional<Route> findRoute(std::string_view path);
// Returns the methods that the resource allows, in the form of the header Allow.
const char* allowedMethods(Resource resource);
bool isAllowed(Resource resource, std::string_view method);
