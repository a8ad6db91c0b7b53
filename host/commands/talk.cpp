#include <array>
#include <atomic>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <thread>

#include "host/commands/commands.h"
#include "host/commands/tables.h"
#include "host/sound/clip_search.h"
#include "host/sound/player.h"
#include "host/sound/recorder.h"
#include "host/system/steady_time.h"
#include "host/terminal/text.h"

namespace {

using namespace std::chrono_literals;

bool showFound(Console& console, const std::vector<uint8_t>& clip, const Recording& recording) {
    Progress progress(console, "looking for the clip");
    const ClipFound found = findClip(clip, readCodes(recording.firstFile),
                                     [&](double fraction) { progress.show(fraction); });
    std::array<char, 128> text{};
    if (found.isFound())
        std::snprintf(text.data(), text.size(),
                      "clip:    found, %.2f s into the recording (correlation %.2f)", found.seconds,
                      found.correlation);
    else
        std::snprintf(text.data(), text.size(),
                      "clip:    not found in the recording (best correlation %.2f)",
                      found.correlation);
    console.remark(text.data());
    return found.isFound();
}

}  // namespace

int runTalk(const Options& options, Console& console) {
    const std::vector<uint8_t> clip =
        options.clip.empty() ? builtInClip()
                             : readClip(options.clip, options.session.seconds, console);
    std::optional<Recorder> recorder;  // once the input is known
    std::atomic<Recorder*> frameListener = nullptr;
    Session session(options.session, console, {.onFrame = [&](const CapturedFrame& frame) {
                        if (Recorder* listener = frameListener)
                            listener->onFrame(frame, steadyMilliseconds());
                    }});
    const ChannelDescription input = session.choose(options.inputs, false).front();
    const ChannelDescription output = session.choose(options.outputs, true).front();
    recorder.emplace(std::vector{input}, options.out, 0, steadyMilliseconds());
    frameListener = &*recorder;
    session.enable({input, output}, GaplessBufferLength);
    const auto hasFailed = [&] { return !recorder->failure().empty(); };
    session.awaitSound([&] { return recorder->hasSound() || hasFailed(); });

    std::optional<Player> player;
    bool playing = true;
    {
        Progress progress(console, "talking");
        while (session.running() && !hasFailed()) {
            const auto recordings = recorder->recordings();
            // The clip waits until the input is heard.
            if (!player && recordings.front().frames > 0)
                player.emplace(session.module(), output.id, clip);
            if (player && playing)
                playing = player->feed();
            progress.show(session.fractionDone(), levelLines(recordings));
            std::this_thread::sleep_for(50ms);
        }
    }
    const double played = player ? player->playedSeconds() : 0;
    const BufferAccount account = session.finish();
    recorder->finish(steadyMilliseconds());

    const Recording recording = recorder->recordings().front();
    showRecordings(console, {recording});
    const bool accountBalances = showAccount(console, account);
    console.remark("played:  " + inClockTime(played) + " on channel " +
                   std::to_string(output.number));
    if (hasFailed())
        throw std::runtime_error(recorder->failure());
    if (recording.frames == 0)
        throw std::runtime_error("nothing was captured from channel " +
                                 std::to_string(input.number) + "; see 'tamborin-host doctor'");
    if (played <= 0)
        throw std::runtime_error("the clip was not played on channel " +
                                 std::to_string(output.number) + "; see 'tamborin-host doctor'");
    if (options.findClip && !showFound(console, clip, recording))
        throw std::runtime_error("the recording does not hold the clip");
    return accountBalances ? Succeeded : Failed;
}
