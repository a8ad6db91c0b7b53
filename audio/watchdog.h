// Notices a stream that no longer calls back.
//
// The stream's callback re-arms the watchdog; the worker asks it on every pass. The period counts
// time, not passes: a healthy stream may call back for the first time almost 2 s after its start,
// and pause for more than 1.2 s later.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

#include "base/clock.h"
#include "base/real_time.h"

class Watchdog {
  public:
    static constexpr std::chrono::seconds Period{3};

    // Notes that the stream has called back. Callback thread; the worker also calls it, so that the
    // silence of a closed stream does not count.
    void rearm() RT_SAFE { units_.exchange(Armed); }

    // Begins a whole period for the first callback of a stream. Called after the stream was opened,
    // so the time that the opening took does not count. Worker thread.
    void beginPeriod(SteadyTime now) {
        // A callback between the test and the subtraction goes unnoticed, but a whole period begins
        // here anyway.
        if (hasCalledBack())
            units_.fetch_sub(1);
        end_ = now + Period;
    }

    // Returns true when a whole period has passed since the worker last noticed a callback, an
    // opening or a time-out. A time-out begins the next period. Worker thread.
    bool isTimedOut(SteadyTime now) {
        const bool isAlive = hasCalledBack();
        if (!isAlive && now < end_)
            return false;
        beginPeriod(now);
        return !isAlive;
    }

  private:
    static constexpr uint32_t Armed = 3;  // less: no callback since isTimedOut last looked
    bool hasCalledBack() const { return units_.load() == Armed; }

    std::atomic<uint32_t> units_{Armed};
    SteadyTime end_{};
};
