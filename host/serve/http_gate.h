// Refuses requests that a page of another site makes in a user's browser, whatever the password.
#pragma once

#include <libsoup/soup.h>

#include <string>

// Why a request is refused. Another site may link to the page, but its pages may not read or change
// anything. Without passwords the request must also name this machine as its host: else another
// site could point a name of its own at this machine, and the browser would take us for that site.
struct GateRefusal {
    unsigned status = 0;  // 0: let in
    std::string sentence;
};
GateRefusal checkGate(SoupServerMessage* message, bool hasPasswords, bool isPage);
