// The commands of the server, which is another program, so that small machines need not install it.
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

#include "host/commands/commands.h"
#include "host/system/programs.h"

namespace {

// Replaces this process by the server's program.
[[noreturn]] void becomeServer(char** arguments) {
    const auto server = partOfTool("tamborin-host-serve", LIBEXEC_FROM_BINDIR);
    execv(server.c_str(), arguments);
    throw std::runtime_error(errno == ENOENT
                                 ? "this needs the server; install the package tamborin-serve"
                                 : "cannot run " + server.string() + ": " +
                                       std::generic_category().message(errno));
}

}  // namespace

void addServe(CommandLine& line) {
    line.addForwarded("serve", "serve inputs and outputs on the network", becomeServer);
}

void addPassword(CommandLine& line) {
    line.addForwarded("password", "set who may use the server, and by which password",
                      becomeServer);
}
