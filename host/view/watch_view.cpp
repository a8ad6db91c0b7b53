#include "host/view/watch_view.h"

#include <ncurses.h>
#include <poll.h>
#include <termcap.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>

#include "host/terminal/console.h"
#include "host/terminal/text.h"
#include "host/view/watch_layout.h"
#include "plugin/tamborin.h"

namespace {

constexpr int KeyWait = 100;  // ms
enum Pair : short { Good = 1, Warn, Bad };

void line(int row, const std::string& text, attr_t attributes = A_NORMAL) {
    if (row < 0 || row >= LINES)
        return;
    attrset(static_cast<int>(attributes));
    mvaddstr(row, 0, fitted(text, static_cast<size_t>(COLS)).c_str());
    attrset(A_NORMAL);
}

// Overwrites a part of a line.
void piece(int row, size_t column, const std::string& text, attr_t attributes) {
    const auto width = static_cast<size_t>(COLS);
    if (row >= LINES || column >= width)
        return;
    attrset(static_cast<int>(attributes));
    mvaddstr(row, static_cast<int>(column),
             fitted(text, std::min(columnsOf(text), width - column)).c_str());
    attrset(A_NORMAL);
}

attr_t colourOf(double level) {
    constexpr double Loud = 0.7;   // -3 dBFS
    constexpr double High = 0.25;  // -12 dBFS
    return COLOR_PAIR(level > Loud ? Bad : level > High ? Warn : Good);
}

std::string cell(const std::string& text, size_t width) {
    return width == 0 ? std::string() : fitted(text, width) + std::string(WatchLayout::Gap, ' ');
}

std::string heading(const WatchLayout& layout) {
    return cell("ch", WatchLayout::Number) + cell("state", WatchLayout::State) +
           cell("kind", layout.kind) + cell("level", layout.meter) + cell("", layout.decibels) +
           cell("restarts", layout.restarts) + cell("name", layout.name) +
           cell("device", layout.device);
}

void drawChannel(int row, const WatchedChannel& watched, const WatchLayout& layout) {
    const ChannelDescription& channel = watched.channel;
    const std::string before = cell(std::to_string(channel.number), WatchLayout::Number) +
                               cell(watched.state, WatchLayout::State) +
                               cell(channel.isOutput ? "output" : "input", layout.kind);
    const bool hasMeter = layout.meter > 0 && !channel.isOutput && channel.hasDevice;
    line(row, before + cell("", layout.meter) +
                  cell(hasMeter ? inDecibels(watched.level) : "", layout.decibels) +
                  cell(channel.hasDevice ? std::to_string(watched.restarts) : "", layout.restarts) +
                  cell(channel.name, layout.name) + cell(channel.device, layout.device));
    if (!channel.hasDevice)
        piece(row, WatchLayout::Number + WatchLayout::Gap, watched.state, COLOR_PAIR(Bad));
    if (!hasMeter)
        return;
    const size_t inside = layout.meter - 2;
    const std::string filled(filledCells(watched.level, inside), '#');
    const size_t column = columnsOf(before);
    piece(row, column, "[", A_NORMAL);
    piece(row, column + 1, filled, colourOf(watched.level));
    piece(row, column + 1 + inside, "]", A_NORMAL);
}

std::string runTime(const WatchContent& content) {
    const std::string elapsed = inClockTime(content.elapsedSeconds);
    return content.seconds > 0
               ? elapsed + ", " + inClockTime(content.seconds - content.elapsedSeconds + 1) +
                     " left"
               : elapsed;
}

void drawTop(const WatchContent& content) {
    const std::string status = content.alarmed ? "devices alarmed" : "devices ok";
    line(0, "", A_REVERSE);
    const std::string title = " Tamborin " + content.version + "  ";
    const bool hasRoom = columnsOf(title) + status.size() <= static_cast<size_t>(COLS);
    piece(0, 0, hasRoom ? title : " ", A_REVERSE | A_BOLD);
    piece(0, hasRoom ? columnsOf(title) : 1, status,
          A_REVERSE | (content.alarmed ? COLOR_PAIR(Bad) | A_BOLD : A_NORMAL));
    const std::string time = runTime(content) + " ";
    const size_t column = static_cast<size_t>(COLS) - std::min(time.size(), size_t(COLS));
    if (column > columnsOf(title) + status.size())
        piece(0, column, time, A_REVERSE);
}

}  // namespace

void checkTerminal(FILE* out) {
    const char* name = std::getenv("TERM");
    if (isatty(fileno(out)) == 0 || isatty(STDIN_FILENO) == 0 || name == nullptr ||
        tgetent(nullptr, name) != 1)
        throw std::runtime_error(
            "watch needs a terminal, and TERM must name its type; scripts can use "
            "'tamborin-host record --json'");
}

WatchView::WatchView(FILE* out) : out_(fileno(out)), screen_(newterm(nullptr, out, stdin)) {
    if (screen_ == nullptr)
        throw std::runtime_error("this terminal cannot show the live view");
    cbreak();
    noecho();
    keypad(stdscr, TRUE);
    timeout(0);
    curs_set(0);
    if (has_colors() && areColoursWanted()) {
        start_color();
        use_default_colors();
        init_pair(Good, COLOR_GREEN, -1);
        init_pair(Warn, COLOR_YELLOW, -1);
        init_pair(Bad, COLOR_RED, -1);
    }
}

WatchView::~WatchView() {
    endwin();
    delscreen(screen_);
}

void WatchView::draw(const WatchContent& content) {
    set_term(screen_);
    erase();
    const WatchLayout layout(static_cast<size_t>(COLS));
    drawTop(content);
    int row = 1;
    if (LINES > 4)
        line(row++, heading(layout), A_BOLD);
    // The log gets the room that the channels leave.
    const int footer = LINES > 3 ? LINES - 1 : LINES;
    const int room = footer - row;
    const auto count = static_cast<int>(content.channels.size());
    const int shown = count <= room ? count : std::max(room - 1, 0);
    for (int i = 0; i < shown; ++i)
        drawChannel(row++, content.channels[static_cast<size_t>(i)], layout);
    if (shown < count)
        line(row++, "and " + std::to_string(count - shown) + " more", A_DIM);
    ++row;
    const int lines = std::min(footer - row, static_cast<int>(content.log.size()));
    for (int i = 0; i < lines; ++i) {
        const WatchedLine& logged =
            content.log[content.log.size() - static_cast<size_t>(lines) + static_cast<size_t>(i)];
        line(row++, logged.text,
             logged.level >= LogError ? COLOR_PAIR(Bad) : static_cast<attr_t>(A_NORMAL));
    }
    if (footer < LINES)
        line(footer, "q quits", A_DIM);
    refresh();
}

bool WatchView::quitAsked() {
    set_term(screen_);
    std::array<pollfd, 2> terminal{{{STDIN_FILENO, POLLIN, 0}, {out_, 0, 0}}};
    const bool isReady = poll(terminal.data(), terminal.size(), KeyWait) > 0;
    const int key = getch();
    return key == 'q' || key == 'Q' || (isReady && key == ERR);
}
