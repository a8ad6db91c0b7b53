// Asks the user for a password.
#pragma once

#include <string>

// Asks twice on a terminal, without showing what is typed. If stdin is no terminal, reads its first
// line. Throws std::runtime_error.
std::string askPassword(const std::string& user);
