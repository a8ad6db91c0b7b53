// Output that several commands share: tables of channels and recordings, level lines, the account
// of buffers.
#pragma once

#include <string>
#include <vector>

#include "host/session/documents.h"
#include "host/session/module_host.h"
#include "host/sound/recorder.h"
#include "host/terminal/console.h"

void showChannels(Console& console, const std::vector<ChannelDescription>& channels);
void showRecordings(Console& console, const std::vector<Recording>& recordings);
// Shows the account. Returns true when every loan was returned exactly once.
bool showAccount(Console& console, const BufferAccount& account);
// Returns a line with a level meter for each recording.
std::vector<std::string> levelLines(const std::vector<Recording>& recordings);
