#include <deque>
#include <map>
#include <mutex>
#include <stdexcept>

#include "host/commands/commands.h"
#include "host/commands/tables.h"
#include "host/session/advice.h"
#include "host/session/channel_choice.h"
#include "host/session/log_lines.h"
#include "host/session/module_events.h"
#include "host/sound/recorder.h"
#include "host/system/steady_time.h"
#include "host/terminal/end_process.h"
#include "host/terminal/text.h"
#include "host/view/watch_view.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr size_t KeptLines = 200;
constexpr auto FrameTimeout = 3s;  // as long as the module's own watchdog waits
constexpr int32_t LogNothing = INT32_MAX;

struct Options {
    std::vector<std::string> inputs;  // empty: all with a device
    double seconds = 0;               // 0: until stopped
};

// Collects what the view shows. All functions may be called on any thread.
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

void prepare(Options& /*options*/, Console& console) { checkTerminal(console.stream()); }

int run(const Options& options, const CommonOptions& common, Console& console) {
    Watcher watcher(std::min<int32_t>(common.logLevel, LogInfo));
    SessionOptions sessionOptions = common.session(options.seconds);
    sessionOptions.logLevel = LogNothing;  // the view shows the log
    Session session(sessionOptions, console, endProcess, watcher.listener(), LogFactLevel);
    if (session.channels().empty())
        throw std::runtime_error("there is no channel to watch; " + StartSoundServer);
    session.enable(options.inputs.empty() ? inputsWithDevice(session.channels())
                                          : chooseInputs(session.channels(), options.inputs),
                   0);
    {
        WatchView view(console.stream());
        while (session.running() && !view.quitAsked())
            view.draw(watcher.content(session, options.seconds));
    }
    session.finish();
    return Succeeded;
}

}  // namespace

void addWatch(CommandLine& line) {
    const auto options = std::make_shared<Options>();
    CLI::App& watch = line.add("watch", "show levels, restarts, status and log live",
                               commandWith(options, run, prepare));
    addTime(watch, options->seconds, "seconds to run; until Ctrl-C if not given");
    addInputs(watch, options->inputs);
}
