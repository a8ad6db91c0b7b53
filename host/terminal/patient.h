// Work that may wait for others without a limit, such as for who writes to a pipe.
#pragma once

#include <chrono>
#include <future>
#include <utility>

#include "host/system/stop.h"

// Returns what the work returns, or throws what it throws. It is done on a thread of its own. When
// a signal comes meanwhile, calls `endProcess`, which must not return: nothing else could end the
// work.
template <typename Work, typename End>
auto awaited(Work work, End endProcess) {
    auto answer = std::async(std::launch::async, std::move(work));
    while (answer.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready)
        if (signalCame())
            endProcess();
    return answer.get();
}
