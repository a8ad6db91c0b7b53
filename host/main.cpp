// tamborin-host: brings the module up on a machine, lists what it finds, records and plays.
#include <algorithm>
#include <cstdio>
#include <functional>

#include "host/command_line.h"
#include "host/system/process.h"
#include "host/system/stop.h"
#include "host/terminal/text.h"

namespace {

// Tells what goes wrong.
int attempt(Console& console, const std::function<int()>& work) {
    try {
        return work();
    } catch (const ModuleLoadError& error) {
        console.error("cannot load the module: " + std::string(error.what()) +
                      "; name its library with --module");
    } catch (const std::exception& error) {
        console.error(error.what());
    }
    return Failed;
}

int run(const CommandLine& line, Console& console) {
    const int status = attempt(console, [&] { return line.command(line.options, console); });
    const int finished = attempt(console, [&] {
        console.finishResults();
        return Succeeded;
    });
    return std::max(status, finished);
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    chooseCharacters();
    try {
        const CommandLine line = parseCommandLine(argc, argv);
        if (line.command == nullptr) {
            checkResultsWritten();
            return Succeeded;
        }
        stopOnSignals();
        Console console(line.console);
        return run(line, console);
    } catch (const UsageError& error) {
        Console({}).error(error.what());
        return Misused;
    } catch (const std::exception& error) {  // perhaps of a console that cannot be had
        std::fprintf(stderr, "tamborin-host: %s\n", printable(error.what()).c_str());
        return Failed;
    }
}
