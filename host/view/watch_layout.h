// Chooses the columns of a channel's line that fit a terminal, and their widths.
#pragma once

#include <cstddef>

// Widths in terminal columns; 0: left out. Number and state are always shown.
struct WatchLayout {
    static constexpr size_t Gap = 2;  // after each column except the last
    static constexpr size_t Number = 3;
    static constexpr size_t State = 9;

    explicit WatchLayout(size_t terminalWidth);

    size_t meter = 0, name = 0, restarts = 0, decibels = 0, kind = 0, device = 0;
};
