// How the reference host reads what the module tells: log lines, events, documents.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <tuple>

#include "host/session/documents.h"
#include "host/session/log_lines.h"
#include "host/session/module_events.h"

namespace {

TEST(HostSession, EventsAreThoseOfTheModule) {
    ModuleEvents events;
    for (const char* line : {"Input stream 7 timed out", "Restarting output stream 8",
                             "Input stream 7 timed out", "Started input stream 'x'"})
        events.hearLog(line);
    EXPECT_EQ(events.restarts(7), 2U);
    EXPECT_EQ(events.restarts(8), 1U);
    const auto statusDocument = [](bool isAlarmed) {
        return "<Varo><Devices ID='1310720'><Device Fail='" + std::to_string(isAlarmed ? 1 : 0) +
               "'/></Devices></Varo>";
    };
    for (const bool isAlarmed : {true, false}) {
        events.hearDocument(statusDocument(isAlarmed), KindModuleDocument);
        EXPECT_NE(events.isAlarmed(), isAlarmed) << "another document's kind";
        events.hearDocument(statusDocument(isAlarmed), KindStatusDocument);
        EXPECT_EQ(events.isAlarmed(), isAlarmed);
    }
    EXPECT_EQ(events.all().size(), 5U);
}

TEST(HostSession, DescriptionsAreReadFromOurElement) {
    const std::string others =
        "<Devices ID='1' BufferLength='9'><Device><Audio><Input Number='5'/>"
        "</Audio></Device></Devices>";
    Description description;
    for (const char* none : {"", "<Varo>", "<Varo><Devices ID='1310720'/></Varo>"})
        EXPECT_FALSE(parseDescription(none + others, description)) << none;
    ASSERT_TRUE(parseDescription(
        "<Varo>" + others +
            "<Devices ID='1310720' BufferLength='250'><Device><Audio>"
            "<Input Number='0' Name='Door' OsName='pulse'/>"
            "<Input Number='3' Name='Gate' OsName='usb' Output='1' Missing='1'/></Audio><Codec>"
            "<Encoder><AudioChannel Number='3' ID='19' Enabled='1'/><AudioChannel Number='9'/>"
            "<AudioChannel Number='0' ID='16'/></Encoder></Codec></Device></Devices></Varo>",
        description));
    EXPECT_EQ(description.bufferLength, 250);
    const std::vector<ChannelDescription> expected{{0, 16, "Door", "pulse", false, true, false},
                                                   {3, 19, "Gate", "usb", true, false, true}};
    EXPECT_TRUE(std::ranges::equal(description.channels, expected, [](auto& a, auto& b) {
        return std::tie(a.number, a.id, a.name, a.device, a.isOutput, a.hasDevice, a.enabled) ==
               std::tie(b.number, b.id, b.name, b.device, b.isOutput, b.hasDevice, b.enabled);
    }));
}

// The lines are compared with the transcripts, which have the module's own.
TEST(HostSession, LogLinesMeanWhatTheModuleSays) {
    using enum LogFact::Kind;
    const std::string ignored = "PORTAUDIO: Ignore device [", found = "PORTAUDIO: Found ";
    const std::vector<std::pair<std::string, LogFact>> table{
        {"Input stream 1310992 timed out", {StreamRestarted, 1310992}},
        {"Restarting output stream 1310993", {StreamRestarted, 1310993}},
        {found + "input device 0 [default] (default)", {DeviceFound, 0, "default", true, true}},
        {found + "output device 3 [pulse] (not default)", {DeviceFound, 0, "pulse"}},
        {ignored + "Default] that can crash on opening stream.", {DeviceNotAllowed, 0, "Default"}},
        {ignored + "pulse] non-default API [ALSA] - only want default API [JACK].",
         {DeviceOfOtherApi, 0, "pulse"}},
        {ignored + "pulse] - Invalid channels",
         {FormatRefused, 0, "pulse", false, false, "Invalid channels"}},
        {"PORTAUDIO: Failed to get host API info for device [pulse].", {PortAudioFailed}},
        {"Portaudio failed to initialize -9999 (text)", {PortAudioFailed}}};
    std::ostringstream said;
    for (const auto& transcript : std::filesystem::directory_iterator(TRANSCRIPTS))
        said << std::ifstream(transcript.path()).rdbuf();
    for (const auto& [line, fact] : table) {
        EXPECT_NE(said.str().find(" " + line + "\n"), std::string::npos) << "not said: " << line;
        EXPECT_EQ(understandLogLine(line), fact) << line;
    }
}

}  // namespace
