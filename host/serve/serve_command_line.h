// The command line of the server, which is that of tamborin-host with these two commands.
#pragma once

#include <filesystem>
#include <string>

#include "host/serve/serve_options.h"
#include "host/terminal/console.h"

struct ServeCommandLine {
    enum class Command { None, Serve, Password };
    Command command = Command::None;  // none: a help text was asked for, and printed
    ServeOptions serve;
    ConsoleOptions console;
    std::filesystem::path folder = ".";  // of the settings file; absolute
    bool showsLibraryNoise = false;      // what the audio libraries write to stderr
    std::filesystem::path passwordFile;  // absolute
    std::string user;
};

// Throws MisuseError.
ServeCommandLine parseServeCommandLine(int argc, char** argv);
