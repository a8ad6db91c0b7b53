// Gives a client an output to talk on, or a refusal to send.
#pragma once

#include <memory>
#include <string>

#include "host/serve/hub.h"

constexpr int TalkPatience = 10;  // seconds that a talker may send nothing

struct TalkBeginning {
    std::unique_ptr<Talk> talk;  // null: refused
    unsigned status = 0;         // HTTP status of the refusal
    std::string sentence;        // for the client
};
TalkBeginning tryTalk(Hub& hub, int number);
