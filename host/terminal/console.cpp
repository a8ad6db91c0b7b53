#include "host/terminal/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "host/system/stop.h"
#include "host/terminal/text.h"
#include "plugin/tamborin.h"

namespace {

bool isTerminal(FILE* file) { return isatty(fileno(file)) != 0; }

bool showsColours(FILE* file) {
    const char* terminal = std::getenv("TERM");
    return isTerminal(file) && terminal != nullptr && std::string_view(terminal) != "dumb" &&
           areColoursWanted();
}

std::string shown(const Line& line, bool isColoured) {
    std::string text;
    for (const Piece& piece : line) {
        const bool hasColour = isColoured && piece.colour != Colour::None && !piece.text.empty();
        const std::string begin =
            hasColour ? "\033[" + std::to_string(static_cast<int>(piece.colour)) + "m" : "";
        text += begin + printable(piece.text) + (hasColour ? "\033[0m" : "");
    }
    return text;
}

size_t widthOf(FILE* terminal) {
    constexpr size_t Usual = 80;
    winsize size{};
    return ioctl(fileno(terminal), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : Usual;
}

// Room for a quarter of an hour of records of ten inputs, and for more messages than a person
// reads.
constexpr size_t MostRecordBytes = size_t{8} << 20;
constexpr size_t MostMessageBytes = size_t{1} << 20;

void noteRecordsFailure(int error) {
    if (error == EPIPE)
        noteReaderLeft();
}

}  // namespace

void checkResultsWritten() {
    const bool written = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    if (!written && !readerHasLeft())
        throw std::runtime_error("cannot write the results to stdout; is there room for them?");
}

bool areColoursWanted() {
    const char* without = std::getenv("NO_COLOR");
    return without == nullptr || *without == '\0';
}

Console::Console(const ConsoleOptions& options, FILE* messages)
    : options_(options),
      err_(messages),
      out_(options.json || options.soundOnStdout ? err_ : stdout),
      outColours_(showsColours(out_)),
      errColours_(showsColours(err_)),
      // Records on the same terminal would mix with the status lines.
      statusLive_(isTerminal(err_) && !(options.json && isTerminal(stdout))),
      messages_(fileno(err_), MostMessageBytes, [] { return true; }),
      records_(options.json ? std::make_unique<BoundedWriter>(STDOUT_FILENO, MostRecordBytes,
                                                              stopAsked, noteRecordsFailure)
                            : nullptr) {}

void Console::record(std::string line) {
    if (records_->isSettled())
        leavesRecordsOut_ = false;
    if (!records_->write(std::move(line)) && !stopAsked() && !leavesRecordsOut_.exchange(true))
        error("stdout takes no more records; they are left out until it does");
}

void Console::result(const Line& line) { writeLine(out_, line); }

void Console::remark(const Line& line) {
    if (!options_.quiet)
        writeLine(out_, line);
}

void Console::error(std::string_view line) {
    writeLine(err_, {{"tamborin-host:", Colour::Red}, {" " + std::string(line)}});
}

void Console::settle() {
    if (records_)
        records_->settle();
    messages_.settle();
}

void Console::logLine(int32_t level, std::string_view text) {
    writeLine(err_, {{std::to_string(level) + " " + std::string(text),
                      level >= LogError ? Colour::Red : Colour::None}});
}

void Console::status(const std::vector<std::string>& lines) {
    if (options_.quiet)
        return;
    const std::lock_guard held(mutex_);
    // A status that waits behind earlier messages would be out of date when it is read.
    if (!messages_.isSettled())
        return;
    eraseStatus();
    // A line that wraps takes two rows, and eraseStatus would erase only one of them.
    const size_t width = widthOf(err_) - 1;
    std::string text;
    for (const std::string& line : lines)
        text += (statusLive_ ? fitted(line, width) : printable(line)) + "\n";
    writeMessage(text);
    statusLines_ = statusLive_ ? lines.size() : 0;
}

void Console::clearStatus() {
    const std::lock_guard held(mutex_);
    eraseStatus();
}

void Console::finishResults() {
    if (!records_)
        return checkResultsWritten();
    records_->settle();
    if (const uint64_t lost = records_->lost(); lost > 0 && !readerHasLeft())
        throw std::runtime_error(std::to_string(lost) +
                                 " records were left out, as stdout did not take them");
}

// A result on stdout waits for the messages before it, unless their reader stalls, because both may
// go to one terminal.
void Console::writeLine(FILE* file, const Line& line) {
    const bool isColoured = file == out_ ? outColours_ : errColours_;
    const std::string text = shown(line, isColoured) + "\n";
    {
        const std::lock_guard held(mutex_);
        eraseStatus();
        if (file == err_)
            return writeMessage(text);
    }
    messages_.settle();
    std::fputs(text.c_str(), file);
    if (std::fflush(file) != 0 && errno == EPIPE)
        noteReaderLeft();
}

void Console::writeMessage(std::string text) {
    if (lostMessages_ > 0)
        text = "tamborin-host: " + std::to_string(lostMessages_) +
               " messages were left out, as nobody read stderr\n" + text;
    lostMessages_ = messages_.write(std::move(text)) ? 0 : lostMessages_ + 1;
}

void Console::eraseStatus() {
    if (statusLines_ > 0)
        writeMessage("\033[" + std::to_string(statusLines_) + "A\033[J");
    statusLines_ = 0;
}
