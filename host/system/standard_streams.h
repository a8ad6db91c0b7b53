// Keeps the numbers 0, 1 and 2 for the standard streams.
#pragma once

#include <vector>

// If descriptor 0, 1 or 2 is closed at the start, the next file or socket that is opened would get
// its number, and text for stdout or stderr would be written into it.
class StandardStreams {
  public:
    // Opens /dev/null for each closed one, in the wrong direction, so that using the stream fails.
    // Called before anything else is opened.
    StandardStreams();
    // Closes those that the constructor has opened.
    ~StandardStreams();
    StandardStreams(const StandardStreams&) = delete;
    StandardStreams& operator=(const StandardStreams&) = delete;

  private:
    std::vector<int> opened_;
};
