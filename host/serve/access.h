// The passwords and the certificate that both servers use.
#pragma once

#include <gio/gio.h>

#include <optional>

#include "host/serve/object_pointer.h"
#include "host/serve/passwords.h"
#include "host/serve/serve_options.h"

struct Access {
    std::optional<Passwords> passwords;          // nothing: all users of this machine may connect
    ObjectPointer<GTlsCertificate> certificate;  // null: no TLS
};

// Reads the files. Throws MisuseError when the options contradict each other or would let everybody
// of the network in, std::runtime_error when a file cannot be used.
Access readAccess(const ServeOptions& options);
