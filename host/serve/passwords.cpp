#include "host/serve/passwords.h"

#include <glib.h>
#include <glib/gstdio.h>
#include <sys/random.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace {

constexpr const char* RealmBeginning = "tamborin-";
constexpr size_t SaltBytes = 12;
constexpr size_t MostNameBytes = 64;
constexpr size_t LeastPasswordBytes = 8;
constexpr size_t MostPasswordBytes = 256;
constexpr size_t HashDigits = 32;
constexpr int OwnerOnly = 0600;

using Text = std::unique_ptr<gchar, decltype(&g_free)>;

[[noreturn]] void refuse(const std::filesystem::path& file, const std::string& why) {
    throw std::runtime_error("the password file " + file.string() + " " + why);
}

std::string newRealm() {
    std::array<unsigned char, SaltBytes> salt{};
    if (getrandom(salt.data(), salt.size(), 0) != static_cast<ssize_t>(salt.size()))
        throw std::runtime_error("the system gives no random numbers");
    std::string realm = RealmBeginning;
    for (const unsigned char byte : salt) {
        constexpr std::string_view Digits = "0123456789abcdef";
        realm += Digits[byte >> 4U];
        realm += Digits[byte & 15U];
    }
    return realm;
}

std::string hashOf(const std::string& user, const std::string& realm, const std::string& password) {
    const std::string text = user + ":" + realm + ":" + password;
    const Text hash(g_compute_checksum_for_string(G_CHECKSUM_MD5, text.c_str(),
                                                  static_cast<gssize>(text.size())),
                    g_free);
    return hash.get();
}

// Refuses characters that end a name: headers have it between quotation marks, the file in front of
// a colon.
bool isGoodUser(const std::string& user) {
    return !user.empty() && user.size() <= MostNameBytes &&
           std::ranges::all_of(user, [](unsigned char byte) {
               return byte > 0x20 && byte < 0x7F && byte != ':' && byte != '"' && byte != '\\';
           });
}

bool isHash(const std::string& text) {
    return text.size() == HashDigits &&
           text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

Passwords parse(const std::filesystem::path& file) {
    std::ifstream stream(file);
    if (!stream)
        refuse(file, "cannot be read");
    Passwords passwords;
    for (std::string line; std::getline(stream, line);) {
        const size_t first = line.find(':');
        const size_t last = line.rfind(':');
        if (first == std::string::npos || first == last || !isHash(line.substr(last + 1)) ||
            !isGoodUser(line.substr(0, first)))
            refuse(file, "has a line that 'tamborin-host password' did not write");
        const std::string realm = line.substr(first + 1, last - first - 1);
        if (!realm.starts_with(RealmBeginning) ||
            (!passwords.realm.empty() && passwords.realm != realm))
            refuse(file, "has a line that 'tamborin-host password' did not write");
        passwords.realm = realm;
        passwords.hashes[line.substr(0, first)] = line.substr(last + 1);
    }
    return passwords;
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
    std::string text;
    for (const auto& [name, hash] : passwords.hashes)
        text.append(name).append(":").append(passwords.realm).append(":").append(hash) += '\n';
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
