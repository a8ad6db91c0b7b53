// The text of the password file: a line "user:realm:hash" for each user, the format of digest
// authentication, which both servers use. The realm is the salt of all hashes. Its random part is
// chosen when the file is made.
#pragma once

#include <istream>
#include <map>
#include <optional>
#include <string>

struct Passwords {
    std::string realm;
    std::map<std::string, std::string> hashes;  // MD5 of "user:realm:password", by user
};

// Returns true for 1 to 64 characters of ASCII without spaces, colons, quotation marks and
// backslashes. In headers quotation marks surround the name, in the file a colon follows it.
bool isGoodUser(const std::string& user);

// Returns the realm of a new file. Throws std::runtime_error when the system gives no random
// numbers.
std::string newRealm();

// Returns nothing when `text` has a line that `htdigestOf` would not write, or two realms.
std::optional<Passwords> parseHtdigest(std::istream& text);
std::string htdigestOf(const Passwords& passwords);
