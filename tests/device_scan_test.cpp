// Which devices the module dares to use, and what it says of the others.
#include "module_test.h"

namespace {

TEST_F(ModuleTest, DeviceScan) {
    fakePortAudio.hostApis = {{1, paJACK, "JACK", 0, -1, -1},
                              {1, paALSA, "ALSA", 0, 5, 2},
                              {1, paOSS, nullptr, 0, -1, -1}};
    fakePortAudio.defaultHostApi = 1;
    const auto add = [](const char* name, int hostApi, int inputs, int outputs) {
        fakePortAudio.addDevice(name);
        fakePortAudio.devices.back().hostApi = hostApi;
        fakePortAudio.devices.back().maxInputChannels = inputs;
        fakePortAudio.devices.back().maxOutputChannels = outputs;
    };
    add(nullptr, 1, 1, 1);
    add("Default", 1, 1, 1);
    add("default", 1, 2, 2);
    add("pulse", 0, 1, 1);
    add("pulse", 2, 1, 1);
    add("default", 1, 1, 0);
    add("pulse", 9, 1, 1);
    add("pulse", 1, 1, 1);
    fakePortAudio.formatErrors[{7, true}] = -9998;
    run({});
    const std::string scan = takeTrace();
    const size_t begin = scan.find("25 PORTAUDIO");
    EXPECT_EQ(scan.substr(begin, scan.find("document") - begin),
              R"(25 PORTAUDIO: Ignore device [Default] that can crash on opening stream.
25 PORTAUDIO: Found input device 0 [default] (not default)
25 PORTAUDIO: Found output device 1 [default] (default)
25 PORTAUDIO: Ignore device [pulse] non-default API [JACK] - only want default API [ALSA].
25 PORTAUDIO: Ignore device [pulse] non-default API [UNKNOWN] - only want default API [ALSA].
25 PORTAUDIO: Found input device 2 [default] (default)
50 PORTAUDIO: Failed to get host API info for device [pulse].
25 PORTAUDIO: Ignore device [pulse] - Invalid channels
25 PORTAUDIO: Found output device 3 [pulse] (not default)
)");
    Unload();
    Load(&hostTable_, &moduleInfo_);
    fakePortAudio.deviceCountError = paNotInitialized;
    std::filesystem::remove("tamborin.xml");
    takeTrace();
    run({});
    EXPECT_EQ(takeTrace().find("PORTAUDIO:"), std::string::npos);
    EXPECT_EQ(document.find("<Device "), std::string::npos);
    Unload();
    Load(&hostTable_, &moduleInfo_);
    fakePortAudio.initialize = paInternalError;
    run({[] {}});
    EXPECT_EQ(takeTrace().find("Emitting"), std::string::npos);  // no channel, no status
}

}  // namespace
