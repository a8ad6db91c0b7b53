// Work that may wait for others without a limit, such as for who writes to a pipe.
#pragma once

#include <chrono>
#include <future>
#include <string>
#include <utility>

#include "host/system/stop.h"
#include "host/terminal/console.h"

// Answers what the work answers or throws. It is done on a thread of its own; when a signal comes
// meanwhile, the process ends with the line, as nothing else could end the work.
template <typename Work>
auto awaited(Console& console, const std::string& lineWhenStopped, Work work) {
    auto answer = std::async(std::launch::async, std::move(work));
    while (answer.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready)
        if (signalCame())
            console.giveUp(lineWhenStopped);
    return answer.get();
}
