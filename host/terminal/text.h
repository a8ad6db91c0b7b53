// Text for people: columns, levels, times.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Without what a terminal would obey, or could not show: control characters, those that turn the
// direction of writing, and bytes that are no character of the locale. Each becomes a '?'.
std::string printable(std::string_view text);
// Printable, and cut or padded with spaces to exactly so many terminal columns, whole characters
// only.
std::string fitted(std::string_view text, size_t columns);
// Columns that the text takes on a terminal.
size_t columnsOf(std::string_view text);

// "-12.3 dBFS", or "silent". `level` is 0 to 1.
std::string inDecibels(double level);
// "0:07", "1:02:03".
std::string inClockTime(double seconds);
// Local time of a Unix time (ms), as strftime formats it.
std::string localTime(int64_t milliseconds, const char* format);

// How much of a level meter of this width is filled; its left end is -60 dBFS.
size_t filledCells(double level, size_t width);
// "####      ", so filled.
std::string bar(size_t filled, size_t width);
