// The options of the server.
#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "host/serve/hub.h"

// The command line is wrong, and nothing was done. The text is one line for the user.
struct MisuseError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Paths are absolute, or empty when not given.
struct ServeOptions {
    HubOptions hub;
    std::string listenAddress = "127.0.0.1";  // numeric
    uint16_t rtspPort = 8554;                 // 0: any free port
    uint16_t httpPort = 8080;                 // 0: any free port
    std::filesystem::path passwords;
    std::filesystem::path certificate;
    std::filesystem::path key;
    std::string talkOutput;  // number or name; empty: the first with a device

    // Returns the address as URLs have it: in brackets when it has colons.
    std::string addressInUrls() const {
        return listenAddress.find(':') == std::string::npos ? listenAddress
                                                            : "[" + listenAddress + "]";
    }
};
