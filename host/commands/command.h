// How a command declares itself: its name, its options, and what it does with them.
#pragma once

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

// Not included, because CLI11 takes long to compile.
namespace CLI {
class App;
}

// The tool's exit statuses.
constexpr int Succeeded = 0;
constexpr int Failed = 1;   // what was asked for did not work
constexpr int Misused = 2;  // the command line is wrong; nothing was done

// The command line is wrong. The text is one line for the user.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The options of all commands. Paths are absolute, but for a module's name.
struct CommonOptions {
    std::filesystem::path folder = ".";  // of the settings file
    std::filesystem::path module;        // the library's path, or a name (ModuleHost)
    int32_t logLevel = LogError;         // lines below are not shown
    ConsoleOptions console;
    bool showsLibraryNoise = false;  // what the audio libraries write to stderr

    // Returns the options of a session that runs for so many seconds; 0: until stopped.
    SessionOptions session(double seconds = 0) const { return {module, logLevel, seconds}; }
};

// A command whose options have been read. Its functions throw std::runtime_error, with one line for
// the user, when they cannot do their work.
struct Command {
    // What the process prepares before `run`. Each value includes the ones before it.
    enum class Needs { Nothing, SilencedLibraries, SettingsFolder };

    Needs needs = Needs::SettingsFolder;
    // Throws UsageError when options do not fit. May change them and `common`.
    std::function<void(CommonOptions& common)> check = [](CommonOptions&) {};
    // Checks and reads what the command needs, before the settings folder is entered.
    std::function<void(Console& console)> prepare = [](Console&) {};
    // Returns the exit status.
    std::function<int(const CommonOptions& common, Console& console)> run;
};

// Makes a command with options of its own, which `prepare` may change.
template <typename Options>
Command commandWith(
    const std::shared_ptr<Options>& options,
    int (*run)(const Options&, const CommonOptions&, Console&),
    void (*prepare)(Options&, Console&) = [](Options&, Console&) {}) {
    return {.prepare = [options, prepare](Console& console) { prepare(*options, console); },
            .run = [options, run](const CommonOptions& common,
                                  Console& console) { return run(*options, common, console); }};
}

// Collects the commands and their options. The variables that options fill must live as long as
// the command: the command's functions own them (commandWith).
class CommandLine {
  public:
    // `app` holds the whole grammar, `arguments` are those of main. Both must outlive this.
    CommandLine(CLI::App& app, char** arguments) : app_(app), arguments_(arguments) {}
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    // Returns the new command, to which options can be added.
    CLI::App& add(const char* name, const char* help, Command command);
    // Adds a command of another program. `become` gets the arguments of main and replaces this
    // process by that program, which reads them itself. It throws std::runtime_error if it cannot.
    void addForwarded(const char* name, const char* help, void (*become)(char** arguments));

    // Adds an option that names a file or folder. After parsing the path is absolute; an empty
    // default stays empty.
    void addPath(CLI::App& command, const char* name, std::filesystem::path& path,
                 const std::string& help);
    // Adds the argument "file", which must exist. After parsing the path is absolute.
    void addFile(CLI::App& command, std::filesystem::path& file, const char* help);
    // Adds the same, but `file` stays empty if the user names none.
    void addOptionalFile(CLI::App& command, std::filesystem::path& file, const char* help);

    // Makes the declared paths absolute.
    void makePathsAbsolute();
    // Returns the command that the user has named, or nothing.
    const std::optional<Command>& chosen() const { return chosen_; }

  private:
    CLI::App& app_;
    char** const arguments_;
    std::optional<Command> chosen_;
    std::vector<std::filesystem::path*> paths_;
};

// The help of --for, where the time begins with the first sound.
constexpr const char* FromFirstSound = "seconds from the first sound; until Ctrl-C if not given";
// Adds --for, a time in seconds, to the command. `help` says what it means there.
void addTime(CLI::App& command, double& seconds, const char* help);
// Adds an option for a time in seconds, at least `least`.
void addSeconds(CLI::App& command, const char* name, double& seconds, double least,
                const char* help);
// Adds an option without a value.
void addFlag(CLI::App& command, const char* name, bool& flag, const char* help);
// Adds --out, the folder of the recordings. The command makes it absolute, or reads it as
// StandardOutput.
void addOut(CLI::App& command, std::filesystem::path& folder, const char* help);
// Adds --input for several channels.
void addInputs(CLI::App& command, std::vector<std::string>& channels);
// Adds --input or --output, which takes exactly one channel, so that a file may follow.
void addChannel(CLI::App& command, const char* name, std::vector<std::string>& channels);
