#include "host/terminal/silenced_libraries.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string_view>

namespace {

int abortFd = STDERR_FILENO;

// Handles the abort of a library, such as by a failed assertion of PortAudio, whose text went to
// /dev/null.
void tellOfAbort(int /*signal*/) {
    constexpr std::string_view Message =
        "tamborin-host: an audio library gave up; see what it says with --library-noise\n";
    [[maybe_unused]] const ssize_t written = write(abortFd, Message.data(), Message.size());
    _exit(EXIT_FAILURE);
}

}  // namespace

SilencedLibraries::SilencedLibraries() {
    const int user = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    messages_ = user >= 0 && nowhere >= 0 ? fdopen(user, "w") : nullptr;
    if (messages_ != nullptr) {
        std::setvbuf(messages_, nullptr, _IOLBF, 0);
        dup2(nowhere, STDERR_FILENO);
        abortFd = user;
        previousAbort_ = std::signal(SIGABRT, tellOfAbort);
    } else if (user >= 0)
        close(user);
    if (nowhere >= 0)
        close(nowhere);
}

SilencedLibraries::~SilencedLibraries() {
    if (messages_ == nullptr)
        return;
    std::signal(SIGABRT, previousAbort_);
    std::fflush(messages_);
    dup2(fileno(messages_), STDERR_FILENO);
    // The stream stays open: a writer that is stuck on it may outlive this.
}
