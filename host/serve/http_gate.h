// Refuses requests that a page of another site makes in a user's browser, whatever the password.
#pragma once

#include <libsoup/soup.h>

#include <string>

// What the headers of a request tell of its origin, in lower case.
struct RequestOrigin {
    std::string host;    // Host
    std::string site;    // Sec-Fetch-Site
    std::string origin;  // Origin
};

// Why a request is refused. Another site may link to the page, but its pages may not read or change
// anything. Without passwords the request must also name this machine as its host: else another
// site could point a name of its own at this machine, and the browser would take us for that site.
struct GateRefusal {
    unsigned status = 0;  // 0: let in
    std::string sentence;
};
GateRefusal checkOrigin(const RequestOrigin& request, bool hasPasswords, bool isPage);
// The same, with the headers of the message.
GateRefusal checkGate(SoupServerMessage* message, bool hasPasswords, bool isPage);
