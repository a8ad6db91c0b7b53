#include "host/serve/http_server.h"

#include "host/serve/http_answer.h"
#include "host/serve/http_gate.h"

namespace {

using namespace std::chrono_literals;

constexpr auto AnswerTime = 30s;  // for the module to answer, and for the client to read ours

char* hashOf(SoupAuthDomain* /*domain*/, SoupServerMessage* /*message*/, const char* user,
             gpointer passwords) {
    const auto& hashes = static_cast<const Passwords*>(passwords)->hashes;
    const auto found = hashes.find(user);
    return found == hashes.end() ? nullptr : g_strdup(found->second.c_str());
}

}  // namespace

HttpServer::HttpServer(Hub& hub, const ServeOptions& options, const Access& access)
    : passwords_(access.passwords),
      server_(soup_server_new(nullptr, nullptr)),
      connections_(server_.get(), access, options.listenAddress, options.httpPort),
      api_(hub, [this] { return connections_.count(); }),
      url_((access.certificate == nullptr ? "http://" : "https://") + options.addressInUrls() +
           ":" + std::to_string(connections_.port()) + "/") {
    if (passwords_)
        guard(*passwords_);
    g_signal_connect(server_.get(), "request-started",
                     G_CALLBACK(+[](SoupServer*, SoupServerMessage* message, gpointer self) {
                         static_cast<HttpServer*>(self)->prepare(message);
                     }),
                     this);
    soup_server_add_handler(
        server_.get(), "/",
        [](SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer self) {
            if (const auto connection = Connections::of(message))
                connection->allow(AnswerTime);
            static_cast<HttpServer*>(self)->api_.onRequest(message, path);
        },
        this, nullptr);
    soup_server_add_websocket_handler(
        server_.get(), "/", nullptr, nullptr,
        [](SoupServer*, SoupServerMessage* message, const char* path,
           SoupWebsocketConnection* socket, gpointer self) {
            static_cast<HttpServer*>(self)->api_.onTalkSocket(message, path, socket);
        },
        this, nullptr);
}

HttpServer::~HttpServer() {
    g_signal_handlers_disconnect_by_data(server_.get(), this);
    soup_server_remove_handler(server_.get(), "/");
    soup_server_disconnect(server_.get());
}

void HttpServer::guard(const Passwords& passwords) {
    const ObjectPointer<SoupAuthDomain> domain(
        soup_auth_domain_digest_new("realm", passwords.realm.c_str(), nullptr));
    soup_auth_domain_add_path(domain.get(), "/");
    soup_auth_domain_digest_set_auth_callback(domain.get(), hashOf,
                                              const_cast<Passwords*>(&passwords), nullptr);
    soup_server_add_auth_domain(server_.get(), domain.get());
}

// Called before anything of the request has come.
void HttpServer::prepare(SoupServerMessage* message) {
    soup_message_body_set_accumulate(soup_server_message_get_request_body(message), FALSE);
    addSafetyHeaders(message);
    const auto connection = Connections::of(message);
    if (connection == nullptr)
        return;
    connection->setIdle(true);
    connection->allow(Connections::RequestTime);
    // Connected after libsoup's own handler, which has checked the password by then. libsoup's
    // early handlers would not be called for requests without a password.
    g_signal_connect_after(message, "got-headers",
                           G_CALLBACK(+[](SoupServerMessage* known, gpointer self) {
                               static_cast<HttpServer*>(self)->onHeaders(known);
                           }),
                           this);
}

void HttpServer::onHeaders(SoupServerMessage* message) {
    SoupMessageHeaders* const asked = soup_server_message_get_request_headers(message);
    // After one request libsoup closes a connection that it did not accept itself. The header tells
    // the client so. A WebSocket's handshake has a Connection header of its own.
    if (soup_message_headers_get_list(asked, "Upgrade") == nullptr)
        soup_message_headers_replace(soup_server_message_get_response_headers(message),
                                     "Connection", "close");
    const unsigned status = soup_server_message_get_status(message);
    if (status == SOUP_STATUS_UNAUTHORIZED)
        return refuse(message, status, "A user's name and password are needed.");
    if (status != 0)
        return;
    const char* const path = g_uri_get_path(soup_server_message_get_uri(message));
    if (const auto connection = Connections::of(message))
        connection->setIdle(false);
    const GateRefusal refusal =
        checkGate(message, passwords_.has_value(), std::string_view(path) == "/");
    if (refusal.status != 0)
        return refuse(message, refusal.status, refusal.sentence);
    api_.onHeaders(message, path);
}
