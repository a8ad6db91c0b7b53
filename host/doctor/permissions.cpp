// The doctor examines whether the user may use the sound cards.
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>

#include "host/doctor/examinations.h"

namespace {

using Verdict = Finding::Verdict;

std::string userName() {
    const passwd* user = getpwuid(geteuid());
    return user != nullptr ? user->pw_name : std::to_string(geteuid());
}

bool isInGroup(gid_t group) {
    std::vector<gid_t> groups(static_cast<size_t>(std::max(getgroups(0, nullptr), 0)));
    const int count = getgroups(static_cast<int>(groups.size()), groups.data());
    return getegid() == group || (count > 0 && std::ranges::find(groups, group) != groups.end());
}

// Returns the first names, and the number of the others.
std::string listed(const std::vector<std::string>& names) {
    constexpr size_t Most = 3;
    std::string list;
    for (size_t i = 0; i < std::min(names.size(), Most); ++i)
        list += (i == 0 ? "" : ", ") + names[i];
    return list + (names.size() > Most
                       ? " and " + std::to_string(names.size() - Most) + " more files"
                       : "");
}

}  // namespace

CardAccess askCardAccess() {
    const std::filesystem::path folder = "/dev/snd";
    CardAccess access;
    std::error_code error;
    access.hasFolder = std::filesystem::is_directory(folder, error);
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
        if (!entry.is_directory(error) && ::access(entry.path().c_str(), R_OK | W_OK) != 0)
            access.refused.push_back(entry.path().filename().string());
    std::ranges::sort(access.refused);
    const group* audio = getgrnam("audio");
    access.hasGroup = audio != nullptr;
    access.isInGroup = audio != nullptr && isInGroup(audio->gr_gid);
    return access;
}

Findings examinePermissions(const CardAccess& access, const SoundServer& server,
                            const Discovery& discovery) {
    if (!access.hasFolder)
        return {{Verdict::Note, "there is no /dev/snd",
                 "in a container, pass the devices in; otherwise the kernel has no sound card"}};
    const bool worksAnyway = server.isReachable || (discovery.has(false) && discovery.has(true));
    const Verdict verdict = worksAnyway ? Verdict::Note : Verdict::Wrong;
    Findings findings;
    if (!access.hasGroup)
        findings.push_back(
            {verdict,
             "there is no group 'audio': the cards should belong to it, and without it ALSA's own "
             "'default' cannot be opened",
             "sudo groupadd --system audio, sudo adduser " + userName() +
                 " audio, and restart the machine"});
    if (access.refused.empty())
        findings.push_back({Verdict::Good, userName() + " may use everything in /dev/snd", ""});
    else if (access.hasGroup && !access.isInGroup)
        findings.push_back({verdict,
                            userName() + " is not in the group 'audio' and may not use " +
                                listed(access.refused) + " in /dev/snd",
                            "sudo adduser " + userName() +
                                " audio, and log in anew; a sound server of the same user needs "
                                "none of that"});
    else
        findings.push_back({verdict,
                            userName() + " may not use " + listed(access.refused) + " in /dev/snd",
                            access.hasGroup ? "see who owns the files: ls -l /dev/snd" : ""});
    return findings;
}
