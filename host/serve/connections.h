// The HTTP server's connections: how many there are, and how long each may keep us waiting.
//
// All on the main loop's thread.
#pragma once

#include <gio/gio.h>
#include <libsoup/soup.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "host/serve/access.h"

// One client's connection. Whoever has a use for it shares it.
class Connection {
  public:
    explicit Connection(GSocket* socket);

    // The client has so long for what it is to do next, then it is dropped.
    void allow(std::chrono::milliseconds time);
    // It is looked after by others from now on.
    void allowForEver();
    // A connection without a request is the first to go when there are too many.
    void setIdle(bool isIdle) { isIdle_ = isIdle; }
    bool isIdle() const { return isIdle_; }
    bool isLate() const;
    bool isDropped() const { return isDropped_; }
    // Ends it in both directions. Its owners notice that as they do when the client leaves.
    void drop();
    // Ends what we send; the client may still be sending.
    void endSending();
    // Bounds what the system keeps for a client that does not read.
    void keepSendBufferSmall();

  private:
    const ObjectPointer<GSocket> socket_;
    std::chrono::steady_clock::time_point deadline_;
    bool isIdle_ = true;
    bool isDropped_ = false;
};

// Accepts connections and hands them to the server, with TLS when there is a certificate.
class Connections {
  public:
    static constexpr size_t Most = 256;
    // For a handshake, and for a whole request.
    static constexpr std::chrono::seconds RequestTime{15};

    // Throws std::runtime_error when it cannot listen there.
    Connections(SoupServer* server, const Access& access, const std::string& address,
                uint16_t port);
    ~Connections();
    Connections(const Connections&) = delete;
    Connections& operator=(const Connections&) = delete;

    uint16_t port() const { return port_; }
    // How many there are.
    size_t count() const;
    // Null for a request whose connection is gone.
    static std::shared_ptr<Connection> of(SoupServerMessage* message);

  private:
    void accept(GSocketConnection* accepted);
    bool makeRoom();
    void dropLate();

    SoupServer* const server_;
    const ObjectPointer<GTlsCertificate> certificate_;
    const ObjectPointer<GSocketService> service_;
    uint16_t port_ = 0;
    std::vector<std::weak_ptr<Connection>> connections_;  // the oldest first
    guint look_ = 0;
};
