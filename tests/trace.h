// Records what the module did to the world around it: one line for each event, in order.
#pragma once

#include <string>
#include <utility>

#include "bench/allocations.h"

inline std::string trace;

// While an object of this class lives, no allocation is made to fail: for the test's own memory.
class EnoughMemory {
  public:
    EnoughMemory() : left_(std::exchange(allocationsLeft, -1)) {}
    ~EnoughMemory() { allocationsLeft = left_; }
    EnoughMemory(const EnoughMemory&) = delete;
    EnoughMemory& operator=(const EnoughMemory&) = delete;

  private:
    const long left_;
};

inline void note(const std::string& line) {
    const EnoughMemory enough;
    trace += line + "\n";
}
inline std::string takeTrace() { return std::exchange(trace, {}); }
