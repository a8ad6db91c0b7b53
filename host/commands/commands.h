// What the tool can do. Each command answers the exit status, and throws std::runtime_error with
// one line for the user when it cannot do its work.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/session/session.h"
#include "host/terminal/console.h"

// Paths are absolute, or empty when not given.
struct Options {
    SessionOptions session;
    std::filesystem::path out;         // folder of recordings
    std::filesystem::path clip;        // empty: the built-in one
    std::filesystem::path document;    // to send
    std::filesystem::path picture;     // of the recording
    std::vector<std::string> inputs;   // channel numbers or names; empty: as the command sees fit
    std::vector<std::string> outputs;  // the same
    double secondsPerFile = 0;         // 0: one file
    bool findClip = false;
};

// The tool's exit statuses.
constexpr int Succeeded = 0;
constexpr int Failed = 1;   // what was asked for did not work
constexpr int Misused = 2;  // the command line is wrong; nothing was done

// Lists the module's channels; fails when none has a device.
int runChannels(const Options& options, Console& console);
// Records inputs; fails when nothing was captured.
int runRecord(const Options& options, Console& console);
// Plays a clip on an output; fails when it was not played.
int runPlay(const Options& options, Console& console);
// Records an input while it plays a clip on an output; fails when either does, or when the clip was
// to be found in the recording and is not there.
int runTalk(const Options& options, Console& console);
// Shows channels, levels, restarts, status and log live, with the inputs enabled.
int runWatch(const Options& options, Console& console);
// Applies a configuration document; fails when it is none for this module.
int runSend(const Options& options, Console& console);
// Prints the module's description.
int runDescribe(const Options& options, Console& console);
// Makes the process the server, tamborin-host-serve, with the arguments of main. Throws
// std::runtime_error when that is not installed. Called before there is a thread.
[[noreturn]] void becomeServer(char** arguments);
// Examines what the module needs on this machine; fails when something is wrong.
int runDoctor(const Options& options, Console& console);
