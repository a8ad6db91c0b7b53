#include <stdexcept>
#include <thread>

#include "host/commands/commands.h"
#include "host/commands/tables.h"
#include "host/sound/player.h"
#include "host/terminal/text.h"

namespace {

using namespace std::chrono_literals;

struct Options {
    std::filesystem::path clip;
    std::vector<std::string> outputs;  // one at most
    double seconds = 0;                // 0: the whole clip
};

// Fails when the clip was not played.
int run(const Options& options, const CommonOptions& common, Console& console) {
    const std::vector<uint8_t> clip = readClip(options.clip, options.seconds, console);
    Session session(common.session(options.seconds), console);
    const ChannelDescription output = session.choose(options.outputs, true).front();
    session.enable({output}, GaplessBufferLength);

    Player player(session.module(), output.id, clip);
    Progress progress(console, "playing");
    while (session.running() && player.feed()) {
        progress.show(std::max(player.fractionPlayed(), session.fractionDone()));
        std::this_thread::sleep_for(50ms);
    }
    const double played = player.playedSeconds();
    const bool wasStopped = !session.running();
    const bool accountBalances = showAccount(console, session.finish());
    console.remark("played:  " + inClockTime(played) + " of " + options.clip.string() +
                   " on channel " + std::to_string(output.number));
    if (!player.isDone() && !wasStopped)
        throw std::runtime_error(
            "the output stopped taking sound; does the sound server still "
            "run? 'tamborin-host doctor' tells");
    return accountBalances ? Succeeded : Failed;
}

}  // namespace

void addPlay(CommandLine& line) {
    const auto options = std::make_shared<Options>();
    CLI::App& play = line.add("play", "play a sound file on an output", commandWith(options, run));
    addTime(play, options->seconds, "seconds to play; the whole file if not given");
    addChannel(play, "--output", options->outputs);
    line.addPath(play, "file", options->clip, "any file that libsndfile reads")
        .required()
        ->check(existingFile());
}
