// Answers to HTTP requests. All on the main loop's thread.
#pragma once

#include <libsoup/soup.h>

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "host/serve/client_stream.h"

// Headers that every answer has: nothing is kept, framed, guessed at or fetched from elsewhere.
void addSafetyHeaders(SoupServerMessage* message);

void answer(SoupServerMessage* message, unsigned status, const char* type, std::string_view body);
void answerJson(SoupServerMessage* message, unsigned status, const nlohmann::json& body);
// {"error": sentence}
void answerError(SoupServerMessage* message, unsigned status, const std::string& sentence);
// The same before the request's body has come: it is not read.
void refuse(SoupServerMessage* message, unsigned status, const std::string& sentence);

// Characters that are none become a mark of replacement.
std::string asText(const nlohmann::json& value);

// Takes the connection out of the server's hands, sends these headers and hands on the stream, from
// the main loop; does nothing when the client has left by then.
void takeOver(SoupServerMessage* message, const char* type, size_t mostWaiting,
              std::function<void(const std::shared_ptr<ClientStream>&)> onTaken);

// A request that waits for its answer.
class PausedRequest {
  public:
    explicit PausedRequest(SoupServerMessage* message);
    // Lets it go on.
    ~PausedRequest();
    PausedRequest(const PausedRequest&) = delete;
    PausedRequest& operator=(const PausedRequest&) = delete;

    // Null when the client has left.
    SoupServerMessage* message() const { return hasFinished_ ? nullptr : message_.get(); }
    // Its connection, which leaves the server's hands; null when the client has left.
    ObjectPointer<GIOStream> takeConnection();

  private:
    const ObjectPointer<SoupServerMessage> message_;
    bool hasFinished_ = false;
    gulong handler_ = 0;
};
