// The doctor examines the module, and which of PortAudio's devices the module uses.
#include "host/doctor/examinations.h"
#include "host/session/log_lines.h"

namespace {

using Verdict = Finding::Verdict;

// Returns a finding for a log line about a device; nothing for any other line.
Findings explained(const std::string& line) {
    const std::optional<LogFact> fact = understandLogLine(line);
    if (!fact)
        return {};
    const std::string name = "'" + fact->device + "'";
    switch (fact->kind) {
        case LogFact::Kind::DeviceFound:
            return {{Verdict::Good,
                     name + " is used as " + (fact->isInput ? "input" : "output") +
                         (fact->isDefault ? ", the default one" : ""),
                     ""}};
        case LogFact::Kind::DeviceNotAllowed:
            return {{Verdict::Note, name + " is ignored: only 'default' and 'pulse' are opened",
                     "to use it, let a sound server or 'default' in /etc/asound.conf lead to it"}};
        case LogFact::Kind::DeviceOfOtherApi:
            return {{Verdict::Note, name + " is ignored: it is not of PortAudio's default host API",
                     "use the device of that name in the default host API"}};
        case LogFact::Kind::FormatRefused:
            return {
                {Verdict::Wrong, name + " is ignored: mono at 8000 Hz: " + fact->reason,
                 "free the device from the program that holds it, or let it convert: type plug in "
                 "/etc/asound.conf"}};
        case LogFact::Kind::PortAudioFailed:
            return {{Verdict::Wrong, line, "check that libportaudio2 is completely installed"}};
        default:
            return {};
    }
}

}  // namespace

Findings examineModule(const Discovery& discovery, const SoundServer& server,
                       const std::filesystem::path& library) {
    if (!discovery.failure.empty())
        return {
            {server.hangs ? Verdict::Note : Verdict::Wrong, discovery.failure, discovery.advice}};
    return {{Verdict::Good, library.string() + ", version " + discovery.version, ""}};
}

Findings examineDevices(const Discovery& discovery, const SoundServer& server,
                        const CardAccess& access) {
    if (!discovery.failure.empty())
        return {{Verdict::Note, "not examined, as the module did not run", ""}};
    Findings findings;
    for (const std::string& line : discovery.log)
        for (const Finding& finding : explained(line))
            findings.push_back(finding);
    const char* advice =
        server.isReachable
            ? "install libasound2-plugins, which leads ALSA to the sound server; if it is "
              "there, repair ALSA's configuration (~/.asoundrc, "
              "/etc/asound.conf, what ALSA_CONFIG_PATH names)"
        : access.isBarred()
            ? "see Permissions below, which keep the sound cards from the module; or start a "
              "sound server before the host"
            : "start a sound server first: the module looks only when it starts; without one, "
              "see ALSA's default device below";
    if (!discovery.has(false))
        findings.push_back({Verdict::Wrong, "no device to record from", advice});
    if (!discovery.has(true))
        findings.push_back({Verdict::Wrong, "no device to play on", advice});
    return findings;
}
