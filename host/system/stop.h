// The two events that end the tool's work early: a signal from the user, and a reader of stdout
// that closes its end of the pipe.
#pragma once

#include <array>
#include <csignal>

// Makes SIGINT, SIGTERM and SIGHUP end the running session; a second one of the same kind ends the
// process. SIGPIPE and SIGXFSZ only make the write fail, also after this object is destroyed,
// because stdio flushes after main. At most one object, made before any thread is started.
class StopSignals {
  public:
    StopSignals();
    // Restores what the first three did before.
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

  private:
    static constexpr std::array Signals{SIGINT, SIGTERM, SIGHUP};

    std::array<struct sigaction, Signals.size()> before_{};
};

// Returns true once SIGINT, SIGTERM or SIGHUP came. Any thread.
bool signalCame();

// Notes that nobody reads stdout any more, which also ends the running session. Any thread.
void noteReaderLeft();
bool readerHasLeft();

// Returns true once a signal came or the reader of stdout has left. Any thread.
bool stopAsked();
