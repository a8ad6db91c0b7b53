// Who may come in, and by which certificate the servers are known.
#pragma once

#include <gio/gio.h>

#include <memory>
#include <optional>

#include "host/serve/passwords.h"
#include "host/serve/serve_options.h"

struct ObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename Object>
using ObjectPointer = std::unique_ptr<Object, ObjectUnref>;

struct Access {
    std::optional<Passwords> passwords;          // nothing: everybody, on this machine only
    ObjectPointer<GTlsCertificate> certificate;  // null: without TLS
};

// Throws MisuseError when the options would let strangers in, std::runtime_error when a file cannot
// be used.
Access readAccess(const ServeOptions& options);
