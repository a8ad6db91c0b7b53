// Sound that a client sends to an output by a WebSocket, as it is spoken.
//
// All on the main loop's thread.
#pragma once

#include <libsoup/soup.h>

#include <memory>
#include <vector>

#include "host/serve/connections.h"
#include "host/serve/hub.h"

class TalkSockets {
  public:
    explicit TalkSockets(Hub& hub);
    // Ends all talks.
    ~TalkSockets();
    TalkSockets(const TalkSockets&) = delete;
    TalkSockets& operator=(const TalkSockets&) = delete;

    // Binary messages are mu-law codes. A text message tells the client when it has the output; a
    // refusal closes the socket with its sentence, and so does silence of ten seconds.
    void add(SoupWebsocketConnection* socket, int number, std::shared_ptr<Connection> connection);

  private:
    class Socket;

    Hub& hub_;
    std::vector<std::unique_ptr<Socket>> sockets_;
};
