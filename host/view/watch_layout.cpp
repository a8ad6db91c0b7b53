#include "host/view/watch_layout.h"

#include <algorithm>

WatchLayout::WatchLayout(size_t terminalWidth) {
    constexpr size_t LeastMeter = 8;
    constexpr size_t GoodMeter = 16;
    constexpr size_t MostMeter = 40;
    constexpr size_t LeastDevice = 12;
    constexpr size_t MostDevice = 32;
    constexpr size_t Fixed = Number + Gap + State + Gap;
    // No gap follows the last column.
    size_t left = terminalWidth + Gap > Fixed ? terminalWidth + Gap - Fixed : 0;
    const auto grant = [&left](size_t wanted) {
        if (left < wanted + Gap)
            return size_t{0};
        left -= wanted + Gap;
        return wanted;
    };
    meter = grant(LeastMeter);
    name = grant(16);
    restarts = grant(8);
    decibels = grant(10);
    device = grant(LeastDevice);
    kind = grant(6);
    const auto widen = [&left](size_t& column, size_t most) {
        const size_t wider = column == 0 ? 0 : std::min(left, most - column);
        column += wider;
        left -= wider;
    };
    widen(meter, GoodMeter);
    widen(device, MostDevice);
    widen(meter, MostMeter);
    name += name > 0 ? left : 0;
}
