// Serves the page and the API over HTTP, and checks the passwords.
#pragma once

#include <libsoup/soup.h>

#include <memory>
#include <string>

#include "host/serve/access.h"
#include "host/serve/api.h"
#include "host/serve/connections.h"
#include "host/serve/hub.h"
#include "host/serve/serve_options.h"

// All functions run on the main thread.
class HttpServer {
  public:
    // Serves on the main loop until it is destroyed. Throws std::runtime_error. The hub outlives
    // it.
    HttpServer(Hub& hub, const ServeOptions& options, const Access& access);
    // Sends all clients away.
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    // Returns the page's URL, such as "http://127.0.0.1:8080/".
    std::string url() const { return url_; }

  private:
    void guard(const Passwords& passwords);
    void prepare(SoupServerMessage* message);
    void onHeaders(SoupServerMessage* message);

    const std::optional<Passwords> passwords_;
    const ObjectPointer<SoupServer> server_;
    const Connections connections_;
    Api api_;
    std::string url_;
};
