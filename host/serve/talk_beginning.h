// Gives a client an output to talk on, or the HTTP status and sentence of a refusal.
#pragma once

#include <memory>
#include <string>

#include "host/serve/hub.h"

struct TalkBeginning {
    std::unique_ptr<Talk> talk;  // null: refused
    unsigned status = 0;         // HTTP status of the refusal
    std::string sentence;        // for the client
};
TalkBeginning tryTalk(Hub& hub, int number);
