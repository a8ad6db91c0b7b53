#include <algorithm>
#include <cstdio>

#include "host/commands.h"

int runChannels(const Options& options) {
    Session session(options.session);
    const auto& channels = session.channels();
    if (!channels.empty())
        std::printf("%-6s  %-6s  %-7s  %-7s  %-24s  %s\n", "number", "kind", "enabled", "missing",
                    "name", "device");
    for (const ChannelDescription& channel : channels)
        std::printf("%6d  %-6s  %-7s  %-7s  %-24s  %s\n", channel.number,
                    channel.isOutput ? "output" : "input", channel.enabled ? "yes" : "no",
                    channel.hasDevice ? "no" : "yes", channel.name.c_str(), channel.device.c_str());
    session.finish();
    if (std::ranges::none_of(channels, &ChannelDescription::hasDevice))
        throw std::runtime_error("no channel has a device; is a sound server running?");
    return Succeeded;
}
