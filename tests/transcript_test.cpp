// Plays the transcripts in tests/transcripts: a line "> COMMAND" is what the host, a device or time
// does, and the lines up to the next are everything that the module does about it, in order.
//
// The worker runs from "> start" to "> stop", a pass at a time. A command's meaning stands with it
// in commands().
#include <map>
#include <set>
#include <sstream>
#include <thread>

#include "audio/ulaw.h"
#include "devices/capture_mixers.h"
#include "fake_alsa.h"
#include "host/findings.h"
#include "module_test.h"

namespace {

using namespace std::chrono_literals;
using Arguments = std::istringstream;

int64_t number(Arguments& in, int64_t otherwise = 0) {
    std::string word;
    return in >> word ? std::stoll(word, nullptr, 0) : otherwise;
}
std::string word(Arguments& in) {
    std::string text;
    in >> text;
    return text;
}
std::string rest(Arguments& in) {
    std::string text;
    std::getline(in >> std::ws, text);
    return text;
}
// For structures that keep a pointer only; "null" is null.
const char* keep(const std::string& text) {
    static std::set<std::string> kept;
    return text == "null" ? nullptr : kept.insert(text).first->c_str();
}

// The beginning of a document of the module's, in transcripts "OURS".
constexpr const char* Ours = R"(<Varo><Devices ID="1310720")";

class Transcript : public ModuleTest {
  public:
    explicit Transcript(const std::filesystem::path& file) : name_(file), lines_(file) {}
    void TestBody() override { play(); }

  private:
    // Takes commands up to one that lets the worker run on.
    void play() {
        for (goingOn_ = true; goingOn_ && check();) {
            Arguments in(command_.substr(2));
            const auto found = commands_.find(word(in));
            ASSERT_NE(found, commands_.end()) << command_;
            found->second(in);
        }
    }
    // Compares what has happened with the lines before the next command; false when there is none.
    bool check() {
        std::string expected;
        std::string line;
        while (std::getline(lines_, line) && !line.starts_with("> "))
            if (!line.empty() && line[0] != '#')
                expected += line + "\n";
        EXPECT_EQ(takeTrace(), expected) << name_ << ": " << command_;
        command_ = line;
        if (const size_t at = line.find("OURS"); at != std::string::npos)
            command_.replace(at, 4, Ours);
        return static_cast<bool>(lines_) || (Close(), false);
    }
    void onPause() {
        if (watchLeft_ == 0ms)
            return play();
        std::istringstream events(takeTrace());
        for (std::string event; std::getline(events, event);)
            if (!event.starts_with("release") && !event.starts_with("audio"))
                seen_ += std::to_string(watched_ / 1ms) + " ms: " + event + "\n";
        if (callbackEvery_ > 0 && watched_ / 1ms % callbackEvery_ == 0)
            callBack({}, 2048);
        watched_ += 100ms;
        fakeClock.steady += 99ms;  // and the pause's own
        if ((watchLeft_ -= 100ms) == 0ms)
            trace = seen_;
    }

    // A stream's callback on a thread of its own; what is played is noted as runs of codes.
    static void callBack(const std::vector<int16_t>& captured, size_t frames) {
        std::vector<int16_t> sound = captured;
        sound.resize(frames, captured.empty() ? int16_t{0x5555} : captured.back());
        FakeStream& stream = fakePortAudio.streams.back();
        int result = paContinue;
        std::thread([&] {
            result = stream.isInput ? stream.capture(sound) : stream.play(sound);
        }).join();
        EXPECT_EQ(result, paContinue);
        std::string heard;
        for (size_t begin = 0, end = 0; begin < frames && !stream.isInput; begin = end) {
            while (end < frames && sound[end] == sound[begin])
                ++end;
            heard += (sound[begin] == 0 ? " silence"
                                        : " " + std::to_string(linearToUlaw(sound[begin]))) +
                     "*" + std::to_string(end - begin);
        }
        if (!heard.empty())
            note("heard" + heard);
    }
    static void tell(bool accepted) { note(accepted ? "accepted" : "refused"); }
    static FakeStream& stream(Arguments& in) {
        return fakePortAudio.streams.at(static_cast<size_t>(number(in)));
    }

    const std::map<std::string, std::function<void(Arguments&)>> commands_{
        // The worker: start, a pass (or the pauses of MS milliseconds, a tenth of a second each,
        // with a callback every so often), stop; the end of a life and the next.
        {"start",
         [this](auto&) {
             fakeClock.onPause = [this] { onPause(); };
             run();
             goingOn_ = true;
         }},
        {"pass", [this](auto&) { goingOn_ = false; }},
        {"watch",
         [this](auto& in) {
             watchLeft_ = std::chrono::milliseconds(number(in));
             callbackEvery_ = number(in);
             watched_ = 0ms;
             seen_.clear();
             goingOn_ = false;
         }},
        {"stop",
         [this](auto&) {
             Close();
             goingOn_ = false;
         }},
        {"open", [](auto&) { EXPECT_EQ(Open(), 0); }},
        {"records", [](auto&) { showsRecords = true; }},
        {"write_null",
         [](auto&) {
             WriteRecord null{};
             null.targetId = Channel0 + 1;
             null.type = TypeAudio;
             WriteResult untouched{};
             Write(&null, &untouched);
             tell(untouched.accepted != 0);
         }},
        {"unload", [](auto&) { Unload(); }},
        {"load", [this](auto&) { Load(&hostTable_, &moduleInfo_); }},
        {"clock",
         [](auto& in) {
             fakeClock.wallSeconds = number(in);
             fakeClock.wallMicroseconds = number(in);
         }},

        // The host: threshold of its log, answer to documents and audio; what it sends.
        {"threshold", [](auto& in) { threshold = static_cast<int32_t>(number(in)); }},
        {"answer", [](auto& in) { answer = static_cast<int32_t>(number(in)); }},
        {"configure", [](auto& in) { tell(configure(rest(in))); }},
        {"enable",
         [](auto& in) {
             const std::string channel = word(in);
             tell(enable(channel, word(in)));
         }},
        {"ioctl",
         [](auto& in) {
             const auto code = static_cast<int32_t>(number(in));
             const std::string buffer = word(in);
             tell(ioctl(buffer, rest(in), code));
         }},
        // NAME CODE COUNT TARGET TYPE: a block of equal codes
        {"write",
         [](auto& in) {
             const std::string buffer = word(in);
             const auto code = static_cast<uint8_t>(number(in, 1));
             const auto count = static_cast<size_t>(number(in, 2048));
             const int64_t target = number(in, Channel0 + 1);
             tell(write(buffer, std::vector<uint8_t>(count, code), target,
                        static_cast<uint64_t>(number(in, TypeAudio))));
         }},
        {"document", [](auto&) { note(document); }},
        {"channels", [](auto&) { note(describeChannels()); }},

        // The settings file: written, shown.
        {"settings", [](auto& in) { std::ofstream("tamborin.xml") << rest(in); }},
        {"file", [](auto&) { trace += fileContent("tamborin.xml"); }},

        // PortAudio: its devices and errors; callbacks of the last stream opened.
        {"device",
         [](auto& in) {
             fakePortAudio.addDevice(keep(word(in)));
             PaDeviceInfo& device = fakePortAudio.devices.back();
             device.hostApi = static_cast<int>(number(in, 0));
             device.maxInputChannels = static_cast<int>(number(in, 1));
             device.maxOutputChannels = static_cast<int>(number(in, 1));
         }},
        {"host_api",
         [](auto& in) {
             fakePortAudio.hostApis.push_back({1, paALSA, keep(word(in)), 0, 0, 0});
             fakePortAudio.hostApis.back().defaultInputDevice = static_cast<int>(number(in));
             fakePortAudio.hostApis.back().defaultOutputDevice = static_cast<int>(number(in));
             fakePortAudio.defaultHostApi = static_cast<int>(number(in));
         }},
        {"errors",
         [](auto& in) {
             for (PaError* error : {&fakePortAudio.initialize, &fakePortAudio.open,
                                    &fakePortAudio.start, &fakePortAudio.deviceCountError})
                 *error = static_cast<PaError>(number(in));
         }},
        {"format",
         [](auto& in) {
             const int device = static_cast<int>(number(in));
             fakePortAudio.formatErrors[{device, true}] = static_cast<PaError>(number(in));
         }},
        {"stream",
         [](auto& in) {
             FakeStream& changed = stream(in);
             changed.active = static_cast<PaError>(number(in));
         }},
        {"latency", [](auto& in) { fakePortAudio.streamInfo.inputLatency = std::stod(word(in)); }},
        {"capture", [](auto& in) { callBack({static_cast<int16_t>(number(in))}, 2048); }},
        {"play", [](auto&) { callBack({}, 2048); }},
        {"no_buffers",
         [](auto&) {
             const FakeStream& stream = fakePortAudio.streams.back();
             EXPECT_EQ(stream.callback(nullptr, nullptr, 2048, nullptr, 0, stream.userData),
                       paAbort);
         }},
        {"capture_while_closing",
         [](auto&) { fakePortAudio.whileClosing = [](FakeStream&) { callBack({100}, 2048); }; }},
        {"slow_start",
         [](auto& in) {
             fakePortAudio.whileStarting = [time = number(in)](FakeStream&) {
                 fakeClock.steady += std::chrono::milliseconds(time);
             };
         }},
        {"play_when_started",
         [](auto&) { fakePortAudio.whileStarting = [](FakeStream&) { callBack({}, 2048); }; }},

        // ALSA: a card (error of its name, its name, the step that fails), its elements
        // (FIELD=VALUE,
        // as _snd_mixer_elem has them), what the host's doctor foresees, the walk by itself.
        {"no_cards", [](auto&) { fakeCards.clear(); }},
        {"card",
         [](auto& in) {
             FakeCard card;
             card.nameError = static_cast<int>(number(in));
             card.name = keep(word(in));
             card.failingStep = word(in);
             fakeCards.push_back(card);
         }},
        {"element", [](auto& in) { fakeCards.back().elements.push_back(element(in)); }},
        {"doctor",
         [](auto&) {
             for (const Finding& finding : examineCards())
                 note((finding.verdict == Finding::Verdict::Wrong ? "WRONG" : "") + finding.what);
         }},
        {"mixers", [](auto&) { note(configureCaptureMixers() ? "true" : "false"); }},
    };

    static std::string describeChannels();
    static _snd_mixer_elem element(Arguments& in);

    const std::string name_;
    std::ifstream lines_;
    std::string command_ = "the beginning";
    bool goingOn_ = true;
    std::chrono::milliseconds watchLeft_{};
    std::chrono::milliseconds watched_{};
    int64_t callbackEvery_ = 0;
    std::string seen_;
};

// The channels of the last document, a line each.
std::string Transcript::describeChannels() {
    TiXmlDocument parsed;
    parsed.Parse(document.c_str());
    std::string lines = "channels";
    TiXmlHandle audio = TiXmlHandle(&parsed)
                            .FirstChild("Varo")
                            .FirstChild("Devices")
                            .FirstChild("Device")
                            .FirstChild("Audio");
    for (const TiXmlElement* e = audio.FirstChild("Input").ToElement(); e != nullptr;
         e = e->NextSiblingElement())
        lines += std::string("\n") + e->Attribute("Number") + " " + e->Attribute("Name") + " @" +
                 e->Attribute("OsName") + (e->Attribute("Output") != nullptr ? " out" : "") +
                 (e->Attribute("Missing") != nullptr ? " missing" : "");
    return lines;
}

_snd_mixer_elem Transcript::element(Arguments& in) {
    _snd_mixer_elem made;
    for (std::string field = word(in); !field.empty(); field = word(in)) {
        const std::string key = field.substr(0, field.find('='));
        const std::string value = field.substr(key.size() + 1);
        if (key == "name")
            made.name = keep(value);
        else if (key == "item")
            made.items.push_back(keep(value));
        else
            made.values[key] = std::stol(value, nullptr, 0);
    }
    return made;
}

const bool registered = [] {
    for (const auto& entry : std::filesystem::directory_iterator(TRANSCRIPTS))
        testing::RegisterTest(
            "Transcript", entry.path().stem().c_str(), nullptr, nullptr, __FILE__, __LINE__,
            [file = entry.path()]() -> ModuleTest* { return new Transcript(file); });
    return true;
}();

}  // namespace
