// The doctor's examinations. Each returns its findings. They change nothing on the machine, except
// that examineSettings makes files to try a save, and removes them.
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
    bool isInGroup = false;            // the process's user is in it

    // Returns true when permissions may keep the module from the cards.
    bool isBarred() const { return hasFolder && (!hasGroup || !refused.empty()); }
};
CardAccess askCardAccess();

Findings examineSoundServer(const SoundServer& server);
Findings examineModule(const Discovery& discovery, const SoundServer& server,
                       const std::filesystem::path& library);
Findings examineDevices(const Discovery& discovery, const SoundServer& server,
                        const CardAccess& access);
// Examines whether ALSA's device "default" can record, and how well.
Findings examineDefault(const SoundServer& server);
// Examines ALSA's cards, and what the module will do with their mixers.
Findings examineCards();
Findings examinePermissions(const CardAccess& access, const SoundServer& server,
                            const Discovery& discovery);
// Examines the settings file in the folder: whether it can be read and saved, and whether its
// channels have devices.
Findings examineSettings(const std::filesystem::path& folder, const Discovery& discovery);
