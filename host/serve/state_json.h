// The hub's state as the API tells it.
#pragma once

#include <nlohmann/json.hpp>

#include "host/serve/hub.h"

// What a channel does, in one word: missing (its device), disabled (for its clients, too), ready or
// talking (an output), idle (an input that nobody has enabled), waiting (for sound), recording.
const char* stateWord(const ChannelState& channel, int64_t now);
nlohmann::json channelJson(const ChannelState& channel, int64_t now);
// All but the log.
nlohmann::json stateJson(const HubState& state, int64_t now);
nlohmann::json logJson(const HubLogLine& line);
// Null when there is none of this number.
const ChannelState* findChannel(const HubState& state, int number);
