// What the server was asked to do.
#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "host/serve/hub.h"

// The options contradict each other: one line for the user, and nothing was done.
struct MisuseError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Paths are absolute, or empty when not given.
struct ServeOptions {
    HubOptions hub;
    std::string listenAddress = "127.0.0.1";  // numeric
    uint16_t rtspPort = 8554;                 // 0: any that is free
    uint16_t httpPort = 8080;                 // the same
    std::filesystem::path passwords;
    std::filesystem::path certificate;
    std::filesystem::path key;
    std::string talkOutput;  // number or name; empty: the first with a device
};
