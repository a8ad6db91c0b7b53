# Makes a source of the page's files: cmake -D OUT=FILE -D FOLDER=FOLDER -P embed.cmake
set(entries "")
foreach(entry "/|index.html|text/html; charset=utf-8" "/page.css|page.css|text/css; charset=utf-8"
        "/page.js|page.js|text/javascript; charset=utf-8"
        "/sound.js|sound.js|text/javascript; charset=utf-8"
        "/microphone.js|microphone.js|text/javascript; charset=utf-8"
        "/icon.svg|icon.svg|image/svg+xml")
    string(REPLACE "|" ";" fields "${entry}")
    list(GET fields 0 path)
    list(GET fields 1 name)
    # A type may have a semicolon, which would split it.
    string(REGEX REPLACE "^[^|]*[|][^|]*[|]" "" type "${entry}")
    file(READ ${FOLDER}/${name} content)
    string(APPEND entries "    PageFile{\"${path}\", \"${type}\", R\"~~~(${content})~~~\"},\n")
endforeach()
file(WRITE ${OUT} "#include \"host/serve/page.h\"

#include <array>

namespace {

constexpr std::array Files{
${entries}};

}  // namespace

const PageFile* findPageFile(std::string_view path) {
    for (const PageFile& file : Files)
        if (file.path == path)
            return &file;
    return nullptr;
}
")
