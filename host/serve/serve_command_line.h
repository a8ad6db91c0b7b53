// The command line of the server: that of tamborin-host with the commands serve and password.
#pragma once

#include <filesystem>
#include <string>

#include "host/serve/serve_options.h"
#include "host/terminal/console.h"

struct ServeCommandLine {
    enum class Command { None, Serve, Password };
    Command command = Command::None;  // None: a help text was printed
    ServeOptions serve;
    ConsoleOptions console;
    std::filesystem::path folder = ".";  // of the settings file; absolute
    bool showsLibraryNoise = false;      // what the audio libraries write to stderr
    std::filesystem::path passwordFile;  // absolute
    std::string user;
};

// Throws MisuseError.
ServeCommandLine parseServeCommandLine(int argc, char** argv);
