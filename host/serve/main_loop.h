// The one GLib main loop, on which the servers run.
#pragma once

#include <glib.h>

#include <functional>

// One in a process; the main thread's, where not said.
class MainLoop {
  public:
    MainLoop();
    ~MainLoop();
    MainLoop(const MainLoop&) = delete;
    MainLoop& operator=(const MainLoop&) = delete;

    // Runs until a signal came (host/system/stop.h) or `quit` was called.
    void run();
    // Any thread.
    void quit();

  private:
    GMainLoop* const loop_;
};

// Does the work on the main loop, soon. Any thread.
void post(std::function<void()> work);
