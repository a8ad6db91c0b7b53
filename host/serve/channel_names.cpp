#include "host/serve/channel_names.h"

#include <glib.h>

#include <algorithm>
#include <memory>

#include "base/utf8.h"

namespace {

std::optional<std::string> decoded(std::string_view segment) {
    const std::unique_ptr<gchar, decltype(&g_free)> plain(
        g_uri_unescape_segment(segment.data(), segment.data() + segment.size(), nullptr), g_free);
    return plain != nullptr ? std::optional<std::string>(plain.get()) : std::nullopt;
}

}  // namespace

NamingPath splitPath(std::string_view urlPath) {
    const std::string_view path = urlPath.substr(urlPath.starts_with('/') ? 1 : 0);
    const size_t end = std::min(path.find('/'), path.size());
    std::string_view rest = path.substr(end);
    while (rest.ends_with('/'))
        rest.remove_suffix(1);
    return {decoded(path.substr(0, end)), std::string(rest)};
}

std::optional<ChannelDescription> findNamed(const std::vector<ChannelDescription>& channels,
                                            std::string_view numberOrName, bool isOutput) {
    const auto search = [&](const auto& isIt) -> std::optional<ChannelDescription> {
        for (const ChannelDescription& channel : channels)
            if (channel.isOutput == isOutput && isIt(channel))
                return channel;
        return std::nullopt;
    };
    const auto numbered = search([&](const ChannelDescription& channel) {
        return std::to_string(channel.number) == numberOrName;
    });
    return numbered ? numbered : search([&](const ChannelDescription& channel) {
        return channel.name == numberOrName;
    });
}

bool isGoodName(std::string_view name) {
    std::string valid(name);
    makeUtf8(valid);
    return !name.empty() && name.size() <= MostNameBytes && valid == name &&
           std::ranges::none_of(name,
                                [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; });
}
