#include <cstdio>
#include <optional>
#include <thread>

#include "host/clip.h"
#include "host/commands.h"
#include "host/display.h"
#include "host/player.h"

namespace {

using namespace std::chrono_literals;

bool showFound(const std::vector<uint8_t>& clip, const Recording& recording) {
    const ClipFound found = findClip(clip, readCodes(recording.file));
    if (found.isFound())
        std::printf("clip:    found, %.2f s into the recording (correlation %.2f)\n", found.seconds,
                    found.correlation);
    else
        std::printf("clip:    not found in the recording (best correlation %.2f)\n",
                    found.correlation);
    return found.isFound();
}

}  // namespace

int runTalk(const Options& options) {
    const std::vector<uint8_t> clip = options.clip.empty() ? builtInClip() : loadClip(options.clip);
    Recorder recorder;
    Session session(options.session, [&](const CapturedFrame& frame) { recorder.take(frame); });
    const ChannelDescription input = session.choose(options.inputs, false).front();
    const ChannelDescription output = session.choose(options.outputs, true).front();
    recorder.begin({input}, options.out);
    session.enable({input, output}, GaplessBufferLength);

    LevelDisplay levels;
    std::optional<Player> player;
    bool playing = true;
    while (session.running()) {
        const Recording recording = recorder.recordings().front();
        // An input may take two seconds to start: the clip waits until it is heard.
        if (!player && recording.frames > 0)
            player.emplace(session.module(), output.id, clip);
        if (player && playing)
            playing = player->feed();
        levels.show({recording}, session.elapsedSeconds());
        std::this_thread::sleep_for(50ms);
    }
    const double played = player ? player->playedSeconds() : 0;
    const BufferAccount account = session.finish();
    recorder.end();

    const Recording recording = recorder.recordings().front();
    showTable({recording});
    const bool accountsBalance = showAccount(account);
    std::printf("played:  %.2f s on channel %d\n", played, output.number);
    if (recording.frames == 0)
        throw std::runtime_error("nothing was captured");
    if (played <= 0)
        throw std::runtime_error("the clip was not played");
    const bool found = !options.findClip || showFound(clip, recording);
    return accountsBalance && found ? Succeeded : Failed;
}
