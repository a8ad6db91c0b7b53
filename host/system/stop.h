// What ends the tool's work before its time: the user's signals, and a reader of the results who
// leaves.
#pragma once

#include <array>
#include <csignal>

// Makes SIGINT, SIGTERM and SIGHUP end the running session; a second one ends the process. A broken
// pipe and a file that grows beyond its limit become failed writes, and stay so: stdio writes its
// last after main. One at a time, made before any thread is started.
class StopSignals {
  public:
    StopSignals();
    // Gives the first three back what they did before.
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

  private:
    static constexpr std::array Signals{SIGINT, SIGTERM, SIGHUP};

    std::array<struct sigaction, Signals.size()> before_{};
};

// Whether one of the first three came. Any thread.
bool signalCame();

// Nobody reads stdout any more, which ends the running session, too. Any thread.
void noteReaderLeft();
bool readerHasLeft();

// Whether the user wants no more of it. Any thread.
bool stopAsked();
