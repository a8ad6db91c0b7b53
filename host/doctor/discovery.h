// What the module finds on the machine without any settings.
#pragma once

#include <string>
#include <vector>

#include "host/doctor/sound_server.h"
#include "host/session/session.h"

struct Discovery {
    std::string failure;  // why the module did not run; empty when it did
    std::string advice;   // what to do about that
    std::string version;
    std::vector<ChannelDescription> channels;
    std::vector<std::string> log;

    // Returns true when a channel of that direction has a device.
    bool has(bool outputs) const;
};
// Runs the module in a temporary folder. Does not run it when the sound server hangs, because the
// module would hang as well. Calls `endProcess` when the module hangs for another reason.
Discovery discover(const SoundServer& server, const SessionOptions& options, Console& console,
                   ProcessEnd endProcess);
