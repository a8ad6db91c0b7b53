// Documents: what they change, and the order of everything that follows.
#include <tinyxml.h>

#include "fake_alsa.h"
#include "module_test.h"

namespace {

class Configuration : public ModuleTest {
  protected:
    // The description of a channel that a document or a device made, as the module prints it.
    static std::string input(const std::string& attributes) {
        return "<Input " + attributes +
               "><Schedule><Entry FirstHour=\"0\" LastHour=\"167\" Record=\"0\" "
               "/></Schedule></Input>";
    }
    static std::string audioChannel(int number, int enabled, int id) {
        return "<AudioChannel Number=\"" + std::to_string(number) + "\" Enabled=\"" +
               std::to_string(enabled) +
               "\" Standard=\"0\" SampleRate=\"8000\" BufSizeSamples=\"2048\" ID=\"" +
               std::to_string(id) + "\" />";
    }
    static std::string description(
        const std::string& counts, const std::string& inputs, const std::string& channels,
        const std::string& settings = R"(BufferLength="250" ForceOsServices="1")") {
        return R"(<?xml ?><Varo Delta="0"><Devices ID="1310720" )" + settings +
               R"(><Device Number="1" Name="System Audio" Enabled="1"><Audio )" + counts + ">" +
               inputs + R"(</Audio><Codec><Encoder Number="0">)" + channels +
               "</Encoder></Codec></Device></Devices></Varo>";
    }
    static std::string expectedDefaults() {
        return description(
            R"(Inputs="1" Outputs="1")",
            input(
                R"x(Number="0" Name="default (input)" OsName="default" PortAudioName="default")x") +
                input(R"x(Number="1" Name="default (output)" OsName="default" )x"
                      R"(PortAudioName="default" Output="1")"),
            audioChannel(0, 0, 1310992) + audioChannel(1, 0, 1310993));
    }
};

TEST_F(Configuration, FirstStartWithoutSettings) {
    fakePortAudio.addDevice("default");
    run({});
    EXPECT_EQ(takeTrace(), R"(25 Starting worker thread.
25 Portaudio version 1246720 'PortAudio of the test'
Pa_Initialize
25 Portaudio initialized.
25 PORTAUDIO: Found input device 0 [default] (default)
25 PORTAUDIO: Found output device 1 [default] (default)
document 256
)");
    EXPECT_EQ(document, expectedDefaults());
    EXPECT_EQ(settings().substr(0, 138), R"(<?xml ?>
<Varo Delta="0">
    <Devices ID="1310720" BufferLength="250" ForceOsServices="1">
        <Device Number="1" Name="System Audio")");
    Unload();
    EXPECT_EQ(takeTrace(), "Pa_Terminate\n");
    Load(&hostTable_, &moduleInfo_);
    run({});
    EXPECT_EQ(document, expectedDefaults());  // the file gives back what it was told
}

TEST_F(Configuration, PortAudioFailsToInitialize) {
    fakePortAudio.initialize = -9999;
    saveSettings(ours("<Device><Audio><Input Number=\"0\"/></Audio></Device>"));
    run({[] {}});
    EXPECT_EQ(takeTrace(), R"(25 Starting worker thread.
25 Portaudio version 1246720 'PortAudio of the test'
Pa_Initialize
75 Portaudio failed to initialize -9999 (text)
document 256
50 Emitting audio device status = alarmed.
document 4
)");
    EXPECT_EQ(document, R"(<?xml ?><Varo><Devices ID="1310720"><Device Number="1" )"
                        R"(Time="1763300000" Fail="1" /></Devices></Varo>)");
    Unload();
    EXPECT_EQ(takeTrace(), "");
}

// What a settings file makes of the devices default and pulse, each in both directions: every
// channel's number, name, device and direction.
TEST_F(Configuration, SettingsFileBindsDevices) {
    struct Case {
        const char* inputs;
        const char* channels;
    };
    const std::vector<Case> cases{
        {"",
         "0 default (input) @default; 1 default (output) @default out; 2 pulse (input) @pulse; "
         "3 pulse (output) @pulse out; "},
        {R"(<Input Number="0" OsName="pulse" Name="Door"/>)",
         "0 Door @pulse; 1 default (input) @default; 2 default (output) @default out; "
         "3 pulse (output) @pulse out; "},
        {R"(<Input Number="3" Output="1"/><Input Number="1"/>)",  // by number, direction agreeing
         "1 Audio Input 2 @ missing; 3 Audio Output 4 @pulse out; 4 default (input) @default; "
         "5 default (output) @default out; 6 pulse (input) @pulse; "},
        {R"(<Input Number="7" OsName="Pulse"/><Input Number="8" OsName="pulse" Output="2"/>)"
         R"(<Input Number="9" OsName="pulse" Output="1"/>)",  // a device serves two channels
         "7 Audio Input 8 @Pulse missing; 8 Audio Output 9 @pulse out; 9 Audio Output 10 @pulse "
         "out; 10 default (input) @default; 11 default (output) @default out; 12 pulse (input) "
         "@pulse; "},
        {R"(<Input Number="-1" OsName="pulse"/><Input OsName="pulse"/><Input Number="x"/>)",
         "0 default (input) @default; 1 default (output) @default out; 2 pulse (input) @pulse; "
         "3 pulse (output) @pulse out; "},
        // Numbers end at the largest integer and begin again at 0; IDs repeat every 256.
        {R"(<Input Number="2147483647" Name="Last"/>)",
         "2147483647 Last @ missing; 0 default (input) @default; 1 default (output) @default out; "
         "2 pulse (input) @pulse; 3 pulse (output) @pulse out; "},
        {R"(<Input Number="255" Name="A"/><Input Number="-9"/><Input Number="511" Name="B"/>)",
         "255 B @ missing; 512 default (input) @default; 513 default (output) @default out; "
         "514 pulse (input) @pulse; 515 pulse (output) @pulse out; "},
    };
    fakePortAudio.addDevice("default");
    fakePortAudio.addDevice("pulse");
    for (const Case& c : cases) {
        saveSettings(ours("<Device><Audio>" + std::string(c.inputs) + "</Audio></Device>"));
        run({});
        TiXmlDocument parsed;
        parsed.Parse(document.c_str());
        const TiXmlHandle audio =
            TiXmlHandle(&parsed).FirstChild("Varo").FirstChild("Devices").FirstChild("Device");
        std::string channels;
        for (const TiXmlElement* e = audio.FirstChild("Audio").FirstChildElement("Input").Element();
             e != nullptr; e = e->NextSiblingElement())
            channels += std::string(e->Attribute("Number")) + " " + e->Attribute("Name") + " @" +
                        e->Attribute("OsName") + (e->Attribute("Output") ? " out" : "") +
                        (e->Attribute("Missing") ? " missing" : "") + "; ";
        EXPECT_EQ(channels, c.channels) << c.inputs;
        Unload();
        Load(&hostTable_, &moduleInfo_);
    }
}

// One document after another on a running module with one device; what each one causes.
TEST_F(Configuration, HostDocuments) {
    struct Case {
        std::string xml;
        std::string effect;
    };
    const std::string answered = "document 256\n";
    const std::string started =
        "Pa_OpenStream input 0\nPa_StartStream\n25 Started input stream 'Door'\n";
    const std::vector<Case> cases{
        {"", ""},  // refused
        {"no document", ""},
        {"<Varo><Devices ID=\"7\" BufferLength=\"1\"/></Varo>", ""},
        {"<Varo><Devices ID=\"7\"/><Devices ID=\"1310720xyz\"/><Devices ID=\"1310720\"/></Varo>",
         answered},
        {ours("<Device><Audio><Input Number=\"0\" Name=\"Door\" Output=\"1\" OsName=\"later\">"
              "<Schedule><!--kept--><Entry x=\"1\">t</Entry></Schedule><Schedule/></Input>"),
         answered},  // breaks off, and is used as far as it goes
        {enabling("0", "1"), started + answered},
        {enabling("256", "2abc"), answered},  // the same channel; already running
        {enabling("1", "1"), answered},       // outputs start with their audio
        {enabling("5", "1", "<Input Number=\"5\"/>"),
         "75 Failed to start input stream 'Audio Input 6' - device missing.\n" + answered +
             "50 Emitting audio device status = alarmed.\ndocument 4\n"},
        {enabling("6", "1"),  // no such channel; the missing one is reported once a document
         "75 Failed to start input stream 'Audio Input 6' - device missing.\n" + answered},
        {enabling("0", "x"),
         "75 Failed to start input stream 'Audio Input 6' - device missing.\n" + answered},
        {enabling("5", "0"), answered + "50 Emitting audio device status = ok.\ndocument 4\n"},
        {enabling("0", "-1"), "Pa_CloseStream\n25 Closed input stream 'Door'\n" + answered},
    };
    fakePortAudio.addDevice("default");
    std::vector<Step> steps;
    for (const Case& c : cases) {
        steps.push_back([&] {
            takeTrace();
            configure(c.xml);
        });
        steps.push_back([&] {
            std::string effect = takeTrace();
            if (const size_t at = effect.find("release document\n"); at != std::string::npos)
                effect.erase(at, 17);
            EXPECT_EQ(effect, c.effect) << c.xml;
        });
    }
    run(steps);
    EXPECT_EQ(document,
              description(R"(Inputs="2" Outputs="1")",
                          R"(<Input Number="0" Name="Door" OsName="later" PortAudioName="default">)"
                          R"(<Schedule><!--kept--><Entry x="1">t</Entry></Schedule></Input>)" +
                              input(R"x(Number="1" Name="default (output)" OsName="default" )x"
                                    R"(PortAudioName="default" Output="1")") +
                              input(R"(Number="5" Name="Audio Input 6" OsName="" PortAudioName="" )"
                                    R"(Missing="1")"),
                          audioChannel(0, 0, 1310992) + audioChannel(1, 1, 1310993) +
                              audioChannel(5, 0, 1310997)));
}

TEST_F(Configuration, FailedMixersDisableEveryInput) {
    fakePortAudio.addDevice("default");
    fakePortAudio.addDevice("pulse");
    run({[] { configure(enabling("0", "1")); },
         [] {
             takeTrace();
             fakeCards.push_back({.elements = {{.left = 0, .enableError = -5}}});
             configure(enabling("0", "1"));  // already enabled: the mixers are left alone
         },
         [] {
             EXPECT_EQ(takeTrace(), "document 256\nrelease document\n");
             fakePortAudio.streams[0].capture(std::vector<int16_t>(2048));  // is dropped
             configure(enabling("2", "1"));
         },
         [] {
             fakeCards.clear();
             configure(enabling("0", "1"));
         }});
    const std::string effects = takeTrace();
    const size_t reenabled = effects.find("Pa_OpenStream");
    EXPECT_EQ(effects.substr(reenabled).find("audio"), std::string::npos);
    EXPECT_EQ(effects.substr(0, reenabled), R"(25 ALSA: detected hw:0 [PCH]
0 ALSA: hw:0 [PCH] query mixers.
25 ALSA: hw:0 [PCH] mixer 0 [Capture] curr settings = disabled vmin 0 vmax 31 vol 5
set switch 1
75 ALSA: hw:0 [PCH] mixer 0 [Capture] failed to enable (error -5)
75 Force-disable input 'default (input)' because mixer config failed.
Pa_CloseStream
25 Closed input stream 'default (input)'
75 Force-disable input 'pulse (input)' because mixer config failed.
document 256
release document
)");
    EXPECT_EQ(document.find("<AudioChannel Number=\"2\" Enabled=\"1\""), std::string::npos);
}

TEST_F(Configuration, SettingsAreReadAndWrittenBack) {
    struct Case {
        const char* read;
        const char* written;
    };
    for (const Case& c :
         std::initializer_list<Case>{{R"(BufferLength="5000" ForceOsServices="0")",
                                      R"(BufferLength="2000" ForceOsServices="0")"},
                                     {R"(BufferLength="2001" ForceOsServices="5")",
                                      R"(BufferLength="2000" ForceOsServices="1")"},
                                     {R"(BufferLength="-3" ForceOsServices="no")",
                                      R"(BufferLength="-3" ForceOsServices="1")"},
                                     {"", R"(BufferLength="250" ForceOsServices="1")"}}) {
        saveSettings(ours("", c.read));
        run({});
        EXPECT_EQ(document, "<?xml ?><Varo Delta=\"0\"><Devices ID=\"1310720\" " +
                                std::string(c.written) + " /></Varo>");
        Unload();
        Load(&hostTable_, &moduleInfo_);
    }
}

// Found with a document in hand that ends inside a character, and with one that holds zero bytes.
TEST_F(Configuration, TextsThatEndOddly) {
    for (const std::string& text :
         {std::string("<Varo Name=\"R\xC3"), std::string("<a\0b>", 5), std::string("\xEF"),
          std::string("<!DOCTYPE"), std::string("<![CDATA["),
          std::string("<Varo a='&#xFFFFFFFF;'>")})
        EXPECT_TRUE(configure(text));
    run({[] {}});
}

}  // namespace
