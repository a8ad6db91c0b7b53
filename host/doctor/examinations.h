// The doctor's examinations, each of which answers what it finds. None changes anything on the
// machine, but for files that it makes to try a save, and removes again.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/doctor/discovery.h"
#include "host/doctor/sound_server.h"

struct Finding {
    enum class Verdict { Good, Note, Wrong };
    Verdict verdict = Verdict::Good;
    std::string what;
    std::string advice;  // what to do about it; may be empty
};
using Findings = std::vector<Finding>;

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
