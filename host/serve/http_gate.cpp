#include "host/serve/http_gate.h"

#include <gio/gio.h>

#include <algorithm>
#include <cctype>
#include <string_view>

#include "host/serve/object_pointer.h"

namespace {

std::string lower(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

std::string header(SoupServerMessage* message, const char* name) {
    const char* const value =
        soup_message_headers_get_one(soup_server_message_get_request_headers(message), name);
    return value == nullptr ? "" : lower(value);
}

// Returns the name in "name:port" or "[::1]:port", whose port may be missing. Returns an empty text
// for anything else, such as "localhost:x@other.example".
std::string nameOf(std::string_view authority) {
    const bool isBracketed = authority.starts_with('[');
    const size_t end =
        isBracketed ? authority.find(']') : std::min(authority.find(':'), authority.size());
    if (end == std::string_view::npos ||
        authority.find_first_of("/?#@\\") != std::string_view::npos)
        return "";
    const std::string_view port = authority.substr(isBracketed ? end + 1 : end);
    if (!port.empty() &&
        (port[0] != ':' || port.find_first_not_of("0123456789", 1) != std::string_view::npos))
        return "";
    return std::string(isBracketed ? authority.substr(1, end - 1) : authority.substr(0, end));
}

bool isThisMachine(const std::string& name) {
    if (name == "localhost" || name.ends_with(".localhost"))
        return true;
    const ObjectPointer<GInetAddress> address(g_inet_address_new_from_string(name.c_str()));
    return address != nullptr && g_inet_address_get_is_loopback(address.get()) != FALSE;
}

// Returns true when a browser says that another site's page made the request. Other programs send
// neither header.
bool isOfAnotherSite(const RequestOrigin& request) {
    if (!request.site.empty() && request.site != "same-origin" && request.site != "none")
        return true;
    return !request.origin.empty() && request.origin != "http://" + request.host &&
           request.origin != "https://" + request.host;
}

}  // namespace

GateRefusal checkOrigin(const RequestOrigin& request, bool hasPasswords, bool isPage) {
    if (request.host.empty())
        return {SOUP_STATUS_BAD_REQUEST, "The request has no Host header."};
    if (!hasPasswords && !isThisMachine(nameOf(request.host)))
        return {SOUP_STATUS_FORBIDDEN,
                "Without passwords this server answers only as localhost or its loopback address."};
    if (!isPage && isOfAnotherSite(request))
        return {SOUP_STATUS_FORBIDDEN, "A page of another site may not do this."};
    return {};
}

GateRefusal checkGate(SoupServerMessage* message, bool hasPasswords, bool isPage) {
    return checkOrigin(
        {header(message, "Host"), header(message, "Sec-Fetch-Site"), header(message, "Origin")},
        hasPasswords, isPage);
}
