// tamborin-host: brings the module up on a machine, lists what it finds, records and plays.
#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <functional>

#include "host/command_line.h"
#include "host/system/stop.h"
#include "host/terminal/text.h"

namespace {

// A closed one would be the next file or socket that is opened, and what is written to it would go
// there. One that cannot be used as meant makes each use fail.
void occupyStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) < 0) {
            const int flags = stream == STDIN_FILENO ? O_WRONLY : O_RDONLY;
            [[maybe_unused]] const int opened = open("/dev/null", flags);
        }
}

// Characters and their widths are those of the user's locale. Names are UTF-8, and so are the
// terminals of those whose locale knows ASCII only.
void chooseCharacters() {
    std::setlocale(LC_CTYPE, "");
    if (std::string_view(nl_langinfo(CODESET)) == "ANSI_X3.4-1968")
        std::setlocale(LC_CTYPE, "C.UTF-8");
}

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

int run(const ParsedCommandLine& line, Console& console) {
    const int status = attempt(console, [&] { return line.command.run(line.common, console); });
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
        const std::optional<ParsedCommandLine> line = parseCommandLine(argc, argv);
        if (!line) {
            checkResultsWritten();
            return Succeeded;
        }
        stopOnSignals();
        Console console(line->common.console);
        return run(*line, console);
    } catch (const UsageError& error) {
        Console({}).error(error.what());
        return Misused;
    } catch (const std::exception& error) {  // perhaps of a console that cannot be had
        std::fprintf(stderr, "tamborin-host: %s\n", printable(error.what()).c_str());
        return Failed;
    }
}
