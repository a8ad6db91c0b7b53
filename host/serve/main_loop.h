// The GLib main loop that both servers run on.
#pragma once

#include <glib.h>

#include <functional>

// At most one object in a process. Used on the main thread, unless a function says otherwise.
class MainLoop {
  public:
    MainLoop();
    ~MainLoop();
    MainLoop(const MainLoop&) = delete;
    MainLoop& operator=(const MainLoop&) = delete;

    // Runs until stopAsked() (host/system/stop.h) or `quit`.
    void run();
    // Any thread.
    void quit();

  private:
    GMainLoop* const loop_;
};

// Runs the work on the main loop as soon as it is free. Any thread.
void post(std::function<void()> work);
// Runs the work on the main loop after so many seconds. Main thread.
void after(unsigned seconds, std::function<void()> work);
