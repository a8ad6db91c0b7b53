// The commands of the transcripts, except those that let the worker run.
#pragma once

#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// The arguments of a command: words first, then NAME=VALUE in any order or a text up to the end of
// the line.
class Arguments {
  public:
    explicit Arguments(const std::string& line) : line_(line) {}

    // Takes the next word; returns an empty one at the end.
    std::string word();
    // Takes the rest of the line.
    std::string text();
    // Takes the value behind NAME=; returns `otherwise` when there is none.
    std::string value(const std::string& name, const std::string& otherwise = "");
    // Takes a value as a number; "ch1" is the ID of channel 1.
    int64_t number(const std::string& name, int64_t otherwise = 0);
    // Takes all NAME=VALUE pairs that are left.
    std::vector<std::pair<std::string, std::string>> values();
    // Fails the test when an argument was not taken: it may be misspelt.
    void finish();

  private:
    std::istringstream line_;
    std::vector<std::pair<std::string, std::string>> values_;
};

using Command = std::function<void(Arguments&)>;

// Returns the commands of the host, devices, cards and time by name.
std::map<std::string, Command> commandsOfTheWorld();

// Calls the last stream back, on a thread of its own. An input captures samples that all have this
// value. What an output plays is noted as runs of codes.
void callBack(int16_t samples = 0x5555);
