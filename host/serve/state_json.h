// The hub's state as the API's JSON.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "host/serve/hub.h"

// Returns a channel's state in one word: "missing" (its device), "disabled" (by a client's
// request), "ready" or "talking" (an output), "idle" (an input that is not enabled), "waiting" (for
// sound) or "recording".
const char* stateWord(const ChannelState& channel, int64_t now);
nlohmann::json channelJson(const ChannelState& channel, int64_t now);
// Returns the state without the log.
nlohmann::json stateJson(const HubState& state, int64_t now);
nlohmann::json logJson(const HubLogLine& line);
// Returns the channel of this number, or null.
const ChannelState* findChannel(const HubState& state, int number);
