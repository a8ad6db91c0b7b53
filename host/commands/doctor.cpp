#include <string>

#include "host/commands/commands.h"
#include "host/doctor/examinations.h"
#include "host/terminal/end_process.h"

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

// Shows a chapter and returns how many of its findings are wrong.
int show(Console& console, const char* title, const Findings& findings) {
    int wrong = 0;
    console.remark(title);
    for (const Finding& finding : findings) {
        const bool isWrong = finding.verdict == Finding::Verdict::Wrong;
        wrong += isWrong ? 1 : 0;
        if (console.isQuiet() && !isWrong)
            continue;
        const Mark mark = markOf(finding.verdict);
        console.result(Line{{"  "}, {mark.word, mark.colour}, {"  " + finding.what}});
        if (!finding.advice.empty())
            console.result("         -> " + finding.advice);
    }
    return wrong;
}

// Shows each chapter before it examines the next one, which may take long or fail. Fails when
// something is wrong.
int run(const CommonOptions& common, Console& console) {
    const SoundServer server = askSoundServer();
    const CardAccess access = askCardAccess();
    int wrong = show(console, "Sound server", examineSoundServer(server));
    const Discovery discovery = discover(server, common.session(), console, endProcess);
    wrong += show(console, "Module", examineModule(discovery, server, common.module));
    wrong += show(console, "Devices of PortAudio", examineDevices(discovery, server, access));
    wrong += show(console, "ALSA's default device", examineDefault(server));
    wrong += show(console, "ALSA cards and mixers", examineCards());
    wrong += show(console, "Permissions", examinePermissions(access, server, discovery));
    wrong += show(console, "Settings", examineSettings(common.folder, discovery));
    console.remark(wrong == 0 ? "Nothing is wrong."
                              : std::to_string(wrong) + (wrong == 1 ? " thing is" : " things are") +
                                    " wrong.");
    return wrong == 0 ? Succeeded : Failed;
}

}  // namespace

void addDoctor(CommandLine& line) {
    line.add("doctor", "examine what the module needs on this machine",
             {.needs = Command::Needs::SilencedLibraries, .run = run});
}
