#include "host/serve/http_gate.h"

#include <gio/gio.h>

#include <algorithm>
#include <cctype>
#include <string_view>

#include "host/serve/access.h"

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

// Returns the host of "name:port" or "[::1]:port"; the port may be missing.
std::string nameOf(const std::string& authority) {
    if (authority.starts_with('['))
        return authority.substr(1, authority.find(']') - 1);
    return authority.substr(0, authority.find(':'));
}

bool isThisMachine(const std::string& name) {
    if (name == "localhost" || name.ends_with(".localhost"))
        return true;
    const ObjectPointer<GInetAddress> address(g_inet_address_new_from_string(name.c_str()));
    return address != nullptr && g_inet_address_get_is_loopback(address.get()) != FALSE;
}

// Returns true when a browser says that another site's page made the request. Other programs send
// neither header.
bool isOfAnotherSite(SoupServerMessage* message, const std::string& host) {
    const std::string site = header(message, "Sec-Fetch-Site");
    if (!site.empty() && site != "same-origin" && site != "none")
        return true;
    const std::string origin = header(message, "Origin");
    return !origin.empty() && origin != "http://" + host && origin != "https://" + host;
}

}  // namespace

GateRefusal checkGate(SoupServerMessage* message, bool hasPasswords, bool isPage) {
    const std::string host = header(message, "Host");
    if (host.empty())
        return {SOUP_STATUS_BAD_REQUEST, "The request has no Host header."};
    if (!hasPasswords && !isThisMachine(nameOf(host)))
        return {SOUP_STATUS_FORBIDDEN,
                "Without passwords this server answers only as localhost or its loopback address."};
    if (!isPage && isOfAnotherSite(message, host))
        return {SOUP_STATUS_FORBIDDEN, "A page of another site may not do this."};
    return {};
}
