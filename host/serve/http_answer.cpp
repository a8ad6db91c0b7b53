#include "host/serve/http_answer.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "host/serve/main_loop.h"

namespace {

constexpr size_t MostRefusalBytes = 4096;
constexpr goffset MostIgnoredBytes = 65536;  // of a refused request's body

constexpr std::pair<const char*, const char*> SafetyHeaders[] = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src "
     "'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"X-Content-Type-Options", "nosniff"},
    {"X-Frame-Options", "DENY"},
    {"Referrer-Policy", "no-referrer"},
    {"Cache-Control", "no-store"},
};

// Returns the status line and the message's headers, for a connection that closes after the answer.
std::string headOf(SoupServerMessage* message, unsigned status, const char* type) {
    std::string head =
        "HTTP/1.1 " + std::to_string(status) + " " + soup_status_get_phrase(status) + "\r\n";
    SoupMessageHeaders* const headers = soup_server_message_get_response_headers(message);
    soup_message_headers_replace(headers, "Content-Type", type);
    soup_message_headers_replace(headers, "Connection", "close");
    SoupMessageHeadersIter iterator;
    soup_message_headers_iter_init(&iterator, headers);
    const char* name = nullptr;
    const char* value = nullptr;
    while (soup_message_headers_iter_next(&iterator, &name, &value) != FALSE)
        head += std::string(name) + ": " + value + "\r\n";
    return head + "\r\n";
}

// Returns true when the request's body has more than MostIgnoredBytes, or tells no length.
bool hasLongBody(SoupServerMessage* message) {
    SoupMessageHeaders* const headers = soup_server_message_get_request_headers(message);
    if (soup_message_headers_get_encoding(headers) != SOUP_ENCODING_CONTENT_LENGTH)
        return soup_message_headers_get_one(headers, "Transfer-Encoding") != nullptr;
    const goffset length = soup_message_headers_get_content_length(headers);
    return length < 0 || length > MostIgnoredBytes;
}

// Takes the connection later, from the main loop, because libsoup still uses the message now.
void steal(SoupServerMessage* message, size_t mostWaiting,
           std::function<void(const std::shared_ptr<ClientStream>&)> onTaken) {
    post([paused = std::make_shared<PausedRequest>(message), connection = Connections::of(message),
          mostWaiting, onTaken = std::move(onTaken)] {
        if (connection == nullptr || connection->isDropped())
            return;
        ObjectPointer<GIOStream> stream = paused->takeConnection();
        if (stream != nullptr)
            onTaken(std::make_shared<ClientStream>(std::move(stream), connection, mostWaiting));
    });
}

}  // namespace

void addSafetyHeaders(SoupServerMessage* message) {
    SoupMessageHeaders* const headers = soup_server_message_get_response_headers(message);
    for (const auto& [name, value] : SafetyHeaders)
        soup_message_headers_replace(headers, name, value);
}

std::string asText(const nlohmann::json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void answer(SoupServerMessage* message, unsigned status, const char* type, std::string_view body) {
    soup_server_message_set_status(message, status, nullptr);
    soup_server_message_set_response(message, type, SOUP_MEMORY_COPY, body.data(), body.size());
}

void answerJson(SoupServerMessage* message, unsigned status, const nlohmann::json& body) {
    answer(message, status, "application/json", asText(body) + "\n");
}

void answerError(SoupServerMessage* message, unsigned status, const std::string& sentence) {
    if (status == SOUP_STATUS_SERVICE_UNAVAILABLE)
        soup_message_headers_replace(soup_server_message_get_response_headers(message),
                                     "Retry-After", "5");
    answerJson(message, status, {{"error", sentence}});
}

void refuse(SoupServerMessage* message, unsigned status, const std::string& sentence) {
    // libsoup never frees what it keeps of a connection that was taken away from it. So a client
    // without a password is answered through libsoup.
    if (status == SOUP_STATUS_UNAUTHORIZED || !hasLongBody(message))
        return answerError(message, status, sentence);
    const std::string text =
        headOf(message, status, "application/json") + asText({{"error", sentence}}) + "\n";
    steal(message, MostRefusalBytes, [text](const std::shared_ptr<ClientStream>& client) {
        client->watch(nullptr);
        client->send(chunkOf(text));
        client->finish();
    });
}

void takeOver(SoupServerMessage* message, const char* type, size_t mostWaiting,
              std::function<void(const std::shared_ptr<ClientStream>&)> onTaken) {
    steal(message, mostWaiting,
          [head = headOf(message, SOUP_STATUS_OK, type),
           onTaken = std::move(onTaken)](const std::shared_ptr<ClientStream>& client) {
              client->send(chunkOf(head));
              onTaken(client);
          });
}

PausedRequest::PausedRequest(SoupServerMessage* message)
    : message_(static_cast<SoupServerMessage*>(g_object_ref(message))) {
    // A status keeps libsoup from looking for a WebSocket handshake.
    soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
    soup_server_message_pause(message);
    handler_ =
        g_signal_connect(message, "finished", G_CALLBACK(+[](SoupServerMessage*, gpointer self) {
                             static_cast<PausedRequest*>(self)->hasFinished_ = true;
                         }),
                         this);
}

ObjectPointer<GIOStream> PausedRequest::takeConnection() {
    if (std::exchange(hasFinished_, true))
        return nullptr;
    Connections::forget(message_.get());
    ObjectPointer<GIOStream> stream(soup_server_message_steal_connection(message_.get()));
    // libsoup does not tell the end of a request whose connection was taken.
    g_signal_emit_by_name(message_.get(), "finished");
    return stream;
}

PausedRequest::~PausedRequest() {
    g_signal_handler_disconnect(message_.get(), handler_);
    if (!hasFinished_)
        soup_server_message_unpause(message_.get());
}
