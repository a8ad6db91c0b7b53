// A client's request to rename, enable or disable a channel.
#pragma once

#include <stdexcept>
#include <string_view>

#include "host/serve/hub.h"

// The request is wrong. The text is a sentence for the client.
struct ChangeError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Reads {"name": TEXT, "enabled": BOOLEAN}, either or both. Throws ChangeError.
ChannelChange parseChange(std::string_view json);
