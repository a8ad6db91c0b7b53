#include "host/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <string>

namespace {

constexpr double MostSeconds = 10 * 365 * 24 * 3600.0;

// The library beside us, as we are built, or where we are installed. Where there is no /proc to
// tell, the dynamic linker looks for it.
std::filesystem::path usualModule() {
    constexpr const char* Name = "libtamborin.so";
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    if (error)
        return Name;
    const auto built = folder / Name;
    return exists(built, error) ? built : (folder / MODULE_FROM_BINDIR / Name).lexically_normal();
}

void makeAbsolute(std::filesystem::path& path) {
    if (path.empty())
        return;
    std::error_code error;
    path = std::filesystem::absolute(path, error).lexically_normal();
    if (error)
        throw std::runtime_error("the working directory is gone; change to another");
}

class Grammar {
  public:
    explicit Grammar(CommandLine& line)
        : line_(line), options_(line.options), session_(line.options.session) {
        app_.require_subcommand(0, 1);
        app_.fallthrough();
        app_.set_version_flag("--version", TAMBORIN_VERSION);
        app_.footer(
            "Channels are chosen by number, name or device; 'channels' lists all three.\n"
            "Exit status: 0 done, 1 it did not work, 2 the command line is wrong.\n"
            "COMMAND --help tells the options of a command; the manual is tamborin-host(1).");
        addCommonOptions();
        addCommands();
    }

    void parse(int argc, char** argv) {
        arguments_ = argv;
        try {
            app_.parse(argc, argv);
            if (line_.command == nullptr)
                throw UsageError("name a command; see 'tamborin-host --help'");
        } catch (const CLI::Success& success) {
            line_.command = nullptr;
            app_.exit(success);
        } catch (const CLI::ExtrasError&) {
            throw UsageError(unexpected() + "; see 'tamborin-host" + chosen() + " --help'");
        } catch (const CLI::ParseError& error) {
            std::string message = error.what();
            message = message.substr(0, message.find('\n'));
            throw UsageError(message + "; see 'tamborin-host" + chosen() + " --help'");
        }
    }

  private:
    void addCommonOptions() {
        app_.add_option("--dir", session_.folder,
                        "the folder of the module's settings file, tamborin.xml")
            ->capture_default_str();
        app_.add_option("--module", session_.module, "the module's library")
            ->check(notEmpty())
            ->capture_default_str();
        app_.add_option("--log-level", session_.logLevel,
                        "show the module's log from this level on: detail, info, notice, error or "
                        "a number")
            ->transform(logLevel())
            ->default_str("error");
        app_.add_flag("--json", line_.console.json,
                      "write every record of the module to stdout as a line of JSON, and all else "
                      "to stderr");
        app_.add_flag("--quiet", line_.console.quiet, "only results and errors");
        app_.add_flag("--library-noise", line_.console.libraryNoise,
                      "show what the audio libraries write to stderr");
    }

    CLI::App* add(const char* name, const char* help, Command command) {
        CLI::App* added = app_.add_subcommand(name, help);
        added->callback([this, command] { line_.command = command; });
        added->footer("Options of all commands: tamborin-host --help");
        return added;
    }

    // The server reads the whole command line itself.
    void addOfServer(const char* name, const char* help) {
        CLI::App* added = app_.add_subcommand(name, help)->prefix_command()->fallthrough(false);
        added->set_help_flag();
        added->callback([this] { becomeServer(arguments_); });
    }

    void addCommands() {
        add("channels", "list the channels", runChannels);
        CLI::App* record = add("record", "record inputs to WAV files", runRecord);
        CLI::App* play = add("play", "play a sound file on an output", runPlay);
        CLI::App* talk = add("talk", "record an input while playing on an output", runTalk);
        CLI::App* watch = add("watch", "show levels, restarts, status and log live", runWatch);
        CLI::App* send = add("send", "apply a configuration document", runSend);
        add("describe", "print the module's description", runDescribe);
        add("doctor", "examine what the module needs on this machine", runDoctor);
        addOfServer("serve", "serve inputs and outputs on the network");
        addOfServer("password", "set who may use the server, and by which password");

        constexpr const char* FromSound = "seconds from the first sound; until Ctrl-C if not given";
        addTime(*record, FromSound);
        addTime(*talk, FromSound);
        addTime(*watch, "seconds to run; until Ctrl-C if not given");
        addTime(*play, "seconds to play; the whole file if not given");
        for (CLI::App* command : {record, watch})
            command->add_option("--input", options_.inputs,
                                "channels, by number or name; those with a device if none");
        addChannel(*talk, "--input", options_.inputs);
        addChannel(*talk, "--output", options_.outputs);
        addChannel(*play, "--output", options_.outputs);
        for (CLI::App* command : {record, talk})
            command->add_option("--out", options_.out, "the folder of the recordings")
                ->capture_default_str();
        record
            ->add_option("--rotate", options_.secondsPerFile,
                         "begin a new file after so many seconds of sound")
            ->check(atLeast(1));
        record->add_option("--picture", options_.picture,
                           "draw the recording: sound, level, gaps, restarts, alarms (PNG)");
        play->add_option("file", options_.clip, "any file that libsndfile reads")
            ->required()
            ->check(existingFile());
        talk->add_option("file", options_.clip, "any file that libsndfile reads; chirps if none")
            ->check(existingFile());
        talk->add_flag("--find-clip", options_.findClip,
                       "fail unless the recording holds the clip");
        send->add_option("file", options_.document, "the document (XML)")
            ->required()
            ->check(existingFile());
    }

    void addTime(CLI::App& command, const char* help) {
        command.add_option("--for", session_.seconds, help)->check(atLeast(0.001));
    }

    // One channel, so that the argument behind it is the file.
    static void addChannel(CLI::App& command, const char* name,
                           std::vector<std::string>& channels) {
        command.add_option_function<std::string>(
            name, [&channels](const std::string& channel) { channels = {channel}; },
            "a channel, by number or name; the first with a device if none");
    }

    static CLI::Validator atLeast(double least) {
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

    static CLI::Validator existingFile() { return CLI::ExistingFile.description(""); }

    // Tells the first option that nobody knows, or else the first argument.
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

    char** arguments_ = nullptr;
    CommandLine& line_;
    Options& options_;
    SessionOptions& session_;
    CLI::App app_{
        "Brings the audio module Tamborin up on a machine: records, plays, watches, "
        "examines.",
        "tamborin-host"};
};

}  // namespace

CommandLine parseCommandLine(int argc, char** argv) {
    CommandLine line;
    Options& options = line.options;
    options.session.module = usualModule();
    options.out = "recordings";
    Grammar(line).parse(argc, argv);
    if (line.command == nullptr)
        return line;
    // The module runs in its own folder, and a name without a slash is the dynamic linker's.
    if (options.session.module.has_parent_path())
        makeAbsolute(options.session.module);
    for (std::filesystem::path* path : {&options.session.folder, &options.out, &options.clip,
                                        &options.document, &options.picture})
        makeAbsolute(*path);
    return line;
}
