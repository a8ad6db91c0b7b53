// Whether a client may talk on an output, and what it is told when not.
#pragma once

#include <memory>
#include <string>

#include "host/serve/hub.h"

struct TalkBeginning {
    std::unique_ptr<Talk> talk;  // null: refused
    unsigned status = 0;         // of the refusal, as HTTP counts them
    std::string sentence;
};
TalkBeginning tryTalk(Hub& hub, int number);
