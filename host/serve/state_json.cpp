#include "host/serve/state_json.h"

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>

namespace {

constexpr int64_t SilenceTime = 3500;  // ms without a frame, a little more than the watchdog waits

bool isRecording(const ChannelState& channel, int64_t now) {
    // After the clock was set back the last frame may lie in the future.
    return channel.lastFrame > 0 && std::abs(now - channel.lastFrame) < SilenceTime;
}

}  // namespace

const char* stateWord(const ChannelState& channel, int64_t now) {
    if (!channel.channel.hasDevice)
        return "missing";
    if (channel.isKeptOff)
        return "disabled";
    if (channel.channel.isOutput)
        return channel.clients > 0 ? "talking" : "ready";
    if (!channel.channel.enabled)
        return "idle";
    return isRecording(channel, now) ? "recording" : "waiting";
}

nlohmann::json channelJson(const ChannelState& channel, int64_t now) {
    return {{"number", channel.channel.number},
            {"name", channel.channel.name},
            {"device", channel.channel.device},
            {"direction", channel.channel.isOutput ? "output" : "input"},
            {"hasDevice", channel.channel.hasDevice},
            {"enabled", channel.channel.enabled},
            {"keptOff", channel.isKeptOff},
            {"state", stateWord(channel, now)},
            {"level", channel.level},
            {"frames", channel.frames},
            {"gaps", channel.gaps},
            {"restarts", channel.restarts},
            {"lastFrame", channel.lastFrame},
            {"clients", channel.clients}};
}

nlohmann::json stateJson(const HubState& state, int64_t now) {
    nlohmann::json channels = nlohmann::json::array();
    for (const ChannelState& channel : state.channels)
        channels.push_back(channelJson(channel, now));
    return {{"version", state.version},
            {"time", now},
            {"status", state.isAlarmed ? "alarmed" : "ok"},
            {"buffers", {{"lent", state.buffers.lent}, {"returned", state.buffers.returned}}},
            {"channels", std::move(channels)}};
}

nlohmann::json logJson(const HubLogLine& line) {
    return {{"number", line.number},
            {"time", line.milliseconds},
            {"level", line.level},
            {"text", line.text}};
}

const ChannelState* findChannel(const HubState& state, int number) {
    const auto found = std::ranges::find_if(state.channels, [&](const ChannelState& channel) {
        return channel.channel.number == number;
    });
    return found == state.channels.end() ? nullptr : &*found;
}
