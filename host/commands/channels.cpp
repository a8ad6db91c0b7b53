#include <algorithm>
#include <stdexcept>

#include "host/commands/commands.h"
#include "host/commands/tables.h"
#include "host/session/advice.h"
#include "host/terminal/end_process.h"

namespace {

// Fails when no channel has a device.
int run(const CommonOptions& common, Console& console) {
    Session session(common.session(), console, endProcess);
    const auto channels = session.channels();
    session.finish();
    if (!channels.empty())
        showChannels(console, channels);
    if (std::ranges::none_of(channels, &ChannelDescription::hasDevice))
        throw std::runtime_error("no channel has a device; " + StartSoundServer);
    return Succeeded;
}

}  // namespace

void addChannels(CommandLine& line) { line.add("channels", "list the channels", {.run = run}); }
