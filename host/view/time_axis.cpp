#include "host/view/time_axis.h"

#include <algorithm>
#include <array>
#include <ctime>

#include "host/terminal/text.h"

namespace {

constexpr double RoomForLabel = 110;  // px
constexpr int64_t Day = 86'400'000;   // ms

// Returns how far local time is ahead of Unix time, in ms.
int64_t localOffset(int64_t time) {
    const auto seconds = static_cast<std::time_t>(time / 1000);
    std::tm local{};
    localtime_r(&seconds, &local);
    return int64_t{local.tm_gmtoff} * 1000;
}

// Returns the shortest step of the list that is at least `least` ms, or else whole weeks, in ms.
int64_t roundStep(double least) {
    constexpr std::array<int64_t, 19> Seconds{1,     2,     5,     10,    15,    30,   60,
                                              120,   300,   600,   900,   1800,  3600, 7200,
                                              10800, 21600, 43200, 86400, 172800};
    constexpr int64_t Week = 7 * Day;
    for (const int64_t step : Seconds)
        if (static_cast<double>(step) * 1000 >= least)
            return step * 1000;
    return (static_cast<int64_t>(least) / Week + 1) * Week;
}

}  // namespace

TimeAxis::TimeAxis(int64_t begin, int64_t end, double left, double right)
    : begin_(begin), span_(std::max<int64_t>(end - begin, 1)), left_(left), right_(right) {}

double TimeAxis::xOf(int64_t time) const {
    const double fraction = static_cast<double>(time - begin_) / static_cast<double>(span_);
    return left_ + std::clamp(fraction, 0.0, 1.0) * (right_ - left_);
}

std::vector<int64_t> TimeAxis::ticks() const {
    const int64_t step = roundStep(static_cast<double>(span_) * RoomForLabel / (right_ - left_));
    const int64_t offset = localOffset(begin_);
    std::vector<int64_t> found;
    for (int64_t tick = (begin_ + offset + step - 1) / step * step - offset; tick <= begin_ + span_;
         tick += step)
        found.push_back(tick);
    return found;
}

std::string TimeAxis::label(int64_t tick) const {
    return localTime(tick, span_ > Day ? "%m-%d %H:%M" : "%H:%M:%S");
}
