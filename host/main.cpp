// tamborin-host: brings the module up on a machine, lists what it finds, records and plays.
#include <clocale>

#include "host/command_line.h"

namespace {

int run(const CommandLine& line, Console& console) {
    try {
        return line.command(line.options, console);
    } catch (const ModuleLoadError& error) {
        console.error("cannot load the module: " + std::string(error.what()) +
                      "; name its library with --module");
    } catch (const std::exception& error) {
        console.error(error.what());
    }
    return Failed;
}

}  // namespace

int main(int argc, char** argv) {
    std::setlocale(LC_CTYPE, "");  // widths of characters
    try {
        const CommandLine line = parseCommandLine(argc, argv);
        if (line.command == nullptr)
            return Succeeded;
        stopOnSignals();
        Console console(line.console);
        return run(line, console);
    } catch (const UsageError& error) {
        Console({}).error(error.what());
        return Misused;
    }
}
