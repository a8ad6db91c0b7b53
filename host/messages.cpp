#include "host/messages.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

FILE* messages = nullptr;  // null: stderr itself

}  // namespace

FILE* userMessages() { return messages != nullptr ? messages : stderr; }

// The audio libraries write pages to stderr while they look for devices, and C offers no other way
// to stop them than to turn the descriptor away.
void silenceLibraries() {
    const int user = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (user < 0 || nowhere < 0)
        return;
    messages = fdopen(user, "w");
    std::setvbuf(messages, nullptr, _IOLBF, 0);
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
}
