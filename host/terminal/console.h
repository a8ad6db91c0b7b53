// Where the tool speaks to its user.
//
// What was asked for and remarks go to stdout (to stderr when stdout belongs to records or sound),
// errors, log lines and progress to stderr. Only results wait for who reads them: the rest is
// written by threads of its own, and left out where a reader stalls.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "host/terminal/bounded_writer.h"

struct ConsoleOptions {
    bool quiet = false;  // no remarks, no progress
    bool json = false;   // stdout is for records
    bool soundOnStdout = false;
};

// What the user's environment says, whatever the terminal can do.
bool areColoursWanted();

enum class Colour { None = 0, Red = 31, Green = 32, Yellow = 33 };

// Pieces of a line, coloured where it goes to a terminal that shows colours. Their texts may be
// anybody's: nothing in them commands the terminal.
struct Piece {
    std::string text;
    Colour colour = Colour::None;
};
using Line = std::vector<Piece>;

// Throws std::runtime_error when stdout could not take what was printed there; a reader who has
// left had enough.
void checkResultsWritten();

// Any thread.
class Console {
  public:
    // `messages`, the user's stderr, must outlive this.
    Console(const ConsoleOptions& options, FILE* messages);

    // Every record of the module is wanted, as a text with its line's end.
    bool wantsRecords() const { return records_ != nullptr; }
    void record(std::string line);
    void result(const Line& line);
    void result(const std::string& line) { result(Line{{line}}); }
    void remark(const Line& line);
    void remark(const std::string& line) { remark(Line{{line}}); }
    void error(std::string_view line);
    void logLine(int32_t level, std::string_view text);
    // Lines at the bottom of the terminal, which replace the last ones; without a terminal they are
    // simply written.
    void status(const std::vector<std::string>& lines);
    void clearStatus();
    // Waits for who reads the results. Throws std::runtime_error when not all could be written.
    void finishResults();
    // Waits for who reads records and messages; once the user has stopped the tool, not for those
    // who stall.
    void settle();

    bool isQuiet() const { return options_.quiet; }
    // Whether status lines can replace each other.
    bool isStatusLive() const { return statusLive_; }
    // The stream of results.
    FILE* stream() const { return out_; }

  private:
    void writeLine(FILE* file, const Line& line);
    void writeMessage(std::string text);
    void eraseStatus();

    const ConsoleOptions options_;
    FILE* const err_;
    FILE* const out_;
    const bool outColours_;
    const bool errColours_;
    const bool statusLive_;
    std::atomic<bool> leavesRecordsOut_ = false;
    std::mutex mutex_;  // guards the terminal
    size_t statusLines_ = 0;
    uint64_t lostMessages_ = 0;
    BoundedWriter messages_;
    const std::unique_ptr<BoundedWriter> records_;  // with --json
};
