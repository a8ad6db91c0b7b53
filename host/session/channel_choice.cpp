#include "host/session/channel_choice.h"

#include <algorithm>
#include <stdexcept>

#include "host/session/advice.h"

namespace {

std::string kindOf(bool outputs) { return outputs ? "output" : "input"; }

std::string listed(const std::vector<ChannelDescription>& channels, bool outputs) {
    std::string list;
    for (const ChannelDescription& channel : channels)
        if (channel.isOutput == outputs)
            list += (list.empty() ? "" : ", ") + std::to_string(channel.number) + " '" +
                    channel.name + "'";
    return list;
}

// Finds a channel by its number or name, else by a device that only one channel has.
ChannelDescription findChannel(const std::vector<ChannelDescription>& channels,
                               const std::string& name, bool outputs) {
    auto found = std::ranges::find_if(channels, [&](const ChannelDescription& channel) {
        return channel.isOutput == outputs &&
               (std::to_string(channel.number) == name || channel.name == name);
    });
    const auto hasThatDevice = [&](const ChannelDescription& channel) {
        return channel.isOutput == outputs && channel.device == name;
    };
    if (found == channels.end() && std::ranges::count_if(channels, hasThatDevice) == 1)
        found = std::ranges::find_if(channels, hasThatDevice);
    const std::string known = listed(channels, outputs);
    if (found == channels.end())
        throw std::runtime_error(
            "there is no " + kindOf(outputs) + " '" + name + "'; " +
            (known.empty() ? "the module found no " + kindOf(outputs) + "; " + DoctorTells
                           : "choose one of " + known));
    if (!found->hasDevice)
        throw std::runtime_error(kindOf(outputs) + " '" + name + "' has no device; " + DoctorTells);
    return *found;
}

std::vector<ChannelDescription> choose(const std::vector<ChannelDescription>& channels,
                                       const std::vector<std::string>& named, bool outputs) {
    std::vector<ChannelDescription> chosen;
    if (named.empty())
        std::ranges::copy_if(channels, std::back_inserter(chosen), [&](const auto& channel) {
            return channel.isOutput == outputs && channel.hasDevice;
        });
    for (const std::string& name : named)
        chosen.push_back(findChannel(channels, name, outputs));
    if (chosen.empty())
        throw std::runtime_error("no " + kindOf(outputs) + " has a device; " + StartSoundServer);
    return chosen;
}

}  // namespace

std::vector<ChannelDescription> chooseInputs(const std::vector<ChannelDescription>& channels,
                                             const std::vector<std::string>& named) {
    return choose(channels, named, false);
}

std::vector<ChannelDescription> chooseOutputs(const std::vector<ChannelDescription>& channels,
                                              const std::vector<std::string>& named) {
    return choose(channels, named, true);
}
