#include "host/serve/passwords.h"

#include <glib.h>
#include <glib/gstdio.h>
#include <sys/stat.h>

#include <cerrno>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace {

constexpr size_t LeastPasswordBytes = 8;
constexpr size_t MostPasswordBytes = 256;
constexpr int OwnerOnly = 0600;

using Text = std::unique_ptr<gchar, decltype(&g_free)>;

[[noreturn]] void refuse(const std::filesystem::path& file, const std::string& why) {
    throw std::runtime_error("the password file " + file.string() + " " + why);
}

std::string hashOf(const std::string& user, const std::string& realm, const std::string& password) {
    const std::string text = user + ":" + realm + ":" + password;
    const Text hash(g_compute_checksum_for_string(G_CHECKSUM_MD5, text.c_str(),
                                                  static_cast<gssize>(text.size())),
                    g_free);
    return hash.get();
}

Passwords parse(const std::filesystem::path& file) {
    std::ifstream stream(file);
    if (!stream)
        refuse(file, "cannot be read");
    const std::optional<Passwords> passwords = parseHtdigest(stream);
    if (!passwords)
        refuse(file, "has a line that 'tamborin-host password' did not write");
    return *passwords;
}

}  // namespace

Passwords readPasswords(const std::filesystem::path& file) {
    struct stat status {};
    if (stat(file.c_str(), &status) != 0)
        refuse(file, "cannot be read: " + std::generic_category().message(errno));
    // The group may read it, because systemd gives its credentials to a service by an access list,
    // which shows as the group's permission.
    if ((status.st_mode & (S_IWGRP | S_IRWXO)) != 0)
        refuse(file, "may be used by others than its owner; chmod 600 it");
    Passwords passwords = parse(file);
    if (passwords.hashes.empty())
        refuse(file, "has no user; add one with 'tamborin-host password'");
    return passwords;
}

void setPassword(const std::filesystem::path& file, const std::string& user,
                 const std::string& password) {
    if (!isGoodUser(user))
        throw std::runtime_error(
            "a user's name has 1 to 64 characters of ASCII, without spaces, "
            "colons, quotation marks and backslashes");
    if (password.size() < LeastPasswordBytes || password.size() > MostPasswordBytes)
        throw std::runtime_error("a password has 8 to 256 bytes");
    std::error_code error;
    Passwords passwords = std::filesystem::exists(file, error) ? parse(file) : Passwords{};
    if (passwords.realm.empty())
        passwords.realm = newRealm();
    passwords.hashes[user] = hashOf(user, passwords.realm, password);
    const std::string text = htdigestOf(passwords);
    GError* failure = nullptr;
    if (g_file_set_contents_full(file.c_str(), text.c_str(), static_cast<gssize>(text.size()),
                                 static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT |
                                                                    G_FILE_SET_CONTENTS_DURABLE),
                                 OwnerOnly, &failure) == FALSE) {
        const std::string why = failure->message;
        g_error_free(failure);
        throw std::runtime_error(why);
    }
}
