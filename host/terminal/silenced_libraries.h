// Hides from the user what the audio libraries write to stderr.
#pragma once

#include <cstdio>

// The libraries write pages of text while they look for devices. The only way to silence them all
// is to redirect descriptor 2. At most one object, made before any thread is started.
class SilencedLibraries {
  public:
    // Redirects descriptor 2 to /dev/null, unless no descriptor is free. When a library then aborts
    // the process, the user is told.
    SilencedLibraries();
    // Makes descriptor 2 the user's stderr again.
    ~SilencedLibraries();
    SilencedLibraries(const SilencedLibraries&) = delete;
    SilencedLibraries& operator=(const SilencedLibraries&) = delete;

    // Returns the user's stderr, valid while this object lives.
    FILE* messages() const { return messages_ != nullptr ? messages_ : stderr; }

  private:
    FILE* messages_ = nullptr;
    void (*previousAbort_)(int) = nullptr;  // the previous handler of SIGABRT
};
