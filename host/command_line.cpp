#include "host/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <string>

#include "config/settings_path.h"
#include "host/commands/commands.h"
#include "host/system/folders.h"
#include "host/system/programs.h"

namespace {

class Grammar {
  public:
    Grammar(CommonOptions& common, int argc, char** argv)
        : common_(common), argc_(argc), argv_(argv) {
        app_.require_subcommand(0, 1);
        app_.fallthrough();
        app_.set_version_flag("--version", TAMBORIN_VERSION);
        app_.footer(
            "Channels are chosen by number, name or device; 'channels' lists all three.\n"
            "Exit status: 0 done, 1 it did not work, 2 the command line is wrong.\n"
            "COMMAND --help lists the options of a command; the manual is tamborin-host(1).");
        addCommonOptions();
        for (const auto addCommand : Commands)
            addCommand(line_);
    }

    std::optional<Command> parse() {
        try {
            app_.parse(argc_, argv_);
        } catch (const CLI::Success& success) {
            app_.exit(success);
            return std::nullopt;
        } catch (const CLI::ExtrasError&) {
            throw UsageError(unexpected() + "; see 'tamborin-host" + chosen() + " --help'");
        } catch (const CLI::ParseError& error) {
            std::string message = error.what();
            message = message.substr(0, message.find('\n'));
            throw UsageError(message + "; see 'tamborin-host" + chosen() + " --help'");
        }
        if (!line_.chosen())
            throw UsageError("name a command; see 'tamborin-host --help'");
        // Made absolute, because the working directory will change. A name without a slash stays as
        // it is (ModuleHost).
        if (common_.module.has_parent_path())
            makeAbsolute(common_.module);
        line_.makePathsAbsolute();
        line_.chosen()->check(common_);
        return line_.chosen();
    }

  private:
    void addCommonOptions() {
        line_.addPath(app_, "--dir", common_.folder,
                      std::string("the folder of the module's settings file, ") + SettingsPath);
        common_.module = partOfTool("libtamborin.so", MODULE_FROM_BINDIR);
        app_.add_option("--module", common_.module, "the module's library")
            ->check(notEmpty())
            ->capture_default_str();
        app_.add_option("--log-level", common_.logLevel,
                        "show the module's log from this level on: detail, info, notice, error or "
                        "a number")
            ->transform(logLevel())
            ->default_str("error");
        app_.add_flag("--json", common_.console.json,
                      "write every record of the module to stdout as a line of JSON, and all else "
                      "to stderr");
        app_.add_flag("--quiet", common_.console.quiet, "only results and errors");
        app_.add_flag("--library-noise", common_.showsLibraryNoise,
                      "show what the audio libraries write to stderr");
    }

    static CLI::Validator notEmpty() {
        return {[](const std::string& text) {
                    return text.empty() ? std::string("the name is empty") : std::string();
                },
                ""};
    }

    // Turns the name of a level into its number.
    static CLI::Validator logLevel() {
        return {[](std::string& text) {
                    static const std::map<std::string, int32_t> levels{{"detail", LogDetail},
                                                                       {"info", LogInfo},
                                                                       {"notice", LogNotice},
                                                                       {"error", LogError}};
                    const auto named = levels.find(CLI::detail::to_lower(text));
                    int32_t number = 0;
                    if (named != levels.end())
                        text = std::to_string(named->second);
                    else if (!CLI::detail::lexical_cast(text, number))
                        return "'" + text +
                               "' is not a level: detail, info, notice, error or a number";
                    return std::string();
                },
                ""};
    }

    // Returns a message about the first unknown option, or else the first unexpected argument.
    std::string unexpected() const {
        const std::vector<std::string> extras = app_.remaining(true);
        const auto option = std::ranges::find_if(
            extras, [](const std::string& extra) { return extra.starts_with('-'); });
        return option != extras.end() ? "there is no option " + *option + " here"
                                      : "not expected: " + extras.front();
    }

    std::string chosen() const {
        for (const CLI::App* command : app_.get_subcommands())
            return " " + command->get_name();
        return "";
    }

    CommonOptions& common_;
    const int argc_;
    char** const argv_;
    CLI::App app_{
        "Runs the audio module Tamborin: records, plays, watches, serves, examines the machine.",
        "tamborin-host"};
    CommandLine line_{app_, argv_};
};

}  // namespace

std::optional<ParsedCommandLine> parseCommandLine(int argc, char** argv) {
    CommonOptions common;
    const std::optional<Command> command = Grammar(common, argc, argv).parse();
    if (!command)
        return std::nullopt;
    return ParsedCommandLine{*command, common};
}
