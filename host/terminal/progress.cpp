#include "host/terminal/progress.h"

#include <algorithm>

#include "host/terminal/text.h"

using namespace std::chrono_literals;

void Progress::show(double fraction, const std::vector<std::string>& details) {
    const Clock::time_point now = Clock::now();
    if (now < next_)
        return;
    next_ = now + (console_.isStatusLive() ? 100ms : 5s);
    constexpr size_t Width = 20;
    const double elapsed = std::chrono::duration<double>(now - start_).count();
    std::string line = what_ + "  " + inClockTime(elapsed);
    if (fraction > 0) {
        const double left = elapsed * (1 - std::min(fraction, 1.0)) / fraction;
        line += "  [" + bar(static_cast<size_t>(fraction * Width), Width) + "]  " +
                inClockTime(left + 0.5) + " left";
    }
    std::vector<std::string> lines{line};
    lines.insert(lines.end(), details.begin(), details.end());
    console_.status(lines);
}
