#include <unistd.h>

#include <cerrno>
#include <stdexcept>

#include "host/commands/commands.h"
#include "host/system/programs.h"

void becomeServer(char** arguments) {
    const auto server = partOfTool("tamborin-host-serve", LIBEXEC_FROM_BINDIR);
    execv(server.c_str(), arguments);
    throw std::runtime_error(errno == ENOENT
                                 ? "this needs the server; install the package tamborin-serve"
                                 : "cannot run " + server.string() + ": " +
                                       std::generic_category().message(errno));
}
