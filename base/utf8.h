// Texts of unknown encoding, made UTF-8.
#pragma once

#include <string>

// Bytes that are no UTF-8 are taken for Latin-1, so that every text becomes valid UTF-8 and one
// that is stays as it is. Any thread; throws std::bad_alloc.
void makeUtf8(std::string& text);
