// tamborin-host-serve: the program that `tamborin-host serve` and `tamborin-host password` start.
#include <gst/gst.h>
#include <sys/resource.h>

#include <cstdio>
#include <optional>

#include "host/serve/access.h"
#include "host/serve/ask_password.h"
#include "host/serve/http_server.h"
#include "host/serve/hub.h"
#include "host/serve/main_loop.h"
#include "host/serve/passwords.h"
#include "host/serve/rtsp_server.h"
#include "host/serve/serve_command_line.h"
#include "host/session/advice.h"
#include "host/system/locale.h"
#include "host/system/settings_folder.h"
#include "host/system/standard_streams.h"
#include "host/system/stop.h"
#include "host/terminal/silenced_libraries.h"
#include "host/terminal/text.h"

namespace {

constexpr int Failed = 1;
constexpr int Misused = 2;

void showInputs(Console& console, const Hub& hub, const RtspServer& rtsp) {
    for (const ChannelState& state : hub.state().channels)
        if (!state.channel.isOutput && state.channel.hasDevice)
            console.result(rtsp.url() + std::to_string(state.channel.number) + "  " +
                           state.channel.name);
}

void showCaptured(Console& console, const HubState& state) {
    for (const ChannelState& channel : state.channels)
        if (channel.frames > 0)
            console.remark("captured: channel " + std::to_string(channel.channel.number) + ", " +
                           std::to_string(channel.frames) + " frames, " +
                           std::to_string(channel.gaps) + " gaps");
}

int serve(const ServeOptions& options, Console& console) {
    const Access access = readAccess(options);
    MainLoop loop;
    Hub hub(options.hub, console);
    HubState served;
    {
        const RtspServer rtsp(hub, options, access);
        const HttpServer http(hub, options, access);
        showInputs(console, hub, rtsp);
        console.result(http.url() + "  the page");
        loop.run();
        served = hub.state();
    }
    const BufferAccount account = hub.finish();
    showCaptured(console, served);
    if (account.lent == account.returned && account.faults == 0)
        return 0;
    console.error("the module returned " + std::to_string(account.returned) + " of " +
                  std::to_string(account.lent) + " buffers, and " + std::to_string(account.faults) +
                  " that were not lent");
    return Failed;
}

// Lets the process have as many descriptors as it may. RTSP clients that can talk need several
// each, and GStreamer ends the process when it gets none.
void raiseDescriptorLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

int runServe(const ServeCommandLine& line) {
    raiseDescriptorLimit();
    gst_init(nullptr, nullptr);
    const StopSignals signals;
    std::optional<SilencedLibraries> silenced;
    if (!line.showsLibraryNoise)
        silenced.emplace();
    Console console(line.console, silenced ? silenced->messages() : stderr);
    try {
        const SettingsFolder folder(line.folder);
        return serve(line.serve, console);
    } catch (const MisuseError& error) {
        console.error(error.what());
        return Misused;
    } catch (const ModuleLoadError& error) {
        console.error("cannot load the module: " + std::string(error.what()) + "; " + NameLibrary);
    } catch (const std::exception& error) {
        console.error(error.what());
    }
    return Failed;
}

}  // namespace

int main(int argc, char** argv) {
    const StandardStreams streams;
    chooseCharacters();
    try {
        const ServeCommandLine line = parseServeCommandLine(argc, argv);
        if (line.command == ServeCommandLine::Command::Serve)
            return runServe(line);
        if (line.command == ServeCommandLine::Command::Password)
            setPassword(line.passwordFile, line.user, askPassword(line.user));
        return 0;
    } catch (const MisuseError& error) {
        std::fprintf(stderr, "tamborin-host: %s\n", printable(error.what()).c_str());
        return Misused;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tamborin-host: %s\n", printable(error.what()).c_str());
        return Failed;
    }
}
