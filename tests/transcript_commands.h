// The commands of the transcripts, but for those that let the worker run.
#pragma once

#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// What stands behind a command: words, then NAME=VALUE in any order, or a text up to the line's
// end.
class Arguments {
  public:
    explicit Arguments(const std::string& line) : line_(line) {}

    // The next word; empty at the end.
    std::string word();
    // The rest of the line.
    std::string text();
    // The value behind NAME=, or another one when there is none.
    std::string value(const std::string& name, const std::string& otherwise = "");
    // The same as a number; "ch1" is the ID of channel 1.
    int64_t number(const std::string& name, int64_t otherwise = 0);
    // All that are left.
    std::vector<std::pair<std::string, std::string>> values();
    // Fails the test when something was not asked for: it is misspelt.
    void finish();

  private:
    std::istringstream line_;
    std::vector<std::pair<std::string, std::string>> values_;
};

using Command = std::function<void(Arguments&)>;

// What the host does, and what happens to devices, cards and time. By name.
std::map<std::string, Command> commandsOfTheWorld();

// The last stream's callback, on a thread of its own. An input captures samples that all have this
// value; of an output, what is heard is noted as runs of codes.
void callBack(int16_t samples = 0x5555);
