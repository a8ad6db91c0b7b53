// The doctor examines ALSA's cards: what the module will do with their mixers when it enables an
// input. It cannot tell whether the module's changes will succeed.
#include <alsa/asoundlib.h>

#include <algorithm>
#include <map>

#include "devices/capture_element.h"
#include "devices/card_mixer.h"
#include "host/doctor/examinations.h"

namespace {

using Verdict = Finding::Verdict;

// Returns the kernel module that drives the card, such as "snd_intel8x0".
std::string driverOf(int card) {
    std::error_code error;
    const std::filesystem::path driver = std::filesystem::read_symlink(
        "/sys/class/sound/card" + std::to_string(card) + "/device/driver/module", error);
    return error ? "DRIVER (see /proc/asound/modules)" : driver.filename().string();
}

// Returns the card's control device, without which ALSA does not see the card. Prefers the link by
// the card's place in the machine, because card numbers depend on the order of loading drivers.
std::filesystem::path controlOf(int card) {
    const std::filesystem::path device = "controlC" + std::to_string(card);
    std::error_code error;
    for (const auto& link : std::filesystem::directory_iterator("/dev/snd/by-path", error))
        if (std::filesystem::read_symlink(link, error).filename() == device)
            return link.path();
    return "/dev/snd" / device;
}

std::string adviceOnUnreadable(int card) {
    return "hide the card from the host only (in its systemd unit: InaccessiblePaths=-" +
           controlOf(card).string() + "), or disable the card: echo blacklist " + driverOf(card) +
           " | sudo tee /etc/modprobe.d/tamborin.conf, and restart the machine";
}

// Returns the queries that ALSA refused, with its reasons.
std::string failuresOf(const CaptureElement& read) {
    struct Query {
        const char* what;
        int error;
    };
    std::string failures;
    for (const Query& query :
         {Query{"volume range", read.rangeError}, Query{"volume", read.volumeError},
          Query{"left switch", read.leftError}, Query{"right switch", read.rightError}})
        if (query.error < 0)
            failures += (failures.empty() ? "" : ", ") + std::string(query.what) + ": " +
                        snd_strerror(query.error);
    return failures;
}

Finding examineElement(const std::string& label, const CaptureElement& read) {
    if (!read.isRead())
        return {Verdict::Wrong,
                "  " + label + " cannot be read (" + failuresOf(read) +
                    "): enabling an input will disable all inputs",
                ""};
    const std::string state = "  " + label + ": " + (read.isOn() ? "on" : "off") + ", volume " +
                              std::to_string(read.volume) + " of " + std::to_string(read.minimum) +
                              " to " + std::to_string(read.maximum);
    if (read.isOn() && read.volume != 0)
        return {Verdict::Good, state, ""};
    return {Verdict::Note, state,
            "the module turns it on and up when an input is enabled; alsactl store keeps that"};
}

// Capture switches of a card that allows only one of them to be on.
struct ExclusiveSwitches {
    int count = 0;
    std::string labels;
    std::string lastTurnedOn;  // by the module; this one stays on; empty: the module turns none on
};

Finding explained(const ExclusiveSwitches& switches) {
    const std::string what = "  only one can be on of " + switches.labels;
    if (switches.lastTurnedOn.empty())
        return {Verdict::Note, what + "; the module leaves that as it is", ""};
    return {
        Verdict::Note, what + "; the module will leave on " + switches.lastTurnedOn,
        "if that is the wrong one, choose again after each enabling of an input: alsamixer, F4"};
}

Findings examineMixer(snd_mixer_t* mixer, int card) {
    Findings findings;
    std::map<int, ExclusiveSwitches> groups;
    for (snd_mixer_elem_t* element = snd_mixer_first_elem(mixer); element != nullptr;
         element = snd_mixer_elem_next(element)) {
        if (!isCaptureElement(element))
            continue;
        const std::string label = labelOf(element);
        const CaptureElement read = readCapture(element);
        findings.push_back(examineElement(label, read));
        if (snd_mixer_selem_has_capture_switch_exclusive(element) == 0)
            continue;
        ExclusiveSwitches& group = groups[snd_mixer_selem_get_capture_group(element)];
        group.labels += (group.count++ == 0 ? "" : ", ") + label;
        if (read.isRead() && !read.isOn())
            group.lastTurnedOn = label;
    }
    const auto lastUnread =
        std::find_if(findings.rbegin(), findings.rend(),
                     [](const Finding& finding) { return finding.verdict == Verdict::Wrong; });
    if (lastUnread != findings.rend())
        lastUnread->advice = adviceOnUnreadable(card);
    for (const auto& [number, switches] : groups)
        if (switches.count > 1)
            findings.push_back(explained(switches));
    return findings;
}

Findings examineCard(int card) {
    const std::string device = "hw:" + std::to_string(card);
    const CardName name = nameOfCard(card);
    if (!name.isTold)
        return {{Verdict::Note, device + " does not tell its name",
                 "nothing to do: the module leaves its mixer as it is"}};
    const std::string label = device + " [" + name.text + "]";
    const CardMixer opened = openCardMixer(device);
    if (opened.failedStep != nullptr)
        return {{Verdict::Wrong,
                 label + ": its mixer cannot be opened: " + snd_strerror(opened.error),
                 "see Permissions below; without the mixer the module leaves the card as it is"}};
    Findings findings{{Verdict::Good, label, ""}};
    for (const Finding& finding : examineMixer(opened.mixer.get(), card))
        findings.push_back(finding);
    return findings;
}

}  // namespace

Findings examineCards() {
    Findings findings;
    int card = -1;
    while (snd_card_next(&card) == 0 && card >= 0)
        for (const Finding& finding : examineCard(card))
            findings.push_back(finding);
    if (findings.empty())
        findings.push_back({Verdict::Note, "ALSA has no card that the user may use",
                            "fine where a sound server has sources of its own; otherwise see "
                            "Permissions below, or load the card's driver (dmesg tells of it)"});
    return findings;
}
