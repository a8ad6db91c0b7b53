#include "host/system/locale.h"

#include <langinfo.h>

#include <clocale>
#include <string_view>

void chooseCharacters() {
    std::setlocale(LC_CTYPE, "");
    if (std::string_view(nl_langinfo(CODESET)) == "ANSI_X3.4-1968")
        std::setlocale(LC_CTYPE, "C.UTF-8");
}
