// The live view of the command `watch` on a terminal.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "host/session/documents.h"

struct screen;  // of ncurses

struct WatchedChannel {
    ChannelDescription channel;
    const char* state = "";
    double level = 0;  // 0 to 1
    size_t restarts = 0;
};

struct WatchedLine {
    int32_t level = 0;
    std::string text;
};

struct WatchContent {
    std::string version;
    bool alarmed = false;
    double elapsedSeconds = 0;
    double seconds = 0;  // to run; 0 without an end
    std::vector<WatchedChannel> channels;
    std::vector<WatchedLine> log;  // the last lines, oldest first
};

// Throws std::runtime_error when there is no terminal to draw on.
void checkTerminal(FILE* out);

// Uses the terminal from construction to destruction. At most one object.
class WatchView {
  public:
    // Call checkTerminal before.
    explicit WatchView(FILE* out);
    ~WatchView();
    WatchView(const WatchView&) = delete;
    WatchView& operator=(const WatchView&) = delete;

    void draw(const WatchContent& content);
    // Waits 100 ms for a key. Returns true when the user wants to quit, or when the terminal is
    // gone. A change of the terminal's size also ends the wait.
    bool quitAsked();

  private:
    const int out_;  // the terminal
    screen* screen_;
};
