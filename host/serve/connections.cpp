#include "host/serve/connections.h"

#include <sys/socket.h>

#include <algorithm>
#include <stdexcept>

namespace {

using Clock = std::chrono::steady_clock;

constexpr guint LookInterval = 1;  // seconds
constexpr int Backlog = 128;       // connections that the kernel accepts before we do
constexpr int SendBufferBytes = 32 * 1024;
constexpr const char* DataName = "tamborin-connection";

template <typename Object>
ObjectPointer<Object> shared(Object* object) {
    return ObjectPointer<Object>(object == nullptr ? nullptr
                                                   : static_cast<Object*>(g_object_ref(object)));
}

constexpr std::chrono::seconds HandshakeTime{5};  // from the client's first bytes

// A client on its way to the server. Without TLS only the last three are set.
struct Handshake {
    std::shared_ptr<Connection> connection;
    ObjectPointer<GSocketConnection> accepted;
    ObjectPointer<GTlsCertificate> certificate;
    ObjectPointer<SoupServer> server;
    ObjectPointer<GSocketAddress> local;
    ObjectPointer<GSocketAddress> remote;
};

void serve(GIOStream* stream, const Handshake& client) {
    soup_server_accept_iostream(client.server.get(), stream, client.local.get(),
                                client.remote.get(), nullptr);
}

void onHandshake(GObject* stream, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<Handshake> client(static_cast<Handshake*>(data));
    const ObjectPointer<GIOStream> owned(G_IO_STREAM(stream));
    if (g_tls_connection_handshake_finish(G_TLS_CONNECTION(stream), result, nullptr) != FALSE)
        serve(owned.get(), *client);
}

// Begins the handshake, which occupies one of GIO's few threads until it ends. So it may begin only
// when the client has sent something.
gboolean onFirstBytes(GSocket* /*socket*/, GIOCondition /*condition*/, gpointer data) {
    auto& client = *static_cast<std::unique_ptr<Handshake>*>(data);
    client->connection->allow(HandshakeTime);
    GIOStream* secured = g_tls_server_connection_new(G_IO_STREAM(client->accepted.get()),
                                                     client->certificate.get(), nullptr);
    client->accepted.reset();
    if (secured != nullptr)
        g_tls_connection_handshake_async(G_TLS_CONNECTION(secured), G_PRIORITY_DEFAULT, nullptr,
                                         onHandshake, client.release());
    return G_SOURCE_REMOVE;
}

void awaitFirstBytes(std::unique_ptr<Handshake> client) {
    GSocket* const socket = g_socket_connection_get_socket(client->accepted.get());
    GSource* const source = g_socket_create_source(socket, G_IO_IN, nullptr);
    using Held = std::unique_ptr<Handshake>;
    g_source_set_callback(
        source, G_SOURCE_FUNC(onFirstBytes), std::make_unique<Held>(std::move(client)).release(),
        [](gpointer data) { const std::unique_ptr<Held> owned(static_cast<Held*>(data)); });
    g_source_attach(source, nullptr);
    g_source_unref(source);
}

}  // namespace

Connection::Connection(GSocket* socket) : socket_(shared(socket)) {
    allow(Connections::RequestTime);
}

void Connection::allow(std::chrono::milliseconds time) { deadline_ = Clock::now() + time; }

void Connection::allowForEver() { deadline_ = Clock::time_point::max(); }

bool Connection::isLate() const { return Clock::now() > deadline_; }

void Connection::drop() {
    isDropped_ = true;
    g_socket_shutdown(socket_.get(), TRUE, TRUE, nullptr);
}

void Connection::endSending() { g_socket_shutdown(socket_.get(), FALSE, TRUE, nullptr); }

void Connection::keepSendBufferSmall() {
    g_socket_set_option(socket_.get(), SOL_SOCKET, SO_SNDBUF, SendBufferBytes, nullptr);
}

Connections::Connections(SoupServer* server, const Access& access, const std::string& address,
                         uint16_t port)
    : server_(server),
      certificate_(shared(access.certificate.get())),
      service_(g_socket_service_new()) {
    const ObjectPointer<GSocketAddress> wanted(
        g_inet_socket_address_new_from_string(address.c_str(), port));
    GSocketAddress* got = nullptr;
    g_socket_listener_set_backlog(G_SOCKET_LISTENER(service_.get()), Backlog);
    GError* error = nullptr;
    if (wanted == nullptr ||
        g_socket_listener_add_address(G_SOCKET_LISTENER(service_.get()), wanted.get(),
                                      G_SOCKET_TYPE_STREAM, G_SOCKET_PROTOCOL_TCP, nullptr, &got,
                                      &error) == FALSE) {
        const std::string why = error == nullptr ? "no numeric address" : error->message;
        g_clear_error(&error);
        throw std::runtime_error("cannot listen for HTTP on " + address + " port " +
                                 std::to_string(port) + ": " + why);
    }
    const ObjectPointer<GSocketAddress> effective(got);
    port_ = g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(got));
    g_signal_connect(
        service_.get(), "incoming",
        G_CALLBACK(+[](GSocketService*, GSocketConnection* accepted, GObject*, gpointer self) {
            static_cast<Connections*>(self)->accept(accepted);
            return TRUE;
        }),
        this);
    timer_ = g_timeout_add_seconds(
        LookInterval,
        [](gpointer self) -> gboolean {
            static_cast<Connections*>(self)->dropLate();
            return G_SOURCE_CONTINUE;
        },
        this);
}

Connections::~Connections() {
    g_source_remove(timer_);
    g_signal_handlers_disconnect_by_data(service_.get(), this);
    g_socket_service_stop(service_.get());
    g_socket_listener_close(G_SOCKET_LISTENER(service_.get()));
}

void Connections::accept(GSocketConnection* accepted) {
    if (!makeRoom())
        return;  // the caller's reference is the last, so the connection is closed
    const auto client = std::make_shared<Connection>(g_socket_connection_get_socket(accepted));
    auto handshake = std::make_unique<Handshake>();
    handshake->server = shared(server_);
    handshake->local.reset(g_socket_connection_get_local_address(accepted, nullptr));
    handshake->remote.reset(g_socket_connection_get_remote_address(accepted, nullptr));
    if (handshake->local == nullptr || handshake->remote == nullptr)
        return;  // it has left
    connections_.push_back(client);
    g_object_set_data_full(G_OBJECT(handshake->remote.get()), DataName,
                           std::make_unique<std::shared_ptr<Connection>>(client).release(),
                           [](gpointer data) {
                               const std::unique_ptr<std::shared_ptr<Connection>> owned(
                                   static_cast<std::shared_ptr<Connection>*>(data));
                           });
    if (certificate_ == nullptr)
        return serve(G_IO_STREAM(accepted), *handshake);
    handshake->connection = client;
    handshake->accepted = shared(accepted);
    handshake->certificate = shared(certificate_.get());
    awaitFirstBytes(std::move(handshake));
}

size_t Connections::count() const {
    return static_cast<size_t>(std::ranges::count_if(connections_, [](const auto& connection) {
        const auto client = connection.lock();
        return client != nullptr && !client->isDropped();
    }));
}

// Drops an idle connection when there are too many. Returns false when none is idle.
bool Connections::makeRoom() {
    std::erase_if(connections_, [](const auto& connection) { return connection.expired(); });
    if (count() < Most)
        return true;
    return std::ranges::any_of(connections_, [](const auto& connection) {
        const auto client = connection.lock();
        if (client == nullptr || !client->isIdle() || client->isDropped())
            return false;
        client->drop();
        return true;
    });
}

void Connections::dropLate() {
    for (const auto& connection : connections_) {
        const auto client = connection.lock();
        if (client != nullptr && !client->isDropped() && client->isLate())
            client->drop();
    }
    std::erase_if(connections_, [](const auto& connection) { return connection.expired(); });
}

std::shared_ptr<Connection> Connections::of(SoupServerMessage* message) {
    GSocketAddress* const remote = soup_server_message_get_remote_address(message);
    void* const data = remote == nullptr ? nullptr : g_object_get_data(G_OBJECT(remote), DataName);
    return data == nullptr ? nullptr : *static_cast<std::shared_ptr<Connection>*>(data);
}

void Connections::forget(SoupServerMessage* message) {
    if (GSocketAddress* const remote = soup_server_message_get_remote_address(message))
        g_object_set_data(G_OBJECT(remote), DataName, nullptr);
}
