// The password file (host/serve/htdigest.h).
#pragma once

#include <filesystem>
#include <string>

#include "host/serve/htdigest.h"

// Reads the file. Throws std::runtime_error with one line for the user, also when its group may
// write it, when others may use it, or when it has no user.
Passwords readPasswords(const std::filesystem::path& file);

// Adds the user, or changes the password, in a file that only its owner may read. Makes the file
// when it is missing. A crash leaves the old file or the new one, whole. Throws std::runtime_error.
void setPassword(const std::filesystem::path& file, const std::string& user,
                 const std::string& password);
