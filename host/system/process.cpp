#include "host/system/process.h"

#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

#include <clocale>
#include <string_view>

void occupyStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) < 0) {
            const int flags = stream == STDIN_FILENO ? O_WRONLY : O_RDONLY;
            [[maybe_unused]] const int opened = open("/dev/null", flags);
        }
}

void chooseCharacters() {
    std::setlocale(LC_CTYPE, "");
    if (std::string_view(nl_langinfo(CODESET)) == "ANSI_X3.4-1968")
        std::setlocale(LC_CTYPE, "C.UTF-8");
}
