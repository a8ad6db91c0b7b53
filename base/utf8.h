// Turns texts of unknown encoding into UTF-8.
#pragma once

#include <string>

// Treats each byte that is not part of a UTF-8 character as Latin-1 and replaces it by the same
// character in UTF-8. Valid UTF-8 stays unchanged. Any thread; throws std::bad_alloc.
void makeUtf8(std::string& text);
