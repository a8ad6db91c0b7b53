#include "host/serve/api.h"

#include <nlohmann/json.hpp>

#include "host/serve/change_request.h"
#include "host/serve/main_loop.h"
#include "host/serve/metrics.h"
#include "host/serve/page.h"
#include "host/serve/state_json.h"
#include "host/system/steady_time.h"

namespace {

constexpr goffset MostChangeBytes = 4096;
constexpr guint ModulePatience = 10;  // seconds that the module has to apply a change

std::string named(int number) { return "channel " + std::to_string(number); }

// Checks the headers of a change, and lets libsoup collect its body, which is small.
void expectChange(SoupServerMessage* message) {
    SoupMessageHeaders* const headers = soup_server_message_get_request_headers(message);
    const char* const type = soup_message_headers_get_content_type(headers, nullptr);
    if (type == nullptr || std::string_view(type) != "application/json")
        return refuse(message, SOUP_STATUS_UNSUPPORTED_MEDIA_TYPE,
                      "The body must be application/json.");
    if (soup_message_headers_get_encoding(headers) != SOUP_ENCODING_CONTENT_LENGTH)
        return refuse(message, SOUP_STATUS_LENGTH_REQUIRED,
                      "The request must have a Content-Length.");
    const goffset length = soup_message_headers_get_content_length(headers);
    if (length < 0 || length > MostChangeBytes)  // 2^63 and more become negative
        return refuse(message, SOUP_STATUS_REQUEST_ENTITY_TOO_LARGE,
                      "The body is longer than 4096 bytes.");
    soup_message_body_set_accumulate(soup_server_message_get_request_body(message), TRUE);
}

}  // namespace

Api::Api(Hub& hub, std::function<size_t()> connections)
    : hub_(hub),
      connections_(std::move(connections)),
      audio_(hub),
      events_(hub),
      uploads_(hub),
      sockets_(hub),
      self_(std::make_shared<Api*>(this)) {}

Api::~Api() { *self_ = nullptr; }

void Api::onHeaders(SoupServerMessage* message, const char* path) {
    const auto route = findRoute(path);
    if (!route)
        return refuse(message, SOUP_STATUS_NOT_FOUND, "There is nothing at this path.");
    if (!isAllowed(route->resource, soup_server_message_get_method(message))) {
        const std::string methods = allowedMethods(route->resource);
        soup_message_headers_replace(soup_server_message_get_response_headers(message), "Allow",
                                     methods.c_str());
        return refuse(message, SOUP_STATUS_METHOD_NOT_ALLOWED, "This path takes " + methods + ".");
    }
    if (route->resource == Resource::TalkUpload)
        uploads_.begin(message, route->number);
    else if (soup_server_message_get_method(message) == std::string_view("PUT"))
        expectChange(message);
}

void Api::onRequest(SoupServerMessage* message, const char* path) {
    const auto route = findRoute(path);
    if (!route)
        return;
    switch (route->resource) {
        case Resource::PageFile: {
            const PageFile& file = *findPageFile(path);
            return answer(message, SOUP_STATUS_OK, file.type, file.content);
        }
        case Resource::Description:
            soup_message_headers_replace(soup_server_message_get_response_headers(message),
                                         "Content-Disposition",
                                         "attachment; filename=\"description.xml\"");
            return answer(message, SOUP_STATUS_OK, "application/xml", hub_.description());
        case Resource::Metrics:
            return answer(message, SOUP_STATUS_OK, MetricsType,
                          metricsText(hub_.state(), connections_()));
        case Resource::Channels:
            return answerJson(message, SOUP_STATUS_OK,
                              stateJson(hub_.state(), clockMilliseconds()));
        case Resource::Channel:
            return soup_server_message_get_method(message) == std::string_view("PUT")
                       ? change(message, route->number)
                       : tellChannel(message, SOUP_STATUS_OK, route->number);
        case Resource::Events:
            return sendEvents(message);
        case Resource::WavAudio:
            return listen(message, route->number, AudioFraming::Wav);
        case Resource::TimedAudio:
            return listen(message, route->number, AudioFraming::Timed);
        case Resource::TalkUpload:
            return uploads_.end(message);
        case Resource::TalkSocket:
            // libsoup continues with the handshake if the request asks for a WebSocket.
            if (soup_message_headers_header_equals(soup_server_message_get_request_headers(message),
                                                   "Upgrade", "websocket") == FALSE)
                answerError(message, SOUP_STATUS_BAD_REQUEST, "This path takes a WebSocket.");
    }
}

void Api::onTalkSocket(SoupServerMessage* message, const char* path,
                       SoupWebsocketConnection* socket) {
    const auto route = findRoute(path);
    if (route && route->resource == Resource::TalkSocket)
        sockets_.add(socket, route->number, Connections::of(message));
}

void Api::listen(SoupServerMessage* message, int number, AudioFraming framing) {
    const HubState state = hub_.state();
    const ChannelState* const channel = findChannel(state, number);
    if (channel == nullptr || channel->channel.isOutput)
        return answerError(message, SOUP_STATUS_NOT_FOUND,
                           "There is no input " + std::to_string(number) + ".");
    if (!channel->channel.hasDevice)
        return answerError(message, SOUP_STATUS_SERVICE_UNAVAILABLE,
                           "Input " + std::to_string(number) + " has no device.");
    if (channel->isKeptOff)
        return answerError(message, SOUP_STATUS_CONFLICT,
                           "Input " + std::to_string(number) + " is disabled; enable it first.");
    if (audio_.clients() >= AudioStreams::MostClients)
        return answerError(message, SOUP_STATUS_SERVICE_UNAVAILABLE, "Too many clients listen.");
    takeOver(message, framing == AudioFraming::Wav ? "audio/wav" : "application/octet-stream",
             AudioStreams::MostWaiting,
             [self = self_, number, framing](const std::shared_ptr<ClientStream>& client) {
                 if (*self != nullptr)
                     (*self)->audio_.add(number, framing, client);
             });
}

void Api::sendEvents(SoupServerMessage* message) {
    if (events_.clients() >= Events::MostClients)
        return answerError(message, SOUP_STATUS_SERVICE_UNAVAILABLE,
                           "Too many clients get events.");
    takeOver(message, "text/event-stream", Events::MostWaiting,
             [self = self_](const std::shared_ptr<ClientStream>& client) {
                 if (*self != nullptr)
                     (*self)->events_.add(client);
             });
}

void Api::tellChannel(SoupServerMessage* message, unsigned status, int number) {
    const HubState state = hub_.state();
    const ChannelState* const channel = findChannel(state, number);
    if (channel == nullptr)
        return answerError(message, SOUP_STATUS_NOT_FOUND, "There is no " + named(number) + ".");
    answerJson(message, status, channelJson(*channel, clockMilliseconds()));
}

void Api::change(SoupServerMessage* message, int number) {
    ChannelChange change;
    try {
        const SoupMessageBody* const body = soup_server_message_get_request_body(message);
        change = parseChange(body->data == nullptr
                                 ? std::string_view()
                                 : std::string_view(body->data, static_cast<size_t>(body->length)));
    } catch (const ChangeError& error) {
        return answerError(message, SOUP_STATUS_BAD_REQUEST, error.what());
    }
    const uint64_t key = ++lastChange_;
    changes_[key] = {number, std::make_unique<PausedRequest>(message)};
    const auto settle = [self = self_, key](bool isApplied) {
        if (*self != nullptr)
            (*self)->answerChange(key, isApplied);
    };
    const ChangeAnswer asked = hub_.change(number, change, [settle](bool isApplied) {
        post([settle, isApplied] { settle(isApplied); });
    });
    if (asked == ChangeAnswer::Asked) {
        after(ModulePatience, [settle] { settle(false); });
        return;
    }
    changes_.erase(key);
    if (asked == ChangeAnswer::NoSuchChannel)
        answerError(message, SOUP_STATUS_NOT_FOUND, "There is no " + named(number) + ".");
    else if (asked == ChangeAnswer::BadName)
        answerError(message, SOUP_STATUS_BAD_REQUEST,
                    "A name has 1 to 128 bytes of UTF-8, without control characters.");
    else
        answerError(message, SOUP_STATUS_SERVICE_UNAVAILABLE, "The module accepts no change now.");
}

void Api::answerChange(uint64_t key, bool isApplied) {
    const auto found = changes_.find(key);
    if (found == changes_.end())
        return;
    const Change change = std::move(found->second);
    changes_.erase(found);
    SoupServerMessage* const message = change.request->message();
    if (message == nullptr)
        return;
    if (isApplied)
        tellChannel(message, SOUP_STATUS_OK, change.number);
    else
        answerError(message, SOUP_STATUS_SERVICE_UNAVAILABLE,
                    "The module has not answered; the change may come later.");
}
