// What the doctor finds, one examination a function; none changes anything on the machine.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/console.h"
#include "host/session.h"
#include "host/sound_server.h"

struct Finding {
    enum class Verdict { Good, Note, Wrong };
    Verdict verdict = Verdict::Good;
    std::string what;
    std::string advice;  // what to do about it; may be empty
};
using Findings = std::vector<Finding>;

// What the module sees of the machine without any settings.
struct Discovery {
    std::string failure;  // why the module could not be run; empty when it could
    std::string advice;   // what to do about that
    std::string version;
    std::vector<ChannelDescription> channels;
    std::vector<std::string> log;
};
// Runs the module, unless the sound server hangs, and the module would with it.
Discovery discover(const SoundServer& server, const SessionOptions& options, Console& console);

Findings examineSoundServer(const SoundServer& server);
Findings examineModule(const Discovery& discovery, const SoundServer& server,
                       const std::filesystem::path& library);
Findings examineDevices(const Discovery& discovery, const SoundServer& server);
// ALSA cards and their capture mixers.
Findings examineCards();
Findings examinePermissions(const SoundServer& server);
// The settings file in the folder, and whether its channels have devices.
Findings examineSettings(const std::filesystem::path& folder, const Discovery& discovery);
