// Which requests are let in beside the passwords: none that another site's page makes.
#pragma once

#include <libsoup/soup.h>

#include <string>

// Why a request is refused; empty when it may pass. A page of another site may lead here by a link,
// but neither read nor change anything, nor reach us by a name that it has pointed at this machine
// when there is no password that would stop it.
struct GateRefusal {
    unsigned status = 0;  // 0: let in
    std::string sentence;
};
GateRefusal checkGate(SoupServerMessage* message, bool hasPasswords, bool isPage);
