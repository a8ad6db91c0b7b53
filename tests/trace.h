// What the module did to the world around it, one line an event, in order.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

inline std::string trace;

inline void note(const std::string& line) { trace += line + "\n"; }
inline std::string takeTrace() { return std::exchange(trace, {}); }
