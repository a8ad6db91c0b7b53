// Keeps the numbers 0, 1 and 2 for the standard streams.
#pragma once

#include <vector>

// Where descriptor 0, 1 or 2 is closed, the next file or socket that is opened would get its
// number, and what is written to the stream would land there.
class StandardStreams {
  public:
    // Fills each gap with /dev/null, opened so that using it as meant fails. Before anything else
    // is opened.
    StandardStreams();
    // Closes what it has opened.
    ~StandardStreams();
    StandardStreams(const StandardStreams&) = delete;
    StandardStreams& operator=(const StandardStreams&) = delete;

  private:
    std::vector<int> opened_;
};
