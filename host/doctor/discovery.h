// What the module finds on the machine without any settings.
#pragma once

#include <string>
#include <vector>

#include "host/doctor/sound_server.h"
#include "host/session/session.h"

struct Discovery {
    std::string failure;  // why the module could not be run; empty when it could
    std::string advice;   // what to do about that
    std::string version;
    std::vector<ChannelDescription> channels;
    std::vector<std::string> log;

    // Whether there is a device for that direction.
    bool has(bool outputs) const;
};
// Runs the module in a folder of its own, unless the sound server hangs, and the module would with
// it. Calls `endProcess` when the module hangs all the same.
Discovery discover(const SoundServer& server, const SessionOptions& options, Console& console,
                   ProcessEnd endProcess);
