// The one GLib main loop, on which the servers run.
#pragma once

#include <functional>

class MainLoop {
  public:
    // Runs until a signal of host/system/stop.h came or `quit` was called. Main thread.
    void run();
    // Any thread.
    void quit();
};

// Does the work on the main loop, soon. Any thread.
void post(std::function<void()> work);
