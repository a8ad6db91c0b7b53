#include "host/terminal/end_process.h"

#include <cstdlib>

void endProcess(Console& console, const std::string& line) {
    console.error(line);
    console.settle();
    std::_Exit(EXIT_FAILURE);
}
