// The password file: a line "user:realm:hash" for each user, the format of digest authentication,
// which both servers use. The realm is the salt of all hashes. Its random part is chosen when the
// file is made.
#pragma once

#include <filesystem>
#include <map>
#include <string>

struct Passwords {
    std::string realm;
    std::map<std::string, std::string> hashes;  // MD5 of "user:realm:password", by user
};

// Reads the file. Throws std::runtime_error with one line for the user, also when its group may
// write it, when others may use it, or when it has no user.
Passwords readPasswords(const std::filesystem::path& file);

// Adds the user, or changes the password, in a file that only its owner may read. Makes the file
// when it is missing. A crash leaves the old file or the new one, whole. Throws std::runtime_error.
void setPassword(const std::filesystem::path& file, const std::string& user,
                 const std::string& password);
