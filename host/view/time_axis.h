// Times of day along a horizontal axis.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Times are Unix times in ms, positions are pixels.
class TimeAxis {
  public:
    TimeAxis(int64_t begin, int64_t end, double left, double right);

    // Returns the position of a time. A time beyond an end of the axis has the position of that
    // end.
    double xOf(int64_t time) const;
    // Returns the axis's length in ms, at least 1.
    int64_t span() const { return span_; }
    // Returns round times of day, as many as have room for their labels.
    std::vector<int64_t> ticks() const;
    // Returns the text at a tick: the time of day, and the date on an axis of more than a day.
    std::string label(int64_t tick) const;

  private:
    const int64_t begin_;
    const int64_t span_;
    const double left_;
    const double right_;
};
