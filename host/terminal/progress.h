// How far a work of some time has come.
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

    // `fraction` is done, 0 when that cannot be told. Call it as often as you like.
    void show(double fraction, const std::vector<std::string>& details = {});

  private:
    using Clock = std::chrono::steady_clock;

    Console& console_;
    const std::string what_;
    const Clock::time_point start_ = Clock::now();
    Clock::time_point next_ = start_ + std::chrono::seconds(1);
};
