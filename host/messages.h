// Where the tool speaks to its user, apart from what the audio libraries write to stderr.
#pragma once

#include <cstdio>

// The user's stderr. Any thread.
FILE* userMessages();

// Sends what anything else writes to stderr nowhere. Call once, before any thread is started.
void silenceLibraries();
