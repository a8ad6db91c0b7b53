#include "host/serve/metrics.h"

#include <functional>

#include "base/utf8.h"

namespace {

// Escapes a name, which may come from outside: a newline in it must not begin another metric.
std::string escaped(std::string text) {
    makeUtf8(text);
    std::string result;
    for (const char c : text)
        if (c == '\n')
            result += "\\n";
        else if (c == '"' || c == '\\')
            (result += '\\') += c;
        else
            result += c;
    return result;
}

std::string labels(const ChannelDescription& channel) {
    return "{channel=\"" + std::to_string(channel.number) + "\",name=\"" + escaped(channel.name) +
           "\",device=\"" + escaped(channel.device) + "\",direction=\"" +
           (channel.isOutput ? "output" : "input") + "\"}";
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

struct Family {
    const char* name;
    const char* type;
    const char* help;
};

std::string head(const Family& family) {
    return std::string("# HELP tamborin_") + family.name + " " + family.help +
           "\n# TYPE tamborin_" + family.name + " " + family.type + "\n";
}

std::string single(const Family& family, uint64_t value) {
    return head(family) + "tamborin_" + family.name + " " + std::to_string(value) + "\n";
}

struct ChannelFamily {
    Family family;
    std::function<std::string(const ChannelState&)> value;
};

const ChannelFamily ChannelFamilies[] = {
    {{"frames_total", "counter", "Frames captured, of 2048 samples each."},
     [](const ChannelState& state) { return std::to_string(state.frames); }},
    {{"gaps_total", "counter", "Times when sound was lost."},
     [](const ChannelState& state) { return std::to_string(state.gaps); }},
    {{"restarts_total", "counter", "Restarts of the stream by the watchdog."},
     [](const ChannelState& state) { return std::to_string(state.restarts); }},
    {{"enabled", "gauge", "1 when the channel is enabled."},
     [](const ChannelState& state) { return std::to_string(int{state.channel.enabled}); }},
    {{"device_present", "gauge", "1 when the channel has a device."},
     [](const ChannelState& state) { return std::to_string(int{state.channel.hasDevice}); }},
    {{"level", "gauge", "Peak of the last frame, 0 to 1."},
     [](const ChannelState& state) { return number(state.level); }},
    {{"last_frame_timestamp_seconds", "gauge", "Capture time of the last frame; 0: none yet."},
     [](const ChannelState& state) { return std::to_string(state.lastFrame / 1000); }},
    {{"clients", "gauge", "Clients that listen to an input or talk on an output."},
     [](const ChannelState& state) { return std::to_string(state.clients); }},
};

}  // namespace

std::string metricsText(const HubState& state, size_t connections) {
    std::string text;
    for (const auto& [family, value] : ChannelFamilies) {
        text += head(family);
        for (const ChannelState& channel : state.channels)
            text += std::string("tamborin_") + family.name + labels(channel.channel) + " " +
                    value(channel) + "\n";
    }
    text += single({"alarmed", "gauge", "1 when the module reports its devices as alarmed."},
                   state.isAlarmed ? 1 : 0);
    text += single({"buffers_lent_total", "counter", "Buffers that the module has accepted."},
                   state.buffers.lent);
    text +=
        single({"buffers_returned_total", "counter", "Buffers that the module has handed back."},
               state.buffers.returned);
    text += single({"http_connections", "gauge", "Connections of the HTTP server."}, connections);
    text += head({"info", "gauge", "The module."}) + "tamborin_info{version=\"" +
            escaped(state.version) + "\"} 1\n";
    return text;
}
