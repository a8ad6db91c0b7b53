// Runs work that may block without a limit, such as reading from a pipe.
#pragma once

#include <chrono>
#include <future>
#include <utility>

#include "host/system/stop.h"

// Runs the work on a thread of its own. Returns what it returns, or throws what it throws. When a
// signal comes meanwhile, calls `endProcess`, which must not return, because blocked work cannot be
// stopped.
template <typename Work, typename End>
auto awaited(Work work, End endProcess) {
    auto result = std::async(std::launch::async, std::move(work));
    while (result.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready)
        if (signalCame())
            endProcess();
    return result.get();
}
