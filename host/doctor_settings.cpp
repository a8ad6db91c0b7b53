// The doctor's look at the settings file and its folder.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "config/xml_store.h"
#include "host/document_flaw.h"
#include "host/findings.h"
#include "host/folder_lock.h"

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
    if (std::filesystem::file_size(path) > LargestXmlFile)
        return "it is larger than " + std::to_string(LargestXmlFile) + " bytes";
    TiXmlDocument document;
    if (std::string flaw = parseAsModule(document, contentOf(path)); !flaw.empty())
        return flaw;
    return document.RootElement() == nullptr ? "it has no element" : "";
}

// Empty when the user may make files and folders there, else why not.
std::string whyNotWritable(const std::filesystem::path& folder) {
    std::error_code ignored;
    if (!std::filesystem::is_directory(folder, ignored))
        return "it is no folder";
    return access(folder.c_str(), W_OK | X_OK) != 0 ? std::strerror(errno) : "";
}

Findings examineFolder(const std::filesystem::path& folder) {
    std::filesystem::path present = folder;
    std::error_code ignored;
    while (!std::filesystem::exists(std::filesystem::symlink_status(present, ignored)))
        present = present.parent_path();
    if (const std::string flaw = whyNotWritable(present); !flaw.empty())
        return {{Verdict::Wrong,
                 present.string() + " cannot be written: " + flaw +
                     "; settings are lost when the host ends",
                 "give the folder to the user that runs the host, or choose another with --dir"}};
    if (present != folder)
        return {{Verdict::Note, "there is no " + folder.string(),
                 "nothing: every other command makes it"}};
    return {{Verdict::Good, folder.string() + " can be written", ""}};
}

// The device that the module gives to a channel of the settings; null when there is none. Without
// settings, as in the discovery, channels are numbered as the devices were found.
const ChannelDescription* deviceFor(const ChannelDescription& channel, const Discovery& discovery) {
    const auto found = std::ranges::find_if(discovery.channels, [&](const auto& present) {
        return present.hasDevice && present.isOutput == channel.isOutput &&
               (channel.device.empty() ? present.number == channel.number
                                       : present.device == channel.device);
    });
    return found != discovery.channels.end() ? &*found : nullptr;
}

Findings examineChannel(const ChannelDescription& channel, const Discovery& discovery) {
    const std::string name =
        "channel " + std::to_string(channel.number) + " '" + channel.name + "'";
    const ChannelDescription* device = deviceFor(channel, discovery);
    const Verdict missing = channel.enabled ? Verdict::Wrong : Verdict::Note;
    if (device != nullptr && channel.device.empty())
        return {{Verdict::Note,
                 name + " has no OsName: its number chooses '" + device->device + "'", ""}};
    if (device != nullptr || (!channel.enabled && discovery.channels.empty()))
        return {};
    if (channel.device.empty())
        return {{missing,
                 name + " has no device: its OsName is empty, and device " +
                     std::to_string(channel.number) + " is no " +
                     (channel.isOutput ? "output" : "input"),
                 "set its OsName to the name of a device with 'tamborin-host send'"}};
    return {{missing, name + ": its device '" + channel.device + "' is not there",
             "start what provides the device, or set another OsName with 'tamborin-host send'"}};
}

// Whether the channels of the settings have their devices.
Findings examineChannels(const std::string& xml, const Discovery& discovery) {
    Description settings;
    parseDescription(xml, settings);
    Findings findings;
    for (const ChannelDescription& channel : settings.channels)
        for (const Finding& finding : examineChannel(channel, discovery))
            findings.push_back(finding);
    return findings;
}

}  // namespace

Findings examineSettings(const std::filesystem::path& folder, const Discovery& discovery) {
    const std::filesystem::path file = folder / "tamborin.xml";
    const std::filesystem::path pending = folder / "tamborin.xml.pending";
    Findings findings = examineFolder(folder);
    if (const std::string holder = FolderLock::holderOf(folder); !holder.empty())
        findings.push_back({Verdict::Note, folder.string() + " is in use by " + holder,
                            "end that before another command uses the folder"});
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
    if (discovery.failure.empty() && std::filesystem::exists(inForce) && flawOf(inForce).empty())
        for (const Finding& finding : examineChannels(contentOf(inForce), discovery))
            findings.push_back(finding);
    return findings;
}
