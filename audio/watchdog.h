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

    // The stream has called back. Callback thread.
    void rearm() RT_SAFE { units_.exchange(Armed); }

    // A stream was opened just now: it gets a whole period for its first callback, however long
    // the opening took. Worker thread, as the rest.
    void beginPeriod(SteadyTime now) {
        // A callback that re-arms in between loses nothing: a whole period begins here anyway.
        if (hasCalledBack())
            units_.fetch_sub(1);
        end_ = now + Period;
    }

    // True when a whole period has passed since a callback, an opening or the last time-out was
    // noticed. A time-out begins the next period.
    bool isTimedOut(SteadyTime now) {
        const bool isAlive = hasCalledBack();
        if (!isAlive && now < end_)
            return false;
        beginPeriod(now);
        return !isAlive;
    }

  private:
    static constexpr uint32_t Armed = 3;  // anything less: no callback since the last question
    bool hasCalledBack() const { return units_.load() == Armed; }

    std::atomic<uint32_t> units_{Armed};
    SteadyTime end_{};
};
