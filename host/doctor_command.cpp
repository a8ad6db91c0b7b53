#include <algorithm>
#include <array>

#include "host/commands.h"
#include "host/findings.h"

namespace {

struct Mark {
    const char* word;
    Colour colour;
};

Mark markOf(Finding::Verdict verdict) {
    switch (verdict) {
        case Finding::Verdict::Good:
            return {"ok   ", Colour::Green};
        case Finding::Verdict::Note:
            return {"note ", Colour::Yellow};
        default:
            return {"WRONG", Colour::Red};
    }
}

}  // namespace

int runDoctor(const Options& options, Console& console) {
    const SoundServer server = askSoundServer();
    const Discovery discovery = discover(options.session, console);
    struct Chapter {
        const char* title;
        Findings findings;
    };
    const std::array chapters{
        Chapter{"Sound server", examineSoundServer(server)},
        Chapter{"Module", examineModule(discovery, options.session.module)},
        Chapter{"Devices of PortAudio", examineDevices(discovery, server)},
        Chapter{"ALSA cards and mixers", examineCards()},
        Chapter{"Permissions", examinePermissions(server)},
        Chapter{"Settings", examineSettings(options.session.folder, discovery)},
    };
    size_t wrong = 0;
    for (const Chapter& chapter : chapters) {
        console.remark(chapter.title);
        for (const Finding& finding : chapter.findings) {
            const bool isWrong = finding.verdict == Finding::Verdict::Wrong;
            wrong += isWrong ? 1 : 0;
            if (console.isQuiet() && !isWrong)
                continue;
            const Mark mark = markOf(finding.verdict);
            console.result("  " + console.painted(mark.colour, mark.word) + "  " + finding.what);
            if (!finding.advice.empty())
                console.result("         -> " + finding.advice);
        }
    }
    console.remark(wrong == 0 ? "Nothing is wrong."
                              : std::to_string(wrong) + (wrong == 1 ? " thing is" : " things are") +
                                    " wrong.");
    return wrong == 0 ? Succeeded : Failed;
}
