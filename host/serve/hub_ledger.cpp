#include <algorithm>

#include "host/serve/hub_impl.h"
#include "host/session/module_events.h"
#include "host/session/sound_format.h"
#include "host/system/steady_time.h"

namespace {

constexpr int64_t LateTolerance = 200;   // ms; the module sends frames at uneven intervals
constexpr int64_t DecisionTime = 2000;   // ms that late frames get to catch up
constexpr int64_t CertainGap = 1000;     // ms; a frame that is later follows lost sound
constexpr int64_t ShiftDivisor = 8;      // the next frame is due later by lateness / ShiftDivisor
constexpr int64_t LevelLifetime = 3000;  // ms, as long as the module's watchdog waits
constexpr size_t MostLineBytes = 1000;   // of a log line that is kept

int64_t durationOf(size_t samples) { return static_cast<int64_t>(samples) * 1000 / SampleRate; }

}  // namespace

// Returns true when sound was lost before this frame. A frame that is a little late may follow lost
// sound, or was only sent late: then the next ones catch up. So a gap of less than CertainGap is
// reported only DecisionTime later.
bool HubLedger::followsGap(Track& track, int64_t arrival) {
    const int64_t late = arrival - track.expected;
    if (track.expected == 0 || late > CertainGap) {
        track.lateSince = 0;
        track.expected = arrival;
        return true;
    }
    if (late <= LateTolerance) {
        track.lateSince = 0;
        track.expected += late / ShiftDivisor;
        return false;
    }
    if (track.lateSince == 0) {
        track.lateSince = arrival;
        track.leastLate = late;
    }
    track.leastLate = std::min(track.leastLate, late);
    if (arrival < track.lateSince + DecisionTime)
        return false;
    track.lateSince = 0;
    track.expected += track.leastLate;
    return true;
}

void HubLedger::hearFrame(const CapturedFrame& frame, ServedFrame& served) {
    const int64_t arrival = steadyMilliseconds();
    const double level = peakOf(frame.codes);
    const std::lock_guard held(mutex_);
    Track& track = tracks_[frame.channelId];
    served.followsGap = followsGap(track, arrival);
    if (served.followsGap && track.state.frames > 0)
        ++track.state.gaps;
    track.expected += durationOf(frame.codes.size());
    track.arrival = arrival;
    ++track.state.frames;
    track.state.level = level;
    track.state.lastFrame = frame.milliseconds;
}

bool HubLedger::hearLog(int32_t level, std::string_view text) {
    ModuleEvents events;
    events.hearLog(text);
    const std::lock_guard held(mutex_);
    for (const ModuleEvent& event : events.all())
        ++tracks_[event.channelId].state.restarts;
    if (level < LogInfo)
        return false;
    log_.push_back(
        {++linesCounted_, clockMilliseconds(), level, std::string(text.substr(0, MostLineBytes))});
    if (log_.size() > Hub::KeptLogLines)
        log_.pop_front();
    return true;
}

std::optional<HubEvent> HubLedger::hearDocument(std::string_view xml, int64_t kind) {
    std::optional<bool> alarm;
    std::string version;
    if (kind == KindStatusDocument)
        alarm = reportedAlarm(xml);
    else
        version = announcedVersion(xml);
    const std::lock_guard held(mutex_);
    if (kind == KindStatusDocument) {
        isAlarmed_ = alarm.value_or(isAlarmed_);
        return HubEvent::Status;
    }
    if (!version.empty()) {
        version_ = version;
        return std::nullopt;
    }
    return HubEvent::Channels;
}

HubState HubLedger::state(const std::vector<ChannelDescription>& channels) const {
    const int64_t now = steadyMilliseconds();
    const std::lock_guard held(mutex_);
    HubState state;
    state.version = version_;
    state.isAlarmed = isAlarmed_;
    state.log.assign(log_.begin(), log_.end());
    for (const ChannelDescription& channel : channels) {
        ChannelState& added = state.channels.emplace_back();
        const auto track = tracks_.find(channel.id);
        if (track != tracks_.end()) {
            added = track->second.state;
            if (now > track->second.arrival + LevelLifetime)
                added.level = 0;
        }
        added.channel = channel;
    }
    return state;
}
