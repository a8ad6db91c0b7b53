// Live sound that a client sends to an output by a WebSocket.
//
// All functions run on the main loop's thread.
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

    // Takes binary messages as mu-law codes. Sends a text message when the client has the output.
    // Closes the socket with a sentence when the talk is refused, or after ten to twenty seconds
    // without a message.
    void add(SoupWebsocketConnection* socket, int number, std::shared_ptr<Connection> connection);

  private:
    class Socket;

    Hub& hub_;
    std::vector<std::unique_ptr<Socket>> sockets_;
};
