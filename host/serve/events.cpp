#include "host/serve/events.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "host/serve/http_answer.h"
#include "host/serve/main_loop.h"
#include "host/serve/state_json.h"
#include "host/system/steady_time.h"

namespace {

constexpr guint LookInterval = 200;  // ms

std::string event(const char* name, const nlohmann::json& data) {
    return std::string("event: ") + name + "\ndata: " + asText(data) + "\n\n";
}

nlohmann::json levelsJson(const HubState& state) {
    nlohmann::json levels = nlohmann::json::array();
    for (const ChannelState& channel : state.channels)
        levels.push_back({channel.channel.number, channel.level, channel.frames, channel.gaps,
                          channel.restarts});
    return levels;
}

// Returns the channels' states in words, some of which change without an event of the hub.
std::string wordsOf(const HubState& state, int64_t now) {
    std::string words;
    for (const ChannelState& channel : state.channels)
        words += stateWord(channel, now);
    return words;
}

}  // namespace

Events::Events(Hub& hub)
    : hub_(hub), observing_(hub.observe([changed = hasChanged_](HubEvent) {
          post([changed] { *changed = true; });
      })) {
    timer_ = g_timeout_add(
        LookInterval,
        [](gpointer self) -> gboolean {
            static_cast<Events*>(self)->sendChanges();
            return G_SOURCE_CONTINUE;
        },
        this);
}

Events::~Events() {
    g_source_remove(timer_);
    *self_ = nullptr;
    for (const auto& client : clients_)
        client->abandon();
}

void Events::add(const std::shared_ptr<ClientStream>& client) {
    const HubState state = hub_.state();
    const int64_t now = clockMilliseconds();
    clients_.push_back(client);
    client->watch([self = self_, gone = client.get()] {
        if (*self != nullptr)
            std::erase_if((*self)->clients_, [gone](const auto& one) { return one.get() == gone; });
    });
    std::string text = event("state", stateJson(state, now));
    // The first client gets all lines. Others get those after lastLine_ from sendChanges.
    for (const HubLogLine& line : state.log)
        if (clients_.size() == 1 || line.number <= lastLine_)
            text += event("log", logJson(line));
    if (clients_.size() == 1 && !state.log.empty())
        lastLine_ = state.log.back().number;
    client->send(chunkOf(std::move(text)));
}

void Events::sendChanges() {
    if (clients_.empty())
        return;
    const HubState state = hub_.state();
    const int64_t now = clockMilliseconds();
    std::string text;
    std::string words = wordsOf(state, now);
    if (*hasChanged_ || words != lastStateWords_) {
        *hasChanged_ = false;
        lastStateWords_ = std::move(words);
        text += event("state", stateJson(state, now));
    }
    std::string levels = asText(levelsJson(state));
    if (levels != lastLevels_) {
        lastLevels_ = std::move(levels);
        text += event("levels", {{"time", now}, {"channels", levelsJson(state)}});
    }
    for (const HubLogLine& line : state.log)
        if (line.number > lastLine_) {
            lastLine_ = line.number;
            text += event("log", logJson(line));
        }
    if (!text.empty())
        sendAll(text);
}

void Events::sendAll(const std::string& text) {
    const Chunk chunk = chunkOf(text);
    const auto clients = clients_;  // a copy: dropped clients leave
    for (const auto& client : clients)
        client->send(chunk);
}
