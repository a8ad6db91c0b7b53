#include "transcript_commands.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <set>
#include <thread>

#include "audio/ulaw.h"
#include "devices/capture_mixers.h"
#include "fake_alsa.h"
#include "host/doctor/examinations.h"
#include "module_test.h"

using namespace std::chrono_literals;

namespace {

FakePortAudio& audio = fakePortAudio;

int64_t toNumber(const std::string& text) {
    return text.starts_with("ch") ? Channel0 + std::stoll(text.substr(2))
                                  : std::stoll(text, nullptr, 0);
}

// Keeps a text for structures that only hold a pointer to it. Returns null for "null".
const char* keep(const std::string& text) {
    static std::set<std::string> kept;
    return text == "null" ? nullptr : kept.insert(text).first->c_str();
}

void tell(bool accepted) { note(accepted ? "accepted" : "refused"); }

void enable(Arguments& in, const std::string& enabled) {
    const std::string channel = in.word();
    tell(ModuleTest::enable(channel, in.value("value", enabled)));
}

// Returns the channels of the last document, one in each line.
std::string describeChannels() {
    TiXmlDocument parsed;
    parsed.Parse(ModuleTest::document.c_str());
    TiXmlHandle device =
        TiXmlHandle(&parsed).FirstChild("Varo").FirstChild("Devices").FirstChild("Device");
    std::string lines = "channels";
    for (const TiXmlElement* e = device.FirstChild("Audio").FirstChild("Input").ToElement();
         e != nullptr; e = e->NextSiblingElement())
        lines += std::string("\n") + e->Attribute("Number") + " " + e->Attribute("Name") + " @" +
                 e->Attribute("OsName") + (e->Attribute("Output") != nullptr ? " out" : "") +
                 (e->Attribute("Missing") != nullptr ? " missing" : "");
    return lines;
}

_snd_mixer_elem element(Arguments& in) {
    _snd_mixer_elem made;
    for (const auto& [field, value] : in.values()) {
        if (field == "name")
            made.name = keep(value);
        else if (field == "item")
            made.items.push_back(keep(value));
        else
            made.values[field] = toNumber(value);
    }
    return made;
}

void writeWhileAsked() {
    whileAsked = [] {
        whileAsked = [] {};
        const auto written = std::make_shared<std::promise<void>>();
        std::thread([written] {
            ModuleTest::write("asked", std::vector<uint8_t>(2048, 1), Channel0 + 1, TypeAudio);
            written->set_value();
        }).detach();
        if (written->get_future().wait_for(60s) != std::future_status::ready)
            note("Write waits");
    };
}

}  // namespace

std::string Arguments::word() {
    std::string word;
    line_ >> word;
    return word;
}
std::string Arguments::text() {
    std::string text;
    std::getline(line_ >> std::ws, text);
    return text;
}
std::vector<std::pair<std::string, std::string>> Arguments::values() {
    for (std::string next = word(); !next.empty(); next = word()) {
        const size_t split = next.find('=');
        EXPECT_NE(split, std::string::npos) << next;
        values_.emplace_back(next.substr(0, split), next.substr(split + 1));
    }
    return std::exchange(values_, {});
}
std::string Arguments::value(const std::string& name, const std::string& otherwise) {
    values_ = values();
    const auto found =
        std::ranges::find(values_, name, [](const auto& pair) { return pair.first; });
    if (found == values_.end())
        return otherwise;
    const std::string value = found->second;
    values_.erase(found);
    return value;
}
int64_t Arguments::number(const std::string& name, int64_t otherwise) {
    const std::string text = value(name);
    return text.empty() ? otherwise : toNumber(text);
}
void Arguments::finish() {
    for (const auto& [name, value] : values())
        ADD_FAILURE() << "nobody knows " << name << "=" << value;
}

void callBack(int16_t samples) {
    std::vector<int16_t> sound(2048, samples);
    FakeStream& stream = fakePortAudio.streams.back();
    int result = paContinue;
    std::thread([&] {
        result = stream.isInput ? stream.capture(sound) : stream.play(sound);
    }).join();
    EXPECT_EQ(result, paContinue);
    if (stream.isInput)
        return;
    std::string heard;
    for (auto begin = sound.begin(); begin != sound.end();) {
        const auto end = std::find_if(begin, sound.end(), [&](int16_t s) { return s != *begin; });
        heard += (*begin == 0 ? " silence" : " " + std::to_string(linearToUlaw(*begin))) + "*" +
                 std::to_string(end - begin);
        begin = end;
    }
    note("heard" + heard);
}

// tests/transcripts/README.txt describes these commands.
std::map<std::string, Command> commandsOfTheWorld() {
    using Test = ModuleTest;
    return {
        {"load", [](auto&) { EXPECT_EQ(Test::load(), 0); }},
        {"open", [](auto&) { EXPECT_EQ(Open(), 0); }},
        {"unload", [](auto&) { EXPECT_EQ(Unload(), 0); }},
        {"threshold", [](auto& in) { Test::threshold = levelNamed(in.word()); }},
        {"answer", [](auto& in) { Test::answer = std::stoi(in.word()); }},
        {"close_at", [](auto& in) { Test::closingText = in.text(); }},
        {"configure", [](auto& in) { tell(Test::configure(in.text())); }},
        {"enable", [](auto& in) { enable(in, "1"); }},
        {"disable", [](auto& in) { enable(in, "0"); }},
        {"ioctl",
         [](auto& in) {
             const int32_t code = std::stoi(in.word());
             const std::string buffer = in.word();
             tell(Test::ioctl(buffer, in.text(), code));
         }},
        {"write",
         [](auto& in) {
             const std::string buffer = in.word();
             const std::vector<uint8_t> codes(static_cast<size_t>(in.number("count", 2048)),
                                              static_cast<uint8_t>(in.number("code", 1)));
             const int64_t target = in.number("to", Channel0 + 1);
             tell(Test::write(buffer, codes, target,
                              static_cast<uint64_t>(in.number("type", TypeAudio))));
         }},
        {"write_null", [](auto&) { tell(Test::writeNull()); }},
        {"records", [](auto&) { Test::showsRecords = true; }},
        {"document", [](auto&) { note(Test::document); }},
        {"channels", [](auto&) { note(describeChannels()); }},
        {"settings", [](auto& in) { std::ofstream("tamborin.xml") << in.text(); }},
        {"file", [](auto&) { trace += fileContent("tamborin.xml"); }},
        {"clock",
         [](auto& in) {
             fakeClock.wallSeconds = toNumber(in.word());
             fakeClock.wallMicroseconds = in.number("microseconds");
         }},
        {"device",
         [](auto& in) {
             const std::string name = in.word();
             audio.addDevice(name == "without_info" ? WithoutInfo : keep(name));
             PaDeviceInfo& device = audio.devices.back();
             device.hostApi = static_cast<int>(in.number("host_api"));
             device.maxInputChannels = static_cast<int>(in.number("in", 1));
             device.maxOutputChannels = static_cast<int>(in.number("out", 1));
         }},
        {"host_api",
         [](auto& in) {
             const std::string name = in.word();
             audio.hostApis.push_back({1, name == "JACK" ? paJACK : paALSA, keep(name), 0,
                                       static_cast<int>(in.number("default_in")),
                                       static_cast<int>(in.number("default_out"))});
             audio.defaultHostApi = static_cast<int>(in.number("default_api"));
         }},
        {"errors",
         [](auto& in) {
             audio.initialize = static_cast<PaError>(in.number("initialize"));
             audio.deviceCountError = static_cast<PaError>(in.number("count"));
             audio.openResult = static_cast<PaError>(in.number("open"));
             audio.startResult = static_cast<PaError>(in.number("start"));
         }},
        {"format",
         [](auto& in) {
             const int device = std::stoi(in.word());
             audio.formatErrors[{device, true}] = static_cast<PaError>(in.number("in"));
             audio.formatErrors[{device, false}] = static_cast<PaError>(in.number("out"));
         }},
        {"stream",
         [](auto& in) {
             const size_t index = std::stoul(in.word());
             audio.streams.at(index).active = in.word() == "forgotten" ? paBadStreamPtr : 0;
         }},
        {"latency", [](auto& in) { audio.streamInfo.inputLatency = std::stod(in.word()); }},
        {"capture", [](auto& in) { callBack(static_cast<int16_t>(std::stoi(in.word()))); }},
        {"play", [](auto&) { callBack(); }},
        {"no_buffers",
         [](auto&) {
             const FakeStream& stream = audio.streams.back();
             EXPECT_EQ(stream.callback(nullptr, nullptr, 2048, nullptr, 0, stream.userData),
                       paAbort);
         }},
        {"capture_while_closing",
         [](auto&) { audio.whileClosing = [](FakeStream&) { callBack(100); }; }},
        {"capture_while_sending",
         [](auto& in) {
             Test::whileSending = [left = std::stoi(in.word())]() mutable {
                 if (left-- > 0)
                     callBack(100);
             };
         }},
        {"play_when_started", [](auto&) { audio.whileStarting = [](FakeStream&) { callBack(); }; }},
        {"slow_start",
         [](auto& in) {
             audio.whileStarting = [time = std::stoi(in.word())](FakeStream&) {
                 fakeClock.steady += std::chrono::milliseconds(time);
             };
         }},
        {"pcm", [](auto& in) { fakePcmError = static_cast<int>(in.number("error")); }},
        {"write_while_asked", [](auto&) { writeWhileAsked(); }},
        {"no_cards", [](auto&) { fakeCards.clear(); }},
        {"card",
         [](auto& in) {
             FakeCard card;
             card.name = keep(in.word());
             card.nameError = static_cast<int>(in.number("name_error"));
             card.failingStep = in.value("fails");
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
}
