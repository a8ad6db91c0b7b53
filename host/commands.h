// What the tool can do. Each command answers the exit status and throws std::runtime_error with one
// line for the user.
#pragma once

#include <filesystem>
#include <vector>

#include "host/session.h"

struct Options {
    SessionOptions session;
    std::filesystem::path out;   // folder of recordings
    std::filesystem::path clip;  // empty: the built-in one
    std::vector<int> inputs;     // channel numbers; empty: as the command sees fit
    std::vector<int> outputs;
    bool findClip = false;
};

constexpr int Succeeded = 0;
constexpr int Failed = 1;

// Lists the module's channels; fails when none has a device.
int runChannels(const Options& options);
// Records inputs; fails when nothing was captured.
int runRecord(const Options& options);
// Plays a clip on an output; fails when it was not played.
int runPlay(const Options& options);
// Records an input while it plays a clip on an output; fails when either does, or when the clip was
// to be found in the recording and is not there.
int runTalk(const Options& options);
