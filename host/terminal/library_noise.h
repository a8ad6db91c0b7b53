// Keeps what the audio libraries write to stderr from the user.
#pragma once

#include <cstdio>

// The libraries write pages while they look for devices, and C offers no other way to stop them
// than to turn descriptor 2 away. One at a time, made before any thread is started.
class LibraryNoise {
  public:
    // Silences the libraries, unless descriptors are short. When one of them ends the process, the
    // user is told.
    LibraryNoise();
    // Descriptor 2 is the user's stderr again.
    ~LibraryNoise();
    LibraryNoise(const LibraryNoise&) = delete;
    LibraryNoise& operator=(const LibraryNoise&) = delete;

    // The user's stderr, until this ends.
    FILE* messages() const { return messages_ != nullptr ? messages_ : stderr; }

  private:
    FILE* messages_ = nullptr;
    void (*abortBefore_)(int) = nullptr;  // what SIGABRT did
};
