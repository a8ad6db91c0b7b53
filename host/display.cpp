#include "host/display.h"

#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <string>

void LevelDisplay::show(const std::vector<Recording>& recordings, double seconds) {
    const bool isTerminal = isatty(STDOUT_FILENO) != 0;
    if (!isTerminal && seconds < lastShown_ + 1)
        return;
    lastShown_ = seconds;
    if (isTerminal && linesDrawn_ > 0)
        std::printf("\033[%zuA", linesDrawn_);
    for (const Recording& recording : recordings) {
        constexpr double Width = 40;
        constexpr double Floor = -60;  // dBFS at the left end
        const double decibels = 20 * std::log10(std::max(recording.level, 1e-3));
        const auto filled =
            static_cast<size_t>(std::clamp((decibels - Floor) / -Floor, 0.0, 1.0) * Width);
        std::printf("%s%6.1f s  channel %d  [%s%s] %s\n", isTerminal ? "\033[2K" : "", seconds,
                    recording.channel.number, std::string(filled, '#').c_str(),
                    std::string(static_cast<size_t>(Width) - filled, ' ').c_str(),
                    inDecibels(recording.level).c_str());
    }
    linesDrawn_ = recordings.size();
    std::fflush(stdout);
}

void showTable(const std::vector<Recording>& recordings) {
    std::printf("\n%-7s  %6s  %8s  %4s  %-11s  %s\n", "channel", "frames", "seconds", "gaps",
                "peak", "file");
    for (const Recording& recording : recordings)
        std::printf("%7d  %6" PRIu64 "  %8.2f  %4" PRIu64 "  %-11s  %s\n", recording.channel.number,
                    recording.frames, recording.seconds(), recording.gaps,
                    inDecibels(recording.peak).c_str(), recording.file.string().c_str());
}

bool showAccount(const BufferAccount& account) {
    std::printf("buffers: %" PRIu64 " lent, %" PRIu64 " returned\n", account.lent,
                account.returned);
    if (account.faults != 0)
        std::printf("buffers: %" PRIu64 " handed back that were not lent\n", account.faults);
    return account.lent == account.returned && account.faults == 0;
}
