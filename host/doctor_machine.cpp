// The doctor's look at ALSA's cards and at who may use them.
#include <alsa/asoundlib.h>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

#include "host/findings.h"

namespace {

using Verdict = Finding::Verdict;

struct MixerCloser {
    void operator()(snd_mixer_t* mixer) const { snd_mixer_close(mixer); }
};
using MixerPtr = std::unique_ptr<snd_mixer_t, MixerCloser>;

struct Freer {
    void operator()(char* text) const { std::free(text); }  // NOLINT: ALSA takes it from malloc
};

std::string nameOf(int card) {
    char* name = nullptr;
    const int error = snd_card_get_name(card, &name);
    const std::unique_ptr<char, Freer> owned(error < 0 ? nullptr : name);
    return "hw:" + std::to_string(card) + (owned ? " [" + std::string(owned.get()) + "]" : "");
}

Findings examineElement(snd_mixer_elem_t* element) {
    if (snd_mixer_selem_has_capture_switch(element) == 0)
        return {};
    int isOn = 0;
    long volume = 0;
    snd_mixer_selem_get_capture_switch(element, SND_MIXER_SCHN_FRONT_LEFT, &isOn);
    snd_mixer_selem_get_capture_volume(element, SND_MIXER_SCHN_FRONT_LEFT, &volume);
    const std::string name = std::string("  mixer ") + snd_mixer_selem_get_name(element) + ": ";
    const std::string state =
        std::string(isOn != 0 ? "on" : "off") + ", volume " + std::to_string(volume);
    if (isOn != 0 && volume > 0)
        return {{Verdict::Good, name + state, ""}};
    return {{Verdict::Note, name + state,
             "the module turns it on and up when an input is enabled; alsactl store keeps that"}};
}

Findings examineCard(int card) {
    const std::string name = nameOf(card);
    snd_mixer_t* opened = nullptr;
    int error = snd_mixer_open(&opened, 0);
    const MixerPtr mixer(error < 0 ? nullptr : opened);
    if (error >= 0)
        error = snd_mixer_attach(opened, ("hw:" + std::to_string(card)).c_str());
    if (error >= 0)
        error = snd_mixer_selem_register(opened, nullptr, nullptr);
    if (error >= 0)
        error = snd_mixer_load(opened);
    if (error < 0)
        return {{Verdict::Wrong, name + ": its mixer cannot be opened: " + snd_strerror(error),
                 "see Permissions below; without the mixer the module leaves the card as it is"}};
    Findings findings{{Verdict::Good, name, ""}};
    for (snd_mixer_elem_t* element = snd_mixer_first_elem(opened); element != nullptr;
         element = snd_mixer_elem_next(element))
        for (const Finding& finding : examineElement(element))
            findings.push_back(finding);
    return findings;
}

std::string userName() {
    const passwd* user = getpwuid(geteuid());
    return user != nullptr ? user->pw_name : std::to_string(geteuid());
}

bool isInGroup(gid_t group) {
    std::vector<gid_t> groups(static_cast<size_t>(std::max(getgroups(0, nullptr), 0)));
    const int count = getgroups(static_cast<int>(groups.size()), groups.data());
    return getegid() == group || (count > 0 && std::ranges::find(groups, group) != groups.end());
}

}  // namespace

Findings examineCards() {
    Findings findings;
    int card = -1;
    while (snd_card_next(&card) == 0 && card >= 0)
        for (const Finding& finding : examineCard(card))
            findings.push_back(finding);
    if (findings.empty())
        findings.push_back({Verdict::Note, "ALSA has no card",
                            "fine where a sound server has sources of its own; otherwise load the "
                            "card's driver (dmesg tells of it)"});
    return findings;
}

Findings examinePermissions(const SoundServer& server) {
    const std::filesystem::path folder = "/dev/snd";
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error))
        return {{Verdict::Note, "there is no /dev/snd",
                 "in a container, pass the devices in; otherwise the kernel has no sound card"}};
    Findings findings;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
        if (!entry.is_directory() && access(entry.path().c_str(), R_OK | W_OK) != 0)
            findings.push_back({server.isReachable ? Verdict::Note : Verdict::Wrong,
                                userName() + " may not use " + entry.path().string(), ""});
    if (findings.empty())
        return {{Verdict::Good, userName() + " may use everything in /dev/snd", ""}};
    const group* audio = getgrnam("audio");
    findings.back().advice = audio != nullptr && !isInGroup(audio->gr_gid)
                                 ? "sudo adduser " + userName() +
                                       " audio, and log in anew; a sound server of the same "
                                       "user needs none of that"
                                 : "see who owns the files: ls -l /dev/snd";
    return findings;
}
