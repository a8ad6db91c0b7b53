// tamborin-host: brings the module up on a machine, lists what it finds, records and plays.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <stdexcept>

#include "host/commands.h"
#include "host/messages.h"

namespace {

// Beside us, as we are built, or where we are installed.
std::filesystem::path besideUs(const char* name) {
    const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const auto built = folder / name;
    return exists(built) ? built : (folder / MODULE_FROM_BINDIR / name).lexically_normal();
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    options.session.module = besideUs("libtamborin.so");
    options.out = "recordings";
    std::filesystem::path folder = ".";
    bool libraryNoise = false;
    int (*command)(const Options&) = nullptr;

    CLI::App app("Records and plays through the Tamborin audio module.", "tamborin-host");
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("--module", options.session.module, "the module's library")
        ->capture_default_str();
    app.add_option("--dir", folder, "folder of the module's settings file")->capture_default_str();
    app.add_option("--for", options.session.seconds, "seconds to run; until Ctrl-C if not given")
        ->check(CLI::PositiveNumber);
    app.add_option("--log-level", options.session.logLevel,
                   "show log lines from this level on: 0 detail, 25 info, 50 notice, 75 errors")
        ->capture_default_str();
    app.add_flag("--library-noise", libraryNoise, "show what the audio libraries write to stderr");

    const auto add = [&](const char* name, const char* help, int (*run)(const Options&)) {
        CLI::App* sub = app.add_subcommand(name, help);
        sub->callback([&command, run] { command = run; });
        return sub;
    };
    add("channels", "list the channels", runChannels);
    CLI::App* record = add("record", "record inputs to WAV files", runRecord);
    CLI::App* play = add("play", "play a sound file on an output", runPlay);
    CLI::App* talk = add("talk", "record an input while playing on an output", runTalk);
    for (CLI::App* sub : {record, talk}) {
        sub->add_option("--input", options.inputs, "channel numbers; those with a device if none");
        sub->add_option("--out", options.out, "folder for recordings")->capture_default_str();
    }
    for (CLI::App* sub : {play, talk})
        sub->add_option("--output", options.outputs, "channel number; the first with a device");
    play->add_option("file", options.clip, "any file that libsndfile reads")
        ->required()
        ->check(CLI::ExistingFile);
    talk->add_option("file", options.clip, "any file that libsndfile reads; chirps if none")
        ->check(CLI::ExistingFile);
    talk->add_flag("--find-clip", options.findClip, "fail unless the recording holds the clip");
    CLI11_PARSE(app, argc, argv);

    if (!libraryNoise)
        silenceLibraries();
    try {
        for (std::filesystem::path* path : {&options.session.module, &options.out, &options.clip})
            if (!path->empty())
                *path = std::filesystem::absolute(*path);
        std::filesystem::create_directories(folder);
        std::filesystem::current_path(folder);
        stopOnSignals();
        return command(options);
    } catch (const std::exception& error) {
        std::fprintf(userMessages(), "tamborin-host: %s\n", error.what());
        return Failed;
    }
}
