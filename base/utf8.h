// Turns texts of unknown encoding into UTF-8.
#pragma once

#include <string>

// Takes each byte that is not part of a UTF-8 character for Latin-1 and replaces it. Valid UTF-8
// stays as it is. Any thread; throws std::bad_alloc.
void makeUtf8(std::string& text);
