// A flag which says that there may be work under a lock, so that the worker takes the lock only
// when there is. A stream callback that finds its lock busy loses 256 ms of sound.
#pragma once

#include <atomic>

#include "base/real_time.h"

// A hint is set with the lock held, or by the worker. The worker clears it before it acquires the
// lock. The lock orders everything else, so relaxed memory order is enough. A hint that is set just
// after it was cleared is seen on the next pass.
class Hint {
  public:
    void set() RT_SAFE { isSet_.store(true, std::memory_order_relaxed); }

    // Returns whether the hint was set, and clears it. Looks first, because most passes find
    // nothing and a load is cheaper than an exchange.
    bool take() noexcept {
        return isSet_.load(std::memory_order_relaxed) &&
               isSet_.exchange(false, std::memory_order_relaxed);
    }

  private:
    std::atomic<bool> isSet_{false};
};
