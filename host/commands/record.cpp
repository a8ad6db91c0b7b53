#include <algorithm>
#include <stdexcept>
#include <thread>

#include "host/commands/commands.h"
#include "host/commands/tables.h"
#include "host/session/advice.h"
#include "host/session/channel_choice.h"
#include "host/session/log_lines.h"
#include "host/session/module_events.h"
#include "host/system/folders.h"
#include "host/system/steady_time.h"
#include "host/terminal/end_process.h"
#include "host/terminal/progress.h"
#include "host/view/picture.h"

namespace {

using namespace std::chrono_literals;

struct Options {
    std::filesystem::path out;
    std::filesystem::path picture;    // empty: none
    std::vector<std::string> inputs;  // empty: all with a device
    double seconds = 0;               // 0: until stopped
    double secondsPerFile = 0;        // 0: one file
};

void prepare(Options& options, Console& /*console*/) {
    if (!options.picture.empty())
        readyFile(options.picture, "--picture");
}

// Fails when nothing was captured.
int run(const Options& options, const CommonOptions& common, Console& console) {
    Recorder recorder;
    ModuleEvents events;
    const bool drawing = !options.picture.empty();
    Session session(
        common.session(options.seconds), console, endProcess,
        {.onLog = [&](int32_t, std::string_view text) { events.hearLog(text); },
         .onDocument = [&](std::string_view xml, int64_t kind) { events.hearDocument(xml, kind); },
         .onFrame =
             [&](const CapturedFrame& frame) { recorder.take(frame, steadyMilliseconds()); }},
        drawing ? LogFactLevel : LogError);
    const auto inputs = chooseInputs(session.channels(), options.inputs);
    recorder.begin(inputs, options.out, options.secondsPerFile);
    session.enable(inputs, 0);
    session.awaitSound([&] { return recorder.hasSound(); });
    {
        Progress progress(console, "recording");
        while (session.running()) {
            progress.show(session.fractionDone(), levelLines(recorder.recordings()));
            std::this_thread::sleep_for(100ms);
        }
    }
    recorder.end();
    const bool accountBalances = showAccount(console, session.finish());
    const auto recordings = recorder.recordings();
    showRecordings(console, recordings);
    if (drawing) {
        drawPicture(options.picture,
                    {recorder.outlines(), events.all(), recorder.beginMs(), recorder.endMs()});
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
    CLI::App& record =
        line.add("record", "record inputs to WAV files", commandWith(options, run, prepare));
    addTime(record, options->seconds, FromFirstSound);
    addInputs(record, options->inputs);
    addRecordingsFolder(line, record, options->out);
    record
        .add_option("--rotate", options->secondsPerFile,
                    "begin a new file after so many seconds of sound")
        ->check(atLeast(1));
    line.addPath(record, "--picture", options->picture,
                 "draw the recording: sound, level, gaps, restarts, alarms (PNG)");
}
