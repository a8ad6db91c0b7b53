#include "host/commands/command.h"

#include <utility>

#include "host/system/folders.h"

namespace {

constexpr double MostSeconds = 10 * 365 * 24 * 3600.0;

}  // namespace

CLI::App& CommandLine::add(const char* name, const char* help, Command command) {
    CLI::App* added = app_.add_subcommand(name, help);
    added->callback([this, command = std::move(command)] { chosen_ = command; });
    added->footer("Options of all commands: tamborin-host --help");
    return *added;
}

CLI::Option& CommandLine::addPath(CLI::App& command, const char* name, std::filesystem::path& path,
                                  const std::string& help) {
    paths_.push_back(&path);
    return *command.add_option(name, path, help);
}

void CommandLine::makePathsAbsolute() {
    for (std::filesystem::path* path : paths_)
        makeAbsolute(*path);
}

void addTime(CLI::App& command, double& seconds, const char* help) {
    command.add_option("--for", seconds, help)->check(atLeast(0.001));
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

CLI::Validator existingFile() { return CLI::ExistingFile.description(""); }
