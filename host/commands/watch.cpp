#include <deque>
#include <map>
#include <mutex>
#include <stdexcept>

#include "host/commands/commands.h"
#include "host/commands/tables.h"
#include "host/session/module_events.h"
#include "host/sound/recorder.h"
#include "host/system/steady_time.h"
#include "host/terminal/text.h"
#include "host/view/watch_view.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr size_t KeptLines = 200;
constexpr auto FrameTimeout = 3s;  // as long as the module's own watchdog waits
constexpr int32_t LogNothing = INT32_MAX;

// What the module says, for the view. Any thread.
class Watcher {
  public:
    explicit Watcher(int32_t logLevel) : logLevel_(logLevel) {}

    ModuleListener listener() {
        return {.onLog =
                    [this](int32_t level, std::string_view text) {
                        events_.hearLog(text);
                        if (level >= logLevel_)
                            keepLine(level, text);
                    },
                .onDocument =
                    [this](std::string_view xml, int64_t kind) {
                        events_.hearDocument(xml, kind);
                        const std::string version = announcedVersion(xml);
                        const std::lock_guard held(mutex_);
                        if (!version.empty())
                            version_ = version;
                    },
                .onFrame =
                    [this](const CapturedFrame& frame) {
                        const std::lock_guard held(mutex_);
                        heard_[frame.channelId] = {Clock::now(), peakOf(frame.codes)};
                    }};
    }

    WatchContent content(const Session& session, double seconds) const {
        WatchContent content;
        content.alarmed = events_.isAlarmed();
        content.elapsedSeconds = session.elapsedSeconds();
        content.seconds = seconds;
        for (const ChannelDescription& channel : session.channels())
            content.channels.push_back(watched(channel));
        const std::lock_guard held(mutex_);
        content.version = version_;
        content.log.assign(log_.begin(), log_.end());
        return content;
    }

  private:
    struct Heard {
        Clock::time_point time;
        double level = 0;
    };

    void keepLine(int32_t level, std::string_view text) {
        const std::string time = localTime(clockMilliseconds(), "%H:%M:%S ");
        const std::lock_guard held(mutex_);
        log_.push_back({level, time + std::string(text)});
        if (log_.size() > KeptLines)
            log_.pop_front();
    }

    WatchedChannel watched(const ChannelDescription& channel) const {
        const std::lock_guard held(mutex_);
        const auto found = heard_.find(channel.id);
        const bool isHeard =
            found != heard_.end() && Clock::now() < found->second.time + FrameTimeout;
        const char* state = !channel.hasDevice ? "missing"
                            : !channel.enabled ? "disabled"
                            : channel.isOutput ? "enabled"
                            : isHeard          ? "recording"
                                               : "waiting";
        return {channel, state, isHeard ? found->second.level : 0, events_.restarts(channel.id)};
    }

    const int32_t logLevel_;
    ModuleEvents events_;
    mutable std::mutex mutex_;  // guards what follows
    std::string version_;
    std::deque<WatchedLine> log_;
    std::map<int32_t, Heard> heard_;
};

std::vector<ChannelDescription> inputsWithDevice(std::vector<ChannelDescription> channels) {
    std::erase_if(channels, [](const ChannelDescription& channel) {
        return channel.isOutput || !channel.hasDevice;
    });
    return channels;
}

}  // namespace

int runWatch(const Options& options, Console& console) {
    checkTerminal(console.stream());
    Watcher watcher(std::min<int32_t>(options.session.logLevel, LogInfo));
    SessionOptions session = options.session;
    session.logLevel = LogNothing;  // the view shows the log
    Session running(session, console, watcher.listener(), ModuleEvents::NeededLogLevel);
    if (running.channels().empty())
        throw std::runtime_error(
            "there is no channel to watch; start a sound server (PulseAudio "
            "or PipeWire), or see 'tamborin-host doctor'");
    running.enable(options.inputs.empty() ? inputsWithDevice(running.channels())
                                          : running.choose(options.inputs, false),
                   0);
    {
        WatchView view(console.stream());
        while (running.running() && !view.quitAsked())
            view.draw(watcher.content(running, options.session.seconds));
    }
    running.finish();
    return Succeeded;
}
