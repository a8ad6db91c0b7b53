#include "host/serve/htdigest.h"

#include <sys/random.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>

namespace {

constexpr std::string_view RealmBeginning = "tamborin-";
constexpr size_t SaltBytes = 12;
constexpr size_t MostUserBytes = 64;
constexpr size_t HashDigits = 32;
constexpr std::string_view Digits = "0123456789abcdef";

bool isHexadecimal(std::string_view text, size_t digits) {
    return text.size() == digits && text.find_first_not_of(Digits) == std::string_view::npos;
}

bool isRealm(std::string_view text) {
    return text.starts_with(RealmBeginning) &&
           isHexadecimal(text.substr(RealmBeginning.size()), 2 * SaltBytes);
}

}  // namespace

bool isGoodUser(const std::string& user) {
    return !user.empty() && user.size() <= MostUserBytes &&
           std::ranges::all_of(user, [](unsigned char byte) {
               return byte > 0x20 && byte < 0x7F && byte != ':' && byte != '"' && byte != '\\';
           });
}

std::string newRealm() {
    std::array<unsigned char, SaltBytes> salt{};
    if (getrandom(salt.data(), salt.size(), 0) != static_cast<ssize_t>(salt.size()))
        throw std::runtime_error("the system gives no random numbers");
    std::string realm(RealmBeginning);
    for (const unsigned char byte : salt) {
        realm += Digits[byte >> 4U];
        realm += Digits[byte & 15U];
    }
    return realm;
}

std::optional<Passwords> parseHtdigest(std::istream& text) {
    Passwords passwords;
    for (std::string line; std::getline(text, line);) {
        const size_t first = line.find(':');
        const size_t last = line.rfind(':');
        if (first == last)  // one colon or none
            return std::nullopt;
        const std::string user = line.substr(0, first);
        const std::string realm = line.substr(first + 1, last - first - 1);
        const std::string hash = line.substr(last + 1);
        if (!isGoodUser(user) || !isRealm(realm) || !isHexadecimal(hash, HashDigits) ||
            (!passwords.realm.empty() && passwords.realm != realm))
            return std::nullopt;
        passwords.realm = realm;
        passwords.hashes[user] = hash;
    }
    return passwords;
}

std::string htdigestOf(const Passwords& passwords) {
    std::string text;
    for (const auto& [user, hash] : passwords.hashes)
        text.append(user).append(":").append(passwords.realm).append(":").append(hash) += '\n';
    return text;
}
