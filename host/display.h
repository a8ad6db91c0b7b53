// What a running command shows: levels while it runs, a table at its end.
#pragma once

#include <chrono>
#include <vector>

#include "host/module_host.h"
#include "host/recorder.h"

// Level lines, one per recorded channel: redrawn in place on a terminal, else one set a second.
class LevelDisplay {
  public:
    void show(const std::vector<Recording>& recordings, double seconds);

  private:
    size_t linesDrawn_ = 0;
    double lastShown_ = -1;
};

void showTable(const std::vector<Recording>& recordings);
// Answers whether every loan was returned, once.
bool showAccount(const BufferAccount& account);
