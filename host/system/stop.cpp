#include "host/system/stop.h"

#include <atomic>
#include <initializer_list>

namespace {

std::atomic<bool> signalled = false;
std::atomic<bool> readerLeft = false;

struct sigaction handling(void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART | flags;
    return action;
}

}  // namespace

StopSignals::StopSignals() {
    const auto stop = handling([](int) { signalled = true; }, static_cast<int>(SA_RESETHAND));
    for (size_t i = 0; i < Signals.size(); ++i)
        sigaction(Signals[i], &stop, &before_[i]);
    // Not SIG_IGN, which a sound server that a library starts would inherit. A handler is not
    // inherited.
    const auto doNothing = handling([](int) {}, 0);
    for (const int signal : {SIGPIPE, SIGXFSZ})
        sigaction(signal, &doNothing, nullptr);
}

StopSignals::~StopSignals() {
    for (size_t i = 0; i < Signals.size(); ++i)
        sigaction(Signals[i], &before_[i], nullptr);
}

bool signalCame() { return signalled; }

void noteReaderLeft() { readerLeft = true; }

bool readerHasLeft() { return readerLeft; }

bool stopAsked() { return signalled || readerLeft; }
