// Times of day along a horizontal axis.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Times are Unix times in ms, places are pixels.
class TimeAxis {
  public:
    TimeAxis(int64_t begin, int64_t end, double left, double right);

    // Where a time stands; what is outside stands at the end that it is beyond.
    double xOf(int64_t time) const;
    // Length in ms, at least 1.
    int64_t span() const { return span_; }
    // Round times of day, as many as have room for their labels.
    std::vector<int64_t> ticks() const;
    std::string label(int64_t tick) const;

  private:
    const int64_t begin_;
    const int64_t span_;
    const double left_;
    const double right_;
};
