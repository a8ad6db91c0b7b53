#include "host/commands/command.h"

#include <CLI/CLI.hpp>
#include <utility>

#include "host/system/folders.h"

namespace {

constexpr double MostSeconds = 10 * 365 * 24 * 3600.0;

// Returns a check that refuses seconds below `least` and above ten years.
CLI::Validator atLeast(double least) {
    return {[least](const std::string& text) {
                double value = 0;
                return CLI::detail::lexical_cast(text, value) && value >= least &&
                               value <= MostSeconds
                           ? std::string()
                           : "'" + text + "' is not a number of seconds from " +
                                 CLI::detail::to_string(least) + " to ten years";
            },
            ""};
}

}  // namespace

CLI::App& CommandLine::add(const char* name, const char* help, Command command) {
    CLI::App* added = app_.add_subcommand(name, help);
    added->callback([this, command = std::move(command)] { chosen_ = command; });
    added->footer("Options of all commands: tamborin-host --help");
    return *added;
}

void CommandLine::addForwarded(const char* name, const char* help,
                               void (*become)(char** arguments)) {
    add(name, help,
        {.needs = Command::Needs::Nothing,
         .run =
             [become, arguments = arguments_](const CommonOptions&, Console&) {
                 become(arguments);
                 return Failed;
             }})
        .prefix_command()
        ->fallthrough(false)
        ->set_help_flag();
}

void CommandLine::addPath(CLI::App& command, const char* name, std::filesystem::path& path,
                          const std::string& help) {
    paths_.push_back(&path);
    CLI::Option* option = command.add_option(name, path, help);
    if (!path.empty())
        option->capture_default_str();
}

void CommandLine::addFile(CLI::App& command, std::filesystem::path& file, const char* help) {
    addOptionalFile(command, file, help);
    command.get_option("file")->required();
}

void CommandLine::addOptionalFile(CLI::App& command, std::filesystem::path& file,
                                  const char* help) {
    addPath(command, "file", file, help);
    command.get_option("file")->check(CLI::ExistingFile.description(""));
}

void CommandLine::makePathsAbsolute() {
    for (std::filesystem::path* path : paths_)
        makeAbsolute(*path);
}

void addTime(CLI::App& command, double& seconds, const char* help) {
    addSeconds(command, "--for", seconds, 0.001, help);
}

void addSeconds(CLI::App& command, const char* name, double& seconds, double least,
                const char* help) {
    command.add_option(name, seconds, help)->check(atLeast(least));
}

void addFlag(CLI::App& command, const char* name, bool& flag, const char* help) {
    command.add_flag(name, flag, help);
}

void addOut(CLI::App& command, std::filesystem::path& folder, const char* help) {
    command.add_option("--out", folder, help)->capture_default_str();
}

void addInputs(CLI::App& command, std::vector<std::string>& channels) {
    command.add_option("--input", channels,
                       "channels, by number or name; if not given, all with a device");
}

void addChannel(CLI::App& command, const char* name, std::vector<std::string>& channels) {
    command.add_option_function<std::string>(
        name, [&channels](const std::string& channel) { channels = {channel}; },
        "a channel, by number or name; if not given, the first with a device");
}
