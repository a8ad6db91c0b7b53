// The password file: a line "user:realm:hash" for each user, as both servers' digest authentication
// reads it. The realm is the salt of all hashes: it has a random part, chosen when the file is
// made.
#pragma once

#include <filesystem>
#include <map>
#include <string>

struct Passwords {
    std::string realm;
    std::map<std::string, std::string> hashes;  // MD5 of "user:realm:password", by user
};

// Throws std::runtime_error with one line for the user, also when everybody may read
// the file or when it has no user.
Passwords readPasswords(const std::filesystem::path& file);

// Adds or changes the user, in a file that only its owner may read, made when it is missing. The
// file is the old one or the new one at any moment. Throws std::runtime_error.
void setPassword(const std::filesystem::path& file, const std::string& user,
                 const std::string& password);
