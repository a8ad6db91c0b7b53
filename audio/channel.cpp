// A channel's construction and the removal of its blocks.
#include "audio/channel.h"

#include <tinyxml.h>

#include "plugin/document.h"

namespace {

std::string defaultName(uint32_t number, bool input) {
    return (input ? "Audio Input " : "Audio Output ") + std::to_string(uint64_t{number} + 1);
}

// One entry over every hour of the week, in which nothing is recorded.
std::unique_ptr<TiXmlElement> defaultSchedule() {
    constexpr int LastHourOfWeek = 167;
    auto schedule = std::make_unique<TiXmlElement>("Schedule");
    TiXmlElement& entry = addElement(*schedule, "Entry");
    entry.SetAttribute("FirstHour", 0);
    entry.SetAttribute("LastHour", LastHourOfWeek);
    entry.SetAttribute("Record", 0);
    return schedule;
}

}  // namespace

Channel::Channel(uint32_t number, bool input)
    : Number(number),
      Name(defaultName(number, input)),
      ID(channelId(number)),
      isInput(input),
      Schedule(defaultSchedule()) {}

Channel::~Channel() { closeStream(); }

void Channel::purgeBlocks(bool onlyPlayed) {
    if (onlyPlayed && !playedHint.take())
        return;
    // Outlives the lock: destroying its blocks calls the host and frees memory.
    BlockQueue removed;
    const MutexLock held(queueLock);
    blocks.moveTo(removed, onlyPlayed);
}
