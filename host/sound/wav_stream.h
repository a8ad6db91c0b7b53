// Sound as a WAV file that is read while it is written, and has no known length.
#pragma once

#include <string>

// What comes before the mu-law codes.
std::string wavStreamHeader();
