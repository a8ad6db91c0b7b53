// The live view on a terminal.
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

// Has the terminal from construction to destruction. One at a time.
class WatchView {
  public:
    // The terminal has been checked.
    explicit WatchView(FILE* out);
    ~WatchView();
    WatchView(const WatchView&) = delete;
    WatchView& operator=(const WatchView&) = delete;

    void draw(const WatchContent& content);
    // Waits a moment for a key; whether it asked to quit, or no key can come any more, as the
    // terminal is gone. A resized terminal ends the wait, too.
    bool quitAsked();

  private:
    const int out_;  // the terminal
    screen* screen_;
};
