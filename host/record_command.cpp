#include <algorithm>
#include <thread>

#include "host/commands.h"
#include "host/display.h"

namespace {

using namespace std::chrono_literals;

}  // namespace

int runRecord(const Options& options) {
    Recorder recorder;
    Session session(options.session, [&](const CapturedFrame& frame) { recorder.take(frame); });
    const auto inputs = session.choose(options.inputs, false);
    recorder.begin(inputs, options.out);
    session.enable(inputs, 0);

    LevelDisplay levels;
    while (session.running()) {
        levels.show(recorder.recordings(), session.elapsedSeconds());
        std::this_thread::sleep_for(100ms);
    }
    const BufferAccount account = session.finish();
    recorder.end();

    showTable(recorder.recordings());
    const bool accountsBalance = showAccount(account);
    const bool captured = std::ranges::any_of(
        recorder.recordings(), [](const Recording& recording) { return recording.frames > 0; });
    if (!captured)
        throw std::runtime_error("nothing was captured");
    return accountsBalance ? Succeeded : Failed;
}
