#include "host/terminal/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <cwchar>
#include <cwctype>

namespace {

struct Character {
    size_t bytes;
    size_t columns;
    std::string_view shown;
};

// Returns true for a character that changes the writing direction of the text around it, which
// would make other text look wrong.
bool turnsDirection(wchar_t character) {
    static constexpr std::wstring_view Turning =
        L"\u061C\u200E\u200F\u202A\u202B\u202C\u202D\u202E\u2066\u2067\u2068\u2069";
    return Turning.find(character) != std::wstring_view::npos;
}

// Returns the first character. A byte that is no character of the locale counts as one.
Character firstOf(std::string_view text) {
    wchar_t wide = 0;
    std::mbstate_t state{};
    const size_t bytes = std::mbrtowc(&wide, text.data(), text.size(), &state);
    if (bytes > text.size())
        return {1, 1, "?"};
    if (std::iswprint(static_cast<wint_t>(wide)) == 0 || turnsDirection(wide))
        return {std::max(bytes, size_t{1}), 1, "?"};
    return {bytes, static_cast<size_t>(std::max(wcwidth(wide), 0)), text.substr(0, bytes)};
}

}  // namespace

std::string printable(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const Character next = firstOf(text);
        shown += next.shown;
        text.remove_prefix(next.bytes);
    }
    return shown;
}

std::string fitted(std::string_view text, size_t columns) {
    std::string shown;
    size_t taken = 0;
    while (!text.empty()) {
        const Character next = firstOf(text);
        if (taken + next.columns > columns)
            break;
        shown += next.shown;
        taken += next.columns;
        text.remove_prefix(next.bytes);
    }
    return shown + std::string(columns - taken, ' ');
}

size_t columnsOf(std::string_view text) {
    size_t columns = 0;
    while (!text.empty()) {
        const Character next = firstOf(text);
        columns += next.columns;
        text.remove_prefix(next.bytes);
    }
    return columns;
}

std::string inDecibels(double level) {
    if (level <= 0)
        return "silent";
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f dBFS", 20 * std::log10(level));
    return text.data();
}

std::string inClockTime(double seconds) {
    const auto whole = static_cast<long>(std::max(seconds, 0.0));
    std::array<char, 32> text{};
    if (whole >= 3600)
        std::snprintf(text.data(), text.size(), "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60,
                      whole % 60);
    else
        std::snprintf(text.data(), text.size(), "%ld:%02ld", whole / 60, whole % 60);
    return text.data();
}

std::string localTime(int64_t milliseconds, const char* format) {
    const auto seconds = static_cast<std::time_t>(milliseconds / 1000);
    std::tm local{};
    localtime_r(&seconds, &local);
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), format, &local);
    return text.data();
}

size_t filledCells(double level, size_t width) {
    constexpr double Floor = -60;  // dBFS
    const double decibels = 20 * std::log10(std::max(level, 1e-3));
    const double filled = std::clamp((decibels - Floor) / -Floor, 0.0, 1.0);
    return static_cast<size_t>(std::lround(filled * static_cast<double>(width)));
}

std::string bar(size_t filled, size_t width) {
    return std::string(std::min(filled, width), '#') +
           std::string(width - std::min(filled, width), ' ');
}
