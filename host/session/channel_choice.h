// Which channels the user means.
#pragma once

#include <string>
#include <vector>

#include "host/session/documents.h"

// Returns the inputs, or outputs, with these numbers, names or devices; without any named, all that
// have a device. A device's name is enough when only one channel of the direction has the device.
// Throws std::runtime_error, which tells what there is, when one is unknown or has no device, or
// when there is none.
std::vector<ChannelDescription> chooseInputs(const std::vector<ChannelDescription>& channels,
                                             const std::vector<std::string>& named);
std::vector<ChannelDescription> chooseOutputs(const std::vector<ChannelDescription>& channels,
                                              const std::vector<std::string>& named);
