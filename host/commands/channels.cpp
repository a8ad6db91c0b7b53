#include <algorithm>
#include <stdexcept>

#include "host/commands/commands.h"
#include "host/commands/tables.h"

namespace {

// Fails when no channel has a device.
int run(const CommonOptions& common, Console& console) {
    Session session(common.session(), console);
    const auto channels = session.channels();
    session.finish();
    if (!channels.empty())
        showChannels(console, channels);
    if (std::ranges::none_of(channels, &ChannelDescription::hasDevice))
        throw std::runtime_error(
            "no channel has a device; start a sound server (PulseAudio or PipeWire), or see "
            "'tamborin-host doctor'");
    return Succeeded;
}

}  // namespace

void addChannels(CommandLine& line) { line.add("channels", "list the channels", {.run = run}); }
