// What the doctor finds, one examination a function. None changes anything on the machine, but for
// files that it makes to try a save, and removes again.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/doctor/sound_server.h"
#include "host/session/session.h"
#include "host/terminal/console.h"

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

    // Whether there is a device for that direction.
    bool has(bool outputs) const;
};
// Runs the module in a folder of its own, unless the sound server hangs, and the module would with
// it. Calls `endProcess` when the module hangs all the same.
Discovery discover(const SoundServer& server, const SessionOptions& options, Console& console,
                   ProcessEnd endProcess);

// What the user may do with the machine's sound cards.
struct CardAccess {
    bool hasFolder = false;            // /dev/snd
    std::vector<std::string> refused;  // files in it that the user may not use
    bool hasGroup = false;             // "audio" exists
    bool isInGroup = false;            // the user, as the process runs

    bool isBarred() const { return hasFolder && (!hasGroup || !refused.empty()); }
};
CardAccess askCardAccess();

Findings examineSoundServer(const SoundServer& server);
Findings examineModule(const Discovery& discovery, const SoundServer& server,
                       const std::filesystem::path& library);
Findings examineDevices(const Discovery& discovery, const SoundServer& server,
                        const CardAccess& access);
// What ALSA's "default" is for a recording.
Findings examineDefault(const SoundServer& server);
// ALSA's cards, and what the module will do with their mixers.
Findings examineCards();
Findings examinePermissions(const CardAccess& access, const SoundServer& server,
                            const Discovery& discovery);
// The settings file in the folder, whether it can be saved, and whether its channels have devices.
Findings examineSettings(const std::filesystem::path& folder, const Discovery& discovery);
