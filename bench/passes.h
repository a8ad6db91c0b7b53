// Runs the worker's passes one after the other, without its pauses.
#pragma once

#include <functional>

// Loads a module with this many input and output devices, enables its channels, and runs the worker
// on this thread. Calls `inPause` where the worker would pause, until it returns false.
void runPasses(int inputs, int outputs, const std::function<bool()>& inPause);
