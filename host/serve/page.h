// The files of the page, which are part of the program.
#pragma once

#include <string_view>

struct PageFile {
    std::string_view path;
    const char* type;
    std::string_view content;
};

// Returns the page's file at this path, or null.
const PageFile* findPageFile(std::string_view path);
