#include "host/serve/talk_beginning.h"

#include <libsoup/soup.h>

TalkBeginning tryTalk(Hub& hub, int number) {
    const std::string digits = std::to_string(number);
    TalkAnswer answer = hub.beginTalk(number);
    switch (answer.refusal) {
        case TalkRefusal::None:
            return {std::move(answer.talk), 0, ""};
        case TalkRefusal::NoSuchOutput:
            return {nullptr, SOUP_STATUS_NOT_FOUND, "There is no output " + digits + "."};
        case TalkRefusal::NoDevice:
            return {nullptr, SOUP_STATUS_SERVICE_UNAVAILABLE,
                    "Output " + digits + " has no device."};
        case TalkRefusal::KeptOff:
            return {nullptr, SOUP_STATUS_CONFLICT,
                    "Output " + digits + " is disabled; enable it first."};
        default:
            return {nullptr, SOUP_STATUS_CONFLICT,
                    "Another client is talking on output " + digits + "."};
    }
}
