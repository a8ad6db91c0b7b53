#include "host/serve/http_routes.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "host/serve/page.h"

namespace {

struct Fixed {
    std::string_view path;
    Resource resource;
};
constexpr std::array Paths{
    Fixed{"/description.xml", Resource::Description}, Fixed{"/metrics", Resource::Metrics},
    Fixed{"/api/events", Resource::Events}, Fixed{"/api/channels", Resource::Channels}};
// What may follow the number of a channel in a path.
constexpr std::array Parts{Fixed{"", Resource::Channel}, Fixed{"/audio.wav", Resource::WavAudio},
                           Fixed{"/audio.frames", Resource::TimedAudio},
                           Fixed{"/audio", Resource::TalkUpload},
                           Fixed{"/talk", Resource::TalkSocket}};
constexpr std::string_view ChannelBeginning = "/api/channels/";

template <typename List>
const Fixed* search(const List& list, std::string_view path) {
    const auto found = std::ranges::find(list, path, &Fixed::path);
    return found == list.end() ? nullptr : &*found;
}

}  // namespace

std::optional<Route> findRoute(std::string_view path) {
    if (findPageFile(path) != nullptr)
        return Route{Resource::PageFile};
    if (const Fixed* found = search(Paths, path))
        return Route{found->resource};
    if (!path.starts_with(ChannelBeginning))
        return std::nullopt;
    path.remove_prefix(ChannelBeginning.size());
    int number = 0;
    const auto [end, error] = std::from_chars(path.data(), path.data() + path.size(), number);
    const auto digits = static_cast<size_t>(end - path.data());
    // Each channel has one path: "-0" and "007" are no numbers.
    if (error != std::errc() || number < 0 || path.substr(0, digits) != std::to_string(number))
        return std::nullopt;
    path.remove_prefix(digits);
    const Fixed* found = search(Parts, path);
    return found == nullptr ? std::nullopt : std::optional(Route{found->resource, number});
}

const char* allowedMethods(Resource resource) {
    switch (resource) {
        case Resource::Channel:
            return "GET, HEAD, PUT";
        case Resource::TalkUpload:
            return "POST";
        case Resource::WavAudio:
        case Resource::TimedAudio:
        case Resource::Events:
        case Resource::TalkSocket:
            return "GET";
        default:
            return "GET, HEAD";
    }
}

bool isAllowed(Resource resource, std::string_view method) {
    const std::string_view all = allowedMethods(resource);
    const size_t at = all.find(method);
    return !method.empty() && at != std::string_view::npos && (at == 0 || all[at - 1] == ' ') &&
           (at + method.size() == all.size() || all[at + method.size()] == ',');
}
