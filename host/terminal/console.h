// The tool's output to its user.
//
// Results and remarks go to stdout, or to stderr when stdout carries records or sound. Errors, log
// lines and progress go to stderr. Results and remarks on stdout wait for their reader. Records,
// sound, and all that goes to stderr are written by other threads, and dropped when their reader
// stalls. At its end the tool waits for the readers of records and sound, until the user
// stops it.
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

// Returns false when NO_COLOR is set in the environment and not empty. Does not look at the
// terminal.
bool areColoursWanted();

enum class Colour { None = 0, Red = 31, Green = 32, Yellow = 33 };

// A part of a line. Its colour is seen only on a terminal that has colours. The text may come from
// outside: control characters in it are replaced.
struct Piece {
    std::string text;
    Colour colour = Colour::None;
};
using Line = std::vector<Piece>;

// Throws std::runtime_error when writing to stdout has failed, unless its reader has closed the
// pipe (as `| head` does).
void checkResultsWritten();

// All functions may be called on any thread.
class Console {
  public:
    // `messages`, the user's stderr, must outlive this.
    Console(const ConsoleOptions& options, FILE* messages);

    // Returns true with --json: then `record` gets every record of the module, as a text that ends
    // with a newline.
    bool wantsRecords() const { return records_ != nullptr; }
    void record(std::string line);
    void result(const Line& line);
    void result(const std::string& line) { result(Line{{line}}); }
    void remark(const Line& line);
    void remark(const std::string& line) { remark(Line{{line}}); }
    void error(std::string_view line);
    void logLine(int32_t level, std::string_view text);
    // Shows lines at the bottom of the terminal, in place of the previous ones. Without a terminal
    // they are printed like other messages.
    void status(const std::vector<std::string>& lines);
    void clearStatus();
    // Waits until all results or records are written. Throws std::runtime_error when some were not,
    // unless their reader has left.
    void finishResults();
    // Waits until all records and messages are written, as BoundedWriter::settle does.
    void settle();

    bool isQuiet() const { return options_.quiet; }
    // Returns true when status lines replace each other.
    bool isStatusLive() const { return statusLive_; }
    // Returns the stream that results go to.
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
