// Answers to HTTP requests. All on the main loop's thread.
#pragma once

#include <libsoup/soup.h>

#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

#include "host/serve/client_stream.h"

// Adds the headers of every answer. With them a browser does not store the answer, show it in
// another site's frame, guess its type, or fetch anything from other sites for it.
void addSafetyHeaders(SoupServerMessage* message);

void answer(SoupServerMessage* message, unsigned status, const char* type, std::string_view body);
void answerJson(SoupServerMessage* message, unsigned status, const nlohmann::json& body);
// Answers with {"error": sentence}.
void answerError(SoupServerMessage* message, unsigned status, const std::string& sentence);
// Answers with an error. Does not wait for the rest of a long body, except with status 401.
void refuse(SoupServerMessage* message, unsigned status, const std::string& sentence);

// Returns the JSON text. Bytes that are not UTF-8 become U+FFFD.
std::string asText(const nlohmann::json& value);

// Later, from the main loop, takes the connection away from libsoup, sends the headers and passes
// the stream to `onTaken`, unless the client has left by then.
void takeOver(SoupServerMessage* message, const char* type, size_t mostWaiting,
              std::function<void(const std::shared_ptr<ClientStream>&)> onTaken);

// A request that waits for its answer.
class PausedRequest {
  public:
    explicit PausedRequest(SoupServerMessage* message);
    // Resumes the request.
    ~PausedRequest();
    PausedRequest(const PausedRequest&) = delete;
    PausedRequest& operator=(const PausedRequest&) = delete;

    // Returns the request; null when the client has left.
    SoupServerMessage* message() const { return hasFinished_ ? nullptr : message_.get(); }
    // Takes the connection away from libsoup and returns it; null when the client has left.
    ObjectPointer<GIOStream> takeConnection();

  private:
    const ObjectPointer<SoupServerMessage> message_;
    bool hasFinished_ = false;
    gulong handler_ = 0;
};
