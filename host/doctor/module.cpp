// The doctor's look at the sound server, and at what the module makes of PortAudio's devices.
#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <stdexcept>

#include "host/doctor/findings.h"
#include "host/session/advice.h"
#include "host/session/log_lines.h"
#include "host/system/settings_folder.h"

namespace {

using Verdict = Finding::Verdict;

// Ends with its content.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "tamborin-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("cannot make a folder in " +
                                     std::filesystem::temp_directory_path().string());
        path_ = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

// What the module's line about a device means; nothing when it is about none.
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
                     "use the device of that name that is"}};
        case LogFact::Kind::FormatRefused:
            return {
                {Verdict::Wrong, name + " is ignored: mono at 8000 Hz: " + fact->reason,
                 "free the device from the program that holds it, or let it convert: type plug in "
                 "/etc/asound.conf"}};
        case LogFact::Kind::PortAudioFailed:
            return {{Verdict::Wrong, line, "see whether libportaudio2 is installed whole"}};
        default:
            return {};
    }
}

}  // namespace

bool Discovery::has(bool outputs) const {
    return std::ranges::any_of(channels, [outputs](const ChannelDescription& channel) {
        return channel.isOutput == outputs && channel.hasDevice;
    });
}

Discovery discover(const SoundServer& server, const SessionOptions& options, Console& console,
                   ProcessEnd endProcess) {
    Discovery discovery;
    if (server.hangs) {
        discovery.failure = "not run: it would wait for the sound server";
        return discovery;
    }
    std::mutex mutex;  // guards the discovery
    try {
        // The user's own folder stays as it is: the module writes its settings when it starts.
        const TemporaryFolder folder;
        const SettingsFolder entered(folder.path());
        Session session(options, console, endProcess,
                        {.onLog =
                             [&](int32_t, std::string_view text) {
                                 const std::lock_guard held(mutex);
                                 discovery.log.emplace_back(text);
                             },
                         .onDocument =
                             [&](std::string_view xml, int64_t) {
                                 const std::lock_guard held(mutex);
                                 if (const std::string version = announcedVersion(xml);
                                     !version.empty())
                                     discovery.version = version;
                             }},
                        LogFactLevel);
        discovery.channels = session.channels();
        session.finish();
    } catch (const ModuleLoadError& error) {
        discovery.failure = error.what();
        discovery.advice = NameModule;
    } catch (const std::exception& error) {
        discovery.failure = error.what();
    }
    return discovery;
}

Findings examineSoundServer(const SoundServer& server) {
    if (server.hangs)
        return {{Verdict::Wrong, "the sound server does not answer",
                 "restart it: 'systemctl --user restart pulseaudio', or pipewire-pulse"}};
    if (!server.isReachable)
        return {{Verdict::Note, "not reachable: " + server.failure,
                 "start PulseAudio or PipeWire as the user that runs the host, before the host; or "
                 "define 'default' in /etc/asound.conf to do without"}};
    Findings findings{{Verdict::Good, server.name, ""}};
    if (server.source.empty())
        findings.push_back({Verdict::Wrong, "it has no default source, so nothing can be recorded",
                            "connect a microphone, or: pactl set-default-source SOURCE"});
    else
        findings.push_back({Verdict::Good, "records " + server.source, ""});
    if (server.sink.empty())
        findings.push_back({Verdict::Wrong, "it has no default sink, so nothing can be heard",
                            "connect a loudspeaker, or: pactl set-default-sink SINK"});
    else
        findings.push_back({Verdict::Good, "plays to " + server.sink, ""});
    return findings;
}

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
