// A password from the user.
#pragma once

#include <string>

// Asks twice on a terminal, which does not show it; else reads the first line of stdin. Throws
// std::runtime_error.
std::string askPassword(const std::string& user);
