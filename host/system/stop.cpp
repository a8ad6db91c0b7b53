#include "host/system/stop.h"

#include <atomic>
#include <csignal>
#include <initializer_list>

namespace {

std::atomic<bool> signalled = false;
std::atomic<bool> readerLeft = false;

void handle(int signal, void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART | flags;
    sigaction(signal, &action, nullptr);
}

}  // namespace

void stopOnSignals() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        handle(
            signal, [](int) { signalled = true; }, static_cast<int>(SA_RESETHAND));
    // An ignored signal would stay so in a sound server that a library starts; a handled one does
    // not.
    for (const int signal : {SIGPIPE, SIGXFSZ})
        handle(
            signal, [](int) {}, 0);
}

bool signalCame() { return signalled; }

void noteReaderLeft() { readerLeft = true; }

bool readerHasLeft() { return readerLeft; }

bool stopAsked() { return signalled || readerLeft; }
