// Text for people: columns, levels, times.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Returns the text with a '?' in place of each character that a terminal would obey or cannot show:
// control characters, those that change the writing direction, and bytes that are no character of
// the locale.
std::string printable(std::string_view text);
// Returns the printable text, cut or padded with spaces to exactly so many terminal columns. No
// character is split.
std::string fitted(std::string_view text, size_t columns);
// Returns the number of columns that the text takes on a terminal.
size_t columnsOf(std::string_view text);

// Returns a text such as "-12.3 dBFS", or "silent". `level` is 0 to 1.
std::string inDecibels(double level);
// Returns a text such as "0:07" or "1:02:03".
std::string inClockTime(double seconds);
// Returns the local time of a Unix time (ms), as strftime formats it.
std::string localTime(int64_t milliseconds, const char* format);

// Returns how many of the `width` cells of a level meter are filled. Its left end is -60 dBFS.
size_t filledCells(double level, size_t width);
// Returns a bar such as "####      ".
std::string bar(size_t filled, size_t width);
