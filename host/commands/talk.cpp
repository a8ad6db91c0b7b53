#include <array>
#include <atomic>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <thread>

#include "host/commands/commands.h"
#include "host/commands/stream.h"
#include "host/commands/tables.h"
#include "host/session/advice.h"
#include "host/session/channel_choice.h"
#include "host/sound/clip_search.h"
#include "host/sound/player.h"
#include "host/sound/recorder.h"
#include "host/system/folders.h"
#include "host/system/steady_time.h"
#include "host/terminal/end_process.h"
#include "host/terminal/progress.h"
#include "host/terminal/text.h"

namespace {

using namespace std::chrono_literals;

struct Options {
    std::filesystem::path out = "recordings";
    std::filesystem::path file;  // empty: the built-in clip
    std::vector<uint8_t> clip;
    std::vector<std::string> inputs;   // one at most
    std::vector<std::string> outputs;  // one at most
    double seconds = 0;                // 0: until stopped
    bool findClip = false;
};

void checkOut(std::filesystem::path& folder) {
    if (folder == StandardOutput)
        throw UsageError("--out - is for 'record' only");
    makeAbsolute(folder);
}

bool showFound(Console& console, const std::vector<uint8_t>& clip, const Recording& recording) {
    Progress progress(console, "looking for the clip");
    const ClipFound found = findClip(clip, readCodes(recording.firstFile),
                                     [&](double fraction) { progress.show(fraction); });
    std::array<char, 128> text{};
    if (found.isFound() && found.seconds < 0)
        std::snprintf(text.data(), text.size(),
                      "clip:    found, begun before the recording (correlation %.2f)",
                      found.correlation);
    else if (found.isFound())
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

void prepare(Options& options, Console& console) {
    options.clip =
        options.file.empty() ? builtInClip() : readClip(options.file, options.seconds, console);
}

// Fails when nothing was captured or played, or, with --find-clip, when the recording does not hold
// the clip.
int run(const Options& options, const CommonOptions& common, Console& console) {
    std::optional<Recorder> recorder;  // once the input is known
    std::atomic<Recorder*> frameListener = nullptr;
    Session session(common.session(options.seconds), console, endProcess,
                    {.onFrame = [&](const CapturedFrame& frame) {
                        if (Recorder* listener = frameListener)
                            listener->onFrame(frame, steadyMilliseconds());
                    }});
    const ChannelDescription input = chooseInputs(session.channels(), options.inputs).front();
    const ChannelDescription output = chooseOutputs(session.channels(), options.outputs).front();
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
            // The clip starts only when the input delivers sound, so that it is recorded whole.
            if (!player && recordings.front().frames > 0)
                player.emplace(session.module(), output.id, options.clip);
            if (player && playing)
                playing = player->feed();
            progress.show(session.fractionDone(), levelLines(recordings));
            std::this_thread::sleep_for(50ms);
        }
    }
    const double played = player ? player->playedSeconds() : 0;
    const int64_t endMs = steadyMilliseconds();
    const BufferAccount account = session.finish();
    recorder->finish(endMs);

    const Recording recording = recorder->recordings().front();
    showRecordings(console, {recording});
    const bool accountBalances = showAccount(console, account);
    console.remark("played:  " + inClockTime(played) + " on channel " +
                   std::to_string(output.number));
    if (hasFailed())
        throw std::runtime_error(recorder->failure());
    if (recording.frames == 0)
        throw std::runtime_error("nothing was captured from channel " +
                                 std::to_string(input.number) + "; " + SeeDoctor);
    if (played <= 0)
        throw std::runtime_error("the clip was not played on channel " +
                                 std::to_string(output.number) + "; " + SeeDoctor);
    if (options.findClip && !showFound(console, options.clip, recording))
        throw std::runtime_error("the recording does not hold the clip");
    return accountBalances ? Succeeded : Failed;
}

}  // namespace

void addTalk(CommandLine& line) {
    const auto options = std::make_shared<Options>();
    Command command = commandWith(options, run, prepare);
    command.check = [options](CommonOptions&) { checkOut(options->out); };
    CLI::App& talk = line.add("talk", "record an input while playing on an output", command);
    addTime(talk, options->seconds, FromFirstSound);
    addChannel(talk, "--input", options->inputs);
    addChannel(talk, "--output", options->outputs);
    addOut(talk, options->out, "the folder of the recordings");
    line.addOptionalFile(talk, options->file,
                         "any file that libsndfile reads; if not given, a few chirps");
    addFlag(talk, "--find-clip", options->findClip, "fail unless the recording holds the clip");
}
