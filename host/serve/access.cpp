#include "host/serve/access.h"

namespace {

bool isLoopback(const std::string& address) {
    const ObjectPointer<GInetAddress> parsed(g_inet_address_new_from_string(address.c_str()));
    if (parsed == nullptr)
        throw MisuseError("--listen '" + address + "' is no numeric address, such as 0.0.0.0");
    return g_inet_address_get_is_loopback(parsed.get()) != FALSE;
}

ObjectPointer<GTlsCertificate> readCertificate(const ServeOptions& options) {
    GError* error = nullptr;
    ObjectPointer<GTlsCertificate> certificate(
        g_tls_certificate_new_from_files(options.certificate.c_str(), options.key.c_str(), &error));
    if (certificate == nullptr) {
        const std::string why = error->message;
        g_error_free(error);
        throw std::runtime_error("the certificate " + options.certificate.string() +
                                 " with the key " + options.key.string() +
                                 " cannot be used: " + why);
    }
    return certificate;
}

}  // namespace

Access readAccess(const ServeOptions& options) {
    if (!isLoopback(options.listenAddress) && options.passwords.empty())
        throw MisuseError("listening on " + options.listenAddress +
                          " would let everybody in: give --passwords FILE, which 'tamborin-host "
                          "password' makes");
    if (options.certificate.empty() != options.key.empty())
        throw MisuseError("--certificate and --key must be given together");
    Access access;
    if (!options.passwords.empty())
        access.passwords = readPasswords(options.passwords);
    if (!options.certificate.empty())
        access.certificate = readCertificate(options);
    return access;
}
