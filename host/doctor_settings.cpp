// The doctor's look at the settings file and its folder.
#include <tinyxml.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "host/findings.h"

namespace {

using Verdict = Finding::Verdict;

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

// What hinders the module from reading the file; empty when nothing does.
std::string flawOf(const std::filesystem::path& path) {
    if (!std::filesystem::is_regular_file(path))
        return "it is no file";
    if (access(path.c_str(), R_OK) != 0)
        return std::strerror(errno);
    TiXmlDocument document;
    document.Parse(contentOf(path).c_str());
    if (document.Error())
        return "line " + std::to_string(document.ErrorRow()) + ": " + document.ErrorDesc();
    return document.RootElement() == nullptr ? "it has no element" : "";
}

Findings examineFolder(const std::filesystem::path& folder) {
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error))
        return {{Verdict::Wrong, folder.string() + " is no folder",
                 "make it, or choose another with --dir"}};
    if (access(folder.c_str(), W_OK | X_OK) != 0)
        return {{Verdict::Wrong,
                 folder.string() + " cannot be written: " + std::strerror(errno) +
                     "; settings are lost when the host ends",
                 "give the folder to the user that runs the host, or choose another with --dir"}};
    return {{Verdict::Good, folder.string() + " can be written", ""}};
}

// Whether the channels of the settings have their devices.
Findings examineChannels(const std::string& xml, const Discovery& discovery) {
    Description settings;
    parseDescription(xml, settings);
    Findings findings;
    for (const ChannelDescription& channel : settings.channels) {
        const bool isFound = std::ranges::any_of(discovery.channels, [&](const auto& present) {
            return present.hasDevice && present.isOutput == channel.isOutput &&
                   present.device == channel.device;
        });
        const std::string name =
            "channel " + std::to_string(channel.number) + " '" + channel.name + "'";
        if (channel.device.empty())
            findings.push_back({Verdict::Note, name + " has no OsName: its number chooses", ""});
        else if (!isFound && (channel.enabled || !discovery.channels.empty()))
            findings.push_back({channel.enabled ? Verdict::Wrong : Verdict::Note,
                                name + ": its device '" + channel.device + "' is not there",
                                "start what provides the device, or set another OsName with "
                                "'tamborin-host send'"});
    }
    return findings;
}

}  // namespace

Findings examineSettings(const std::filesystem::path& folder, const Discovery& discovery) {
    const std::filesystem::path file = folder / "tamborin.xml";
    const std::filesystem::path pending = folder / "tamborin.xml.pending";
    Findings findings = examineFolder(folder);
    if (access(folder.c_str(), X_OK) != 0)
        return findings;
    const bool hasPending = std::filesystem::exists(pending);
    const bool isPendingWhole = hasPending && flawOf(pending).empty();
    if (isPendingWhole)
        findings.push_back({Verdict::Note,
                            pending.string() + " is whole: a save was broken off before its end",
                            "nothing: the module takes it over when it starts"});
    else if (hasPending)
        findings.push_back({Verdict::Note, pending.string() + " is torn: a save was broken off",
                            "nothing: the module ignores it and overwrites it with its next save"});
    if (!std::filesystem::exists(file)) {
        findings.push_back({Verdict::Note, "there is no " + file.string(),
                            "nothing: the module writes it when it starts there"});
    } else if (const std::string flaw = flawOf(file); !flaw.empty()) {
        findings.push_back({isPendingWhole ? Verdict::Note : Verdict::Wrong,
                            file.string() + " cannot be read: " + flaw,
                            "repair it, or remove it: otherwise the module overwrites it with "
                            "fresh settings when it starts"});
    } else {
        findings.push_back({Verdict::Good, file.string() + " can be read", ""});
    }
    const std::filesystem::path inForce = isPendingWhole ? pending : file;
    if (std::filesystem::exists(inForce) && flawOf(inForce).empty())
        for (const Finding& finding : examineChannels(contentOf(inForce), discovery))
            findings.push_back(finding);
    return findings;
}
