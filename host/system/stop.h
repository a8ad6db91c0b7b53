// What ends the tool's work before its time: the user's signals, and a reader of the results who
// leaves.
#pragma once

// Makes SIGINT, SIGTERM and SIGHUP end the running session; a second one ends the process. A broken
// pipe and a file that grows beyond its limit become failed writes. Once, before any thread is
// started.
void stopOnSignals();
// Whether one of the first three came. Any thread.
bool signalCame();

// Nobody reads stdout any more, which ends the running session, too. Any thread.
void noteReaderLeft();
bool readerHasLeft();

// Whether the user wants no more of it. Any thread.
bool stopAsked();
