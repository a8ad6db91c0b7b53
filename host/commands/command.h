// How a command declares itself: its name, its options, and what it does with them.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/session/session.h"
#include "host/terminal/console.h"
#include "plugin/tamborin.h"

// The tool's exit statuses.
constexpr int Succeeded = 0;
constexpr int Failed = 1;   // what was asked for did not work
constexpr int Misused = 2;  // the command line is wrong; nothing was done

// One line for the user, who has misused the tool.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The options of all commands. Paths are absolute, but for a module's name without a slash.
struct CommonOptions {
    std::filesystem::path folder = ".";  // of the settings file
    std::filesystem::path module;        // the library
    int32_t logLevel = LogError;         // lines below are not shown
    ConsoleOptions console;
    bool showsLibraryNoise = false;  // what the audio libraries write to stderr

    // For a run of so many seconds; 0: until stopped.
    SessionOptions session(double seconds = 0) const { return {module, logLevel, seconds}; }
};

// What a command does, once its options are read. It throws std::runtime_error, with one line for
// the user, when it cannot do its work.
struct Command {
    // What the process gets ready for `run`, each with what stands before it.
    enum class Needs { Nothing, SilencedLibraries, SettingsFolder };

    Needs needs = Needs::SettingsFolder;
    // Throws UsageError when options do not go together. Takes stdout for sound if they say so.
    std::function<void(CommonOptions& common)> check = [](CommonOptions&) {};
    // Reads and checks what the user has given, as far as it needs no module: the settings folder
    // is not touched until then.
    std::function<void(Console& console)> prepare = [](Console&) {};
    // Returns the exit status.
    std::function<int(const CommonOptions& common, Console& console)> run;
};

// A command with options of its own, which `prepare` may complete.
template <typename Options>
Command commandWith(
    const std::shared_ptr<Options>& options,
    int (*run)(const Options&, const CommonOptions&, Console&),
    void (*prepare)(Options&, Console&) = [](Options&, Console&) {}) {
    return {.prepare = [options, prepare](Console& console) { prepare(*options, console); },
            .run = [options, run](const CommonOptions& common,
                                  Console& console) { return run(*options, common, console); }};
}

// The command line while commands declare themselves. What an option fills must live as long as the
// command, which keeps it in its functions.
class CommandLine {
  public:
    // `app` holds the whole grammar, `arguments` are those of main. Both must outlive this.
    CommandLine(CLI::App& app, char** arguments) : app_(app), arguments_(arguments) {}
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    // Returns the new command, to which options can be added.
    CLI::App& add(const char* name, const char* help, Command command);
    // Adds an option, or without dashes an argument, that names a file or folder. The path is made
    // absolute after parsing; it stays empty when it is empty and the user gives none.
    CLI::Option& addPath(CLI::App& command, const char* name, std::filesystem::path& path,
                         const std::string& help);

    // What the user has typed, as main got it.
    char** arguments() const { return arguments_; }

    // Makes the declared paths absolute.
    void makePathsAbsolute();
    // The command that the user has named; nothing when there was none.
    const std::optional<Command>& chosen() const { return chosen_; }

  private:
    CLI::App& app_;
    char** const arguments_;
    std::optional<Command> chosen_;
    std::vector<std::filesystem::path*> paths_;
};

// Leaves an empty path empty. Throws std::runtime_error when the working directory is gone.
void makeAbsolute(std::filesystem::path& path);

// Options that several commands have.
constexpr const char* FromFirstSound = "seconds from the first sound; until Ctrl-C if not given";
// A time in seconds; `help` says what the command makes of it.
void addTime(CLI::App& command, double& seconds, const char* help);
// Several channels, by number or name.
void addInputs(CLI::App& command, std::vector<std::string>& channels);
// One channel, so that the argument behind it is the file. `name` is "--input" or "--output".
void addChannel(CLI::App& command, const char* name, std::vector<std::string>& channels);
// Refuses numbers of seconds below `least`, and those above ten years.
CLI::Validator atLeast(double least);
// Refuses names of files that do not exist.
CLI::Validator existingFile();
