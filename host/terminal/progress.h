// Shows the progress of work that takes a while.
#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "host/terminal/console.h"

// Shows how far the work has come and how long it still takes. Silent for the first second and on a
// quiet console.
class Progress {
  public:
    Progress(Console& console, std::string what) : console_(console), what_(std::move(what)) {}
    ~Progress() { console_.clearStatus(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // `fraction` is the part that is done, 0 to 1, or 0 when unknown. May be called often: it
    // prints at most ten times a second.
    void show(double fraction, const std::vector<std::string>& details = {});

  private:
    using Clock = std::chrono::steady_clock;

    Console& console_;
    const std::string what_;
    const Clock::time_point start_ = Clock::now();
    Clock::time_point next_ = start_ + std::chrono::seconds(1);
};
