// What a client wants a channel to become.
#pragma once

#include <stdexcept>
#include <string_view>

#include "host/serve/hub.h"

// A sentence for the client.
struct ChangeError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Reads {"name": TEXT, "enabled": BOOLEAN}, either or both. Throws ChangeError.
ChannelChange parseChange(std::string_view json);
