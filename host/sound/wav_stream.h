// A WAV file of unknown length, which is read while it is written, as from a pipe.
#pragma once

#include <string>

// Returns the bytes that come before the mu-law codes.
std::string wavStreamHeader();
