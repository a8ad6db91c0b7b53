// Answers the HTTP requests that the server has let in.
//
// All functions run on the main loop's thread.
#pragma once

#include <libsoup/soup.h>

#include <map>
#include <memory>

#include "host/serve/audio_stream.h"
#include "host/serve/connections.h"
#include "host/serve/events.h"
#include "host/serve/http_answer.h"
#include "host/serve/http_routes.h"
#include "host/serve/hub.h"
#include "host/serve/talk_socket.h"
#include "host/serve/talk_upload.h"

class Api {
  public:
    // `connections` returns the number of the server's connections.
    Api(Hub& hub, std::function<size_t()> connections);
    ~Api();
    Api(const Api&) = delete;
    Api& operator=(const Api&) = delete;

    // Called when a request's headers have come. Refuses it, or prepares for its body.
    void onHeaders(SoupServerMessage* message, const char* path);
    // Called when the whole request has come.
    void onRequest(SoupServerMessage* message, const char* path);
    void onTalkSocket(SoupServerMessage* message, const char* path,
                      SoupWebsocketConnection* socket);

  private:
    void listen(SoupServerMessage* message, int number, AudioFraming framing);
    void sendEvents(SoupServerMessage* message);
    void tellChannel(SoupServerMessage* message, unsigned status, int number);
    void change(SoupServerMessage* message, int number);
    void answerChange(uint64_t key, bool isApplied);

    struct Change {
        int number;
        std::unique_ptr<PausedRequest> request;
    };

    Hub& hub_;
    const std::function<size_t()> connections_;
    AudioStreams audio_;
    Events events_;
    TalkUploads uploads_;
    TalkSockets sockets_;
    std::map<uint64_t, Change> changes_;  // that the module has not answered yet
    uint64_t lastChange_ = 0;
    const std::shared_ptr<Api*> self_;  // points to null once this object is destroyed
};
