#include <algorithm>
#include <atomic>
#include <optional>
#include <stdexcept>
#include <thread>

#include "host/commands/commands.h"
#include "host/commands/stream.h"
#include "host/commands/tables.h"
#include "host/session/module_events.h"
#include "host/sound/recorder.h"
#include "host/system/folders.h"
#include "host/system/steady_time.h"
#include "host/view/picture.h"

namespace {

using namespace std::chrono_literals;

}  // namespace

int runRecord(const Options& options, Console& console) {
    if (options.out == StandardOutput)
        return streamInput(options, console);
    std::optional<Recorder> recorder;  // once the inputs are known
    std::atomic<Recorder*> frameListener = nullptr;
    ModuleEvents events;
    const bool drawing = !options.picture.empty();
    if (drawing)
        readyFile(options.picture, "--picture");
    Session session(
        options.session, console,
        {.onLog = [&](int32_t, std::string_view text) { events.hearLog(text); },
         .onDocument = [&](std::string_view xml, int64_t kind) { events.hearDocument(xml, kind); },
         .onFrame =
             [&](const CapturedFrame& frame) {
                 if (Recorder* listener = frameListener)
                     listener->onFrame(frame, steadyMilliseconds());
             }},
        drawing ? ModuleEvents::NeededLogLevel : LogError);
    const auto inputs = session.choose(options.inputs, false);
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
        throw std::runtime_error("nothing was captured; see 'tamborin-host doctor'");
    return accountBalances ? Succeeded : Failed;
}
