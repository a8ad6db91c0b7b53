#include "host/system/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

StandardStreams::StandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) < 0)
            opened_.push_back(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
}

StandardStreams::~StandardStreams() {
    for (const int stream : opened_)
        close(stream);
}
