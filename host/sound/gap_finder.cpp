#include "host/sound/gap_finder.h"

#include <algorithm>
#include <utility>

#include "host/session/sound_format.h"

namespace {

constexpr int64_t LateTolerance = 200;  // ms; the module sends frames at uneven intervals
constexpr int64_t DecisionTime = 2000;  // ms that late frames get to catch up
constexpr int64_t EndTolerance = 3000;  // ms after the last frame that count as no gap
constexpr int64_t ShiftDivisor = 8;     // a frame's lateness divided by this shifts the next ones

int64_t durationOf(size_t samples) { return static_cast<int64_t>(samples) * 1000 / SampleRate; }

}  // namespace

std::vector<Stretch> GapFinder::place(size_t samples, int64_t arrival) {
    const int64_t begin = arrival - durationOf(samples);
    if (!expectedMs_)
        expectedMs_ = begin;
    const int64_t late = begin - *expectedMs_ - durationOf(waitingSamples_);
    if (waitingSamples_ == 0) {
        if (late <= LateTolerance) {
            *expectedMs_ += late / ShiftDivisor;
            return {advance(durationOf(samples), samples)};
        }
        waitingSinceMs_ = arrival;
        leastLateMs_ = late;
    }
    leastLateMs_ = std::min(leastLateMs_, late);
    waitingSamples_ += samples;
    if (late <= LateTolerance)
        return decide(0);
    if (arrival >= waitingSinceMs_ + DecisionTime)
        return decide(leastLateMs_);
    return {};
}

std::vector<Stretch> GapFinder::finish(int64_t end) {
    std::vector<Stretch> stretches;
    if (waitingSamples_ > 0)
        stretches = decide(leastLateMs_);
    if (expectedMs_ && end > *expectedMs_ + EndTolerance)
        stretches.push_back(advance(end - *expectedMs_, 0));
    return stretches;
}

std::vector<Stretch> GapFinder::decide(int64_t missingMs) {
    std::vector<Stretch> stretches;
    if (missingMs > 0)
        stretches.push_back(advance(missingMs, 0));
    const size_t samples = std::exchange(waitingSamples_, 0);
    stretches.push_back(advance(durationOf(samples), samples));
    return stretches;
}

Stretch GapFinder::advance(int64_t milliseconds, size_t samples) {
    const int64_t begin = *expectedMs_;
    *expectedMs_ += milliseconds;
    return {begin, *expectedMs_, samples};
}
