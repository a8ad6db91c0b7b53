#include <stdexcept>
#include <thread>

#include "host/commands/commands.h"
#include "host/commands/tables.h"
#include "host/session/advice.h"
#include "host/session/channel_choice.h"
#include "host/sound/player.h"
#include "host/terminal/end_process.h"
#include "host/terminal/progress.h"
#include "host/terminal/text.h"

namespace {

using namespace std::chrono_literals;

struct Options {
    std::filesystem::path file;
    std::vector<uint8_t> clip;         // the file's sound
    std::vector<std::string> outputs;  // one at most
    double seconds = 0;                // 0: the whole clip
};

void prepare(Options& options, Console& console) {
    options.clip = readClip(options.file, options.seconds, console);
}

// Fails when the output stops taking sound.
int run(const Options& options, const CommonOptions& common, Console& console) {
    Session session(common.session(options.seconds), console, endProcess);
    const ChannelDescription output = chooseOutputs(session.channels(), options.outputs).front();
    session.enable({output}, GaplessBufferLength);

    Player player(session.module(), output.id, options.clip);
    Progress progress(console, "playing");
    while (session.running() && player.feed()) {
        progress.show(std::max(player.fractionPlayed(), session.fractionDone()));
        std::this_thread::sleep_for(50ms);
    }
    const double played = player.playedSeconds();
    const bool wasStopped = !session.running();
    const bool accountBalances = showAccount(console, session.finish());
    console.remark("played:  " + inClockTime(played) + " of " + options.file.string() +
                   " on channel " + std::to_string(output.number));
    if (!player.isDone() && !wasStopped)
        throw std::runtime_error("the output stopped taking sound; " + SoundServerHangs);
    return accountBalances ? Succeeded : Failed;
}

}  // namespace

void addPlay(CommandLine& line) {
    const auto options = std::make_shared<Options>();
    CLI::App& play =
        line.add("play", "play a sound file on an output", commandWith(options, run, prepare));
    addTime(play, options->seconds, "seconds to play; the whole file if not given");
    addChannel(play, "--output", options->outputs);
    line.addFile(play, options->file, "any file that libsndfile reads");
}
