// The doctor examines the settings file and its folder.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "config/settings_path.h"
#include "config/xml_store.h"
#include "host/doctor/examinations.h"
#include "host/doctor/trial_save.h"
#include "host/session/parse_as_module.h"
#include "host/system/folder_lock.h"
#include "host/system/folders.h"

namespace {

using Verdict = Finding::Verdict;

// A settings file as the module reads it.
struct SettingsText {
    std::string flaw;  // why the module cannot read it; empty when it can
    std::vector<std::string> leftOut;
    std::string xml;
};

SettingsText readSettings(const std::filesystem::path& path) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored))
        return {"it is no file", {}, ""};
    if (access(path.c_str(), R_OK) != 0)
        return {std::strerror(errno), {}, ""};
    if (std::filesystem::file_size(path) > LargestXmlFile)
        return {"it is larger than " + std::to_string(LargestXmlFile) + " bytes", {}, ""};
    TiXmlDocument document;
    std::string text = contentOf(path);
    DocumentFlaws flaws = parseAsModule(document, text);
    if (flaws.unreadable.empty() && document.RootElement() == nullptr)
        flaws.unreadable = "it has no element";
    return {flaws.unreadable, flaws.leftOut, text};
}

std::filesystem::file_type typeOf(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::symlink_status(path, ignored).type();
}

Finding cannotReplace(const std::filesystem::path& path, const std::string& why) {
    return {Verdict::Wrong,
            "nothing can be saved: " + path.string() + " cannot be replaced: " + why,
            "move it away; instead of a mounted file, mount its folder"};
}

// Returns why the user cannot make files in the folder, or an empty text.
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
    std::string flaw = whyNotWritable(present);
    if (flaw.empty() && present == folder)
        flaw = trySave(folder);
    if (!flaw.empty())
        return {{Verdict::Wrong,
                 "nothing can be saved in " + present.string() + ": " + flaw +
                     "; settings are lost when the host ends",
                 "make room there, give the folder to the user that runs the host, or choose "
                 "another with --dir"}};
    if (present != folder)
        return {{Verdict::Note, "there is no " + folder.string(),
                 "nothing to do: every other command makes it"}};
    return {{Verdict::Good, "files can be written in " + folder.string(), ""}};
}

// Returns the discovered channel whose device the module will give to a channel of the settings;
// null when there is none. The discovery ran without settings, so its channel numbers are those of
// the devices.
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

// Finds what the module leaves out of its settings, and whether their channels have devices.
Findings examineContent(const SettingsText& settings, const std::filesystem::path& path,
                        const Discovery& discovery) {
    Findings findings;
    for (const std::string& element : settings.leftOut)
        findings.push_back({Verdict::Note, path.string() + ": the module leaves out: " + element,
                            "repair it if you need it: the module's next save leaves it out"});
    Description description;
    if (discovery.failure.empty() && settings.flaw.empty())
        parseDescription(settings.xml, description);
    for (const ChannelDescription& channel : description.channels)
        for (const Finding& finding : examineChannel(channel, discovery))
            findings.push_back(finding);
    return findings;
}

// The module starts with the pending file when that is whole.
Finding unreadable(const std::filesystem::path& file, const std::string& flaw,
                   bool isPendingWhole) {
    const std::string what = file.string() + " cannot be read: " + flaw;
    if (isPendingWhole)
        return {Verdict::Note, what,
                "nothing to do: the module replaces it by the pending settings"};
    return {Verdict::Wrong, what,
            "repair it, or move it away: when the module starts it overwrites the file with new "
            "settings"};
}

}  // namespace

Findings examineSettings(const std::filesystem::path& folder, const Discovery& discovery) {
    const std::filesystem::path file = folder / SettingsPath;
    const std::filesystem::path pending = folder / (std::string(SettingsPath) + PendingSuffix);
    Findings findings = examineFolder(folder);
    std::error_code ignored;
    if (const std::string holder = FolderLock::holderOf(folder); !holder.empty())
        findings.push_back({Verdict::Note, folder.string() + " is in use by " + holder,
                            "end that before another command uses the folder"});
    if (access(folder.c_str(), X_OK) != 0)
        return findings;
    const std::string pendingObstacle = whyNotReplaceable(pending);
    const std::string fileObstacle = whyNotReplaceable(file);
    const bool hasPending = typeOf(pending) == std::filesystem::file_type::regular;
    const SettingsText pendingText = hasPending ? readSettings(pending) : SettingsText{};
    const bool isPendingWhole = hasPending && pendingText.flaw.empty();
    if (!pendingObstacle.empty())
        findings.push_back(cannotReplace(pending, pendingObstacle));
    else if (isPendingWhole)
        findings.push_back(
            {Verdict::Note,
             pending.string() + " is complete: a save was interrupted after writing it",
             "nothing to do: the module uses it when it starts"});
    else if (hasPending)
        findings.push_back({Verdict::Note, pending.string() + " is incomplete, from a failed save",
                            "nothing to do: the module ignores it, and its next save replaces it"});
    else if (typeOf(pending) != std::filesystem::file_type::not_found)
        findings.push_back({Verdict::Note, pending.string() + " is no regular file",
                            "nothing to do: the module removes it with its next save"});
    const bool hasFile = std::filesystem::exists(file, ignored);
    const SettingsText fileText = hasFile ? readSettings(file) : SettingsText{};
    if (!fileObstacle.empty()) {
        findings.push_back(cannotReplace(file, fileObstacle));
    } else if (!hasFile) {
        findings.push_back({Verdict::Note, "there is no " + file.string(),
                            "nothing to do: the module writes it when it starts there"});
    } else if (!fileText.flaw.empty()) {
        findings.push_back(unreadable(file, fileText.flaw, isPendingWhole));
    } else {
        findings.push_back({Verdict::Good, file.string() + " can be read", ""});
    }
    for (const Finding& finding : examineContent(isPendingWhole ? pendingText : fileText,
                                                 isPendingWhole ? pending : file, discovery))
        findings.push_back(finding);
    return findings;
}
