// tamborin-host: the program around the chosen command.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <optional>

#include "host/command_line.h"
#include "host/session/advice.h"
#include "host/system/locale.h"
#include "host/system/settings_folder.h"
#include "host/system/standard_streams.h"
#include "host/system/stop.h"
#include "host/terminal/silenced_libraries.h"
#include "host/terminal/text.h"

namespace {

// Returns the work's result. When the work throws, prints the error and returns Failed.
int attempt(Console& console, const std::function<int()>& work) {
    try {
        return work();
    } catch (const ModuleLoadError& error) {
        console.error("cannot load the module: " + std::string(error.what()) + "; " + NameLibrary);
    } catch (const std::exception& error) {
        console.error(error.what());
    }
    return Failed;
}

int run(const ParsedCommandLine& line, Console& console) {
    const int status = attempt(console, [&] {
        line.command.prepare(console);
        std::optional<SettingsFolder> folder;
        if (line.command.needs == Command::Needs::SettingsFolder)
            folder.emplace(line.common.folder);
        return line.command.run(line.common, console);
    });
    const int finished = attempt(console, [&] {
        console.finishResults();
        return Succeeded;
    });
    return std::max(status, finished);
}

}  // namespace

// What belongs to the whole process is set up here, and undone in reverse order.
int main(int argc, char** argv) {
    const StandardStreams streams;
    chooseCharacters();
    try {
        const std::optional<ParsedCommandLine> line = parseCommandLine(argc, argv);
        if (!line) {
            checkResultsWritten();
            return Succeeded;
        }
        const StopSignals signals;
        std::optional<SilencedLibraries> silenced;
        if (line->command.needs != Command::Needs::Nothing && !line->common.showsLibraryNoise)
            silenced.emplace();
        Console console(line->common.console, silenced ? silenced->messages() : stderr);
        return run(*line, console);
    } catch (const UsageError& error) {
        Console({}, stderr).error(error.what());
        return Misused;
    } catch (const std::exception& error) {  // perhaps the console itself could not be made
        std::fprintf(stderr, "tamborin-host: %s\n", printable(error.what()).c_str());
        return Failed;
    }
}
