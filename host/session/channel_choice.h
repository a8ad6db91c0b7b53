// Finds the channels that the user names.
#pragma once

#include <string>
#include <vector>

#include "host/session/documents.h"

// Returns the inputs, or outputs, with these numbers, names or devices. If `named` is empty,
// returns all that have a device. A device chooses a channel only when no other channel of the
// direction has the device. Throws std::runtime_error when a channel is unknown (the error then
// lists the choices) or has no device, or when no channel has a device.
std::vector<ChannelDescription> chooseInputs(const std::vector<ChannelDescription>& channels,
                                             const std::vector<std::string>& named);
std::vector<ChannelDescription> chooseOutputs(const std::vector<ChannelDescription>& channels,
                                              const std::vector<std::string>& named);
