// The HTTP server's connections. Limits their number and the time that each may keep us waiting.
//
// All functions run on the main loop's thread.
#pragma once

#include <gio/gio.h>
#include <libsoup/soup.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "host/serve/access.h"

// One client's connection, owned in common by the objects that use it.
class Connection {
  public:
    explicit Connection(GSocket* socket);

    // Drops the client unless this is called again, or allowForEver, within `time`.
    void allow(std::chrono::milliseconds time);
    // Ends the time limit: the caller watches the client itself from now on.
    void allowForEver();
    // Only idle connections, without a request that has passed the password check, are dropped when
    // there are too many.
    void setIdle(bool isIdle) { isIdle_ = isIdle; }
    bool isIdle() const { return isIdle_; }
    bool isLate() const;
    bool isDropped() const { return isDropped_; }
    // Shuts both directions down. To the owners this looks as if the client had left.
    void drop();
    // Shuts our direction down. The client may still send.
    void endSending();
    // Limits the bytes that the kernel keeps for a client that does not read.
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
    // The time limit of a whole request, and of the silence before a TLS handshake.
    static constexpr std::chrono::seconds RequestTime{15};

    // Listens on the address and port. Throws std::runtime_error when that fails.
    Connections(SoupServer* server, const Access& access, const std::string& address,
                uint16_t port);
    ~Connections();
    Connections(const Connections&) = delete;
    Connections& operator=(const Connections&) = delete;

    uint16_t port() const { return port_; }
    // Returns the number of connections.
    size_t count() const;
    // Returns the connection of a request; null after `forget`.
    static std::shared_ptr<Connection> of(SoupServerMessage* message);
    // Makes `of` return null for the message. Call it when the connection is taken away from
    // libsoup, because libsoup would keep its reference until the server ends.
    static void forget(SoupServerMessage* message);

  private:
    void accept(GSocketConnection* accepted);
    bool makeRoom();
    void dropLate();

    SoupServer* const server_;
    const ObjectPointer<GTlsCertificate> certificate_;
    const ObjectPointer<GSocketService> service_;
    uint16_t port_ = 0;
    std::vector<std::weak_ptr<Connection>> connections_;  // the oldest first
    guint timer_ = 0;
};
