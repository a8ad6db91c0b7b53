#include <algorithm>
#include <stdexcept>

#include "host/commands/commands.h"
#include "host/commands/tables.h"

int runChannels(const Options& options, Console& console) {
    Session session(options.session, console);
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
