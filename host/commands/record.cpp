#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <stdexcept>
#include <thread>

#include "host/commands/commands.h"
#include "host/commands/stream.h"
#include "host/commands/tables.h"
#include "host/session/advice.h"
#include "host/session/channel_choice.h"
#include "host/session/log_lines.h"
#include "host/session/module_events.h"
#include "host/sound/recorder.h"
#include "host/system/folders.h"
#include "host/system/steady_time.h"
#include "host/terminal/end_process.h"
#include "host/terminal/progress.h"
#include "host/view/picture.h"

namespace {

using namespace std::chrono_literals;

struct Options {
    std::filesystem::path out = "recordings";  // a folder, or StandardOutput
    std::filesystem::path picture;             // empty: none
    std::vector<std::string> inputs;           // empty: all with a device
    double seconds = 0;                        // 0: until stopped
    double secondsPerFile = 0;                 // 0: as long as a file may be
};

// Makes a folder's path absolute. For "-" refuses the options that exclude sound on stdout, and
// reserves stdout for it.
void checkOut(Options& options, CommonOptions& common) {
    if (options.out != StandardOutput)
        return makeAbsolute(options.out);
    const std::pair<bool, const char*> reasons[]{
        {common.console.json, "and --json both need stdout"},
        {!options.picture.empty(), "does not go with --picture"},
        {options.secondsPerFile > 0, "does not go with --rotate"},
        {options.inputs.size() > 1, "takes one --input"},
        {isatty(STDOUT_FILENO) != 0, "writes sound, which a terminal cannot take"}};
    for (const auto& [isRefused, reason] : reasons)
        if (isRefused)
            throw UsageError(std::string("--out - ") + reason);
    common.console.soundOnStdout = true;
}

void prepare(Options& options, Console& /*console*/) {
    if (!options.picture.empty())
        readyFile(options.picture, "--picture");
}

// Fails when nothing was captured.
int run(const Options& options, const CommonOptions& common, Console& console) {
    if (options.out == StandardOutput)
        return streamInput(options.inputs, options.seconds, common, console);
    std::optional<Recorder> recorder;  // once the inputs are known
    std::atomic<Recorder*> frameListener = nullptr;
    ModuleEvents events;
    const bool drawing = !options.picture.empty();
    Session session(
        common.session(options.seconds), console, endProcess,
        {.onLog = [&](int32_t, std::string_view text) { events.hearLog(text); },
         .onDocument = [&](std::string_view xml, int64_t kind) { events.hearDocument(xml, kind); },
         .onFrame =
             [&](const CapturedFrame& frame) {
                 if (Recorder* listener = frameListener)
                     listener->onFrame(frame, steadyMilliseconds());
             }},
        drawing ? LogFactLevel : LogError);
    const auto inputs = chooseInputs(session.channels(), options.inputs);
    const int64_t beginMs = steadyMilliseconds();
    recorder.emplace(inputs, options.out, options.secondsPerFile, beginMs);
    frameListener = &*recorder;
    session.enable(inputs, 0);
    const auto hasFailed = [&] { return !recorder->failure().empty(); };
    session.awaitSound([&] { return recorder->hasSound() || hasFailed(); });
    {
        Progress progress(console, "recording");
        while (session.running() && !hasFailed()) {
            progress.show(session.fractionDone(), levelLines(recorder->recordings()));
            std::this_thread::sleep_for(100ms);
        }
    }
    const int64_t endMs = steadyMilliseconds();
    recorder->finish(endMs);
    const bool accountBalances = showAccount(console, session.finish());
    const auto recordings = recorder->recordings();
    showRecordings(console, recordings);
    if (hasFailed())
        throw std::runtime_error(recorder->failure());
    if (drawing) {
        drawPicture(options.picture, {recorder->outlines(), events.all(), beginMs, endMs});
        console.remark("picture: " + options.picture.string());
    }
    if (std::ranges::all_of(recordings,
                            [](const auto& recording) { return recording.frames == 0; }))
        throw std::runtime_error("nothing was captured; " + SeeDoctor);
    return accountBalances ? Succeeded : Failed;
}

}  // namespace

void addRecord(CommandLine& line) {
    const auto options = std::make_shared<Options>();
    Command command = commandWith(options, run, prepare);
    command.check = [options](CommonOptions& common) { checkOut(*options, common); };
    CLI::App& record = line.add("record", "record inputs to WAV files", command);
    addTime(record, options->seconds, FromFirstSound);
    addInputs(record, options->inputs);
    addOut(record, options->out,
           "the folder of the recordings; - for one input as a WAV stream to stdout");
    addSeconds(record, "--rotate", options->secondsPerFile, 1,
               "begin a new file after so many seconds of sound");
    line.addPath(record, "--picture", options->picture,
                 "draw the recording: sound, level, gaps, restarts, alarms (PNG)");
}
