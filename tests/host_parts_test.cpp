// Parts of the reference host, in situations that a whole run cannot produce at will.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <future>
#include <iterator>
#include <set>
#include <sndfile.hh>

#include "audio/ulaw.h"
#include "host/doctor/examinations.h"
#include "host/sound/clip.h"
#include "host/sound/clip_search.h"
#include "host/sound/recorder.h"
#include "host/system/folders.h"
#include "host/terminal/bounded_writer.h"

namespace {

// Runs each test in a folder of its own.
class HostParts : public testing::Test {
  protected:
    ~HostParts() override { std::filesystem::remove_all(folder_); }

    char name_[32] = "/tmp/tamborin-parts-XXXXXX";
    const std::filesystem::path folder_ = mkdtemp(name_);
};

TEST_F(HostParts, RecordingsAreWholeHoweverTheClockIsSet) {
    constexpr int64_t Hour = 3'600'000;
    constexpr int64_t Lost = 5000;  // ms, once
    ChannelDescription channel;
    channel.id = 7;
    const std::vector<uint8_t> frame(2048, 0xFF);
    for (const int64_t step : {int64_t{0}, Hour, -Hour}) {
        Recorder recorder({channel}, folder_, 0, Hour);
        int64_t arrival = 2 * Hour;
        for (int i = 0; i < 60; ++i) {
            arrival += 256 + (i == 40 ? Lost : 0);
            recorder.onFrame({7, frame, arrival + (i < 20 ? 0 : step)}, arrival);
        }
        recorder.finish(arrival);
        const Outline outline = recorder.outlines().front();
        ASSERT_EQ(outline.gaps.size(), 1U) << step;
        EXPECT_EQ(outline.gaps[0].end - outline.gaps[0].begin, Lost);
        const auto drawn = static_cast<int64_t>(outline.envelope.buckets().size()) *
                           outline.envelope.bucketWidth() * 1000 / SampleRate;
        EXPECT_NEAR(static_cast<double>(drawn), Hour + 60 * 256 + Lost, 1000);
        EXPECT_EQ(readCodes(recorder.recordings().front().firstFile).size(), 60 * frame.size());
    }
}

// No sample is lost by rotation, by the size limit of a WAV file, or when a name is already used.
TEST_F(HostParts, FilesRotateWithoutLoss) {
    struct Case {
        uint64_t perFile, mostPerFile, files;
    };
    std::vector<uint8_t> sound(80'000);
    for (size_t i = 0; i < sound.size(); ++i)
        sound[i] = static_cast<uint8_t>(i % 251);
    for (const Case& row : {Case{0, WavFiles::MostSamplesPerFile, 1}, Case{0, 30'000, 3},
                            Case{9000, 30'000, 9}, Case{50'000, 20'000, 4}}) {
        const std::filesystem::path folder = folder_ / std::to_string(row.files);
        create_directory(folder);
        const auto record = [&](std::span<const uint8_t> codes) {
            WavFiles files(folder, 3, row.perFile, row.mostPerFile);
            for (size_t i = 0; i < codes.size(); i += 2000)
                files.append(codes.subspan(i, 2000), static_cast<int64_t>(i) / 8);
            EXPECT_EQ(files.files(), row.files);
        };
        record(sound);
        const std::filesystem::directory_iterator inFolder(folder);
        const std::set<std::filesystem::path> names(inFolder, {});  // ordered by time
        record(std::vector<uint8_t>(sound.size()));
        std::vector<uint8_t> read;
        for (const std::filesystem::path& name : names)
            std::ranges::copy(readCodes(name), std::back_inserter(read));
        EXPECT_EQ(read, sound);
    }
}

// A full disk leaves files that can be played, and no file without sound.
TEST_F(HostParts, WhatFitsOnAFullDiskCanBePlayed) {
    const std::vector<uint8_t> sound(3000, 0x55);
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    for (const rlim_t room : {20U, 5000U}) {
        WavFiles files(folder_, 3, 0);
        const rlimit limited{room, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
        for (int64_t seconds = 0; seconds < 3; ++seconds)
            files.append(sound, seconds * 1000);
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_NE(files.failure().find("File too large"), std::string::npos) << files.failure();
        const auto kept =
            files.files() == 0 ? std::vector<uint8_t>() : readCodes(files.firstFile());
        EXPECT_EQ(kept, std::vector<uint8_t>(static_cast<size_t>(files.samples()), 0x55));
        EXPECT_GE(kept.size() + 100, room);
        EXPECT_EQ(is_empty(folder_), kept.empty());
    }
}

// Without a free descriptor no file is made, and existing files stay unchanged.
TEST_F(HostParts, ARecordingOfTheSameSecondStays) {
    const std::vector<uint8_t> sound(3000, 0x55);
    WavFiles(folder_, 3, 0).append(sound, 0);
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{3, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    WavFiles files(folder_, 3, 0);
    files.append(sound, 0);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_NE(files.failure().find("Too many open files"), std::string::npos) << files.failure();
    ASSERT_FALSE(is_empty(folder_));
    EXPECT_EQ(readCodes(std::filesystem::directory_iterator(folder_)->path()), sound);
}

// Links that the user names must stay, and be followed as the kernel does.
TEST_F(HostParts, LinksAreFollowedAndKept) {
    create_directories(folder_ / "far/away");
    create_directory_symlink(folder_ / "far/away", folder_ / "door");
    create_symlink("missing", folder_ / "dangling");
    readyFile(folder_ / "dangling", "--picture");
    EXPECT_TRUE(is_symlink(folder_ / "dangling"));
    EXPECT_FALSE(exists(folder_ / "missing"));
    std::filesystem::path beyond = folder_ / "door/../new";
    makeAbsolute(beyond);
    EXPECT_EQ(beyond, canonical(folder_) / "far/new");
    create_symlink("nowhere/missing", folder_ / "lost");
    create_symlink("lost", folder_ / "twice");
    for (const char* link : {"lost", "twice"})
        EXPECT_THROW(readyFile(folder_ / link, "--picture"), std::runtime_error);
    // A path that leads nowhere is kept; its open fails.
    create_symlink("loop", folder_ / "loop");
    std::filesystem::path endless = folder_ / "loop/new";
    makeAbsolute(endless);
    EXPECT_EQ(endless, folder_ / "loop/new");
}

TEST_F(HostParts, TheDoctorSaysWhatToDo) {
    SoundServer hangs;
    SoundServer mute;
    hangs.hangs = mute.isReachable = true;
    Discovery refused;
    refused.log = {"PORTAUDIO: Ignore device [pulse] - Invalid channels", "Portaudio failed "};
    const CardAccess barred{true, {"pcmC0D0p"}, true, false};
    const std::vector<std::pair<Findings, std::vector<std::string>>> table{
        {examineSoundServer(hangs), {"restart it"}},
        {examineSoundServer({}), {"start PulseAudio or PipeWire"}},
        {examineSoundServer(mute), {"", "set-default-source", "set-default-sink"}},
        {examineDevices({}, {}, barred), {"see Permissions", "see Permissions"}},
        {examineDevices(refused, mute, {}), {"free the", "completely", "plugins", "plugins"}},
        {examinePermissions(barred, {}, {}), {"sudo adduser"}}};
    for (const auto& [findings, advices] : table)
        EXPECT_TRUE(std::ranges::equal(findings, advices, [](auto& finding, auto& advice) {
            return finding.advice.find(advice) != std::string::npos;
        })) << findings.front().what;
}

// Nothing waits for a reader that stalls. Accepted texts arrive once it reads again.
TEST_F(HostParts, TextsBeyondTheBoundAreCountedAndNoOthersAreLost) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    constexpr uint64_t Texts = 4000;
    const std::string text(100, 'x');  // `Texts` of these are more than pipe and limit hold
    uint64_t accepted = 0;
    std::future<uint64_t> received;
    {
        BoundedWriter writer(ends[1], 1000, [] { return false; });
        for (uint64_t i = 0; i < Texts; ++i)
            accepted += writer.write(text) ? 1 : 0;
        received = std::async(std::launch::async, [&] {
            std::array<char, 4096> buffer{};
            uint64_t bytes = 0;
            for (ssize_t got = 1; got > 0; bytes += static_cast<uint64_t>(got))
                got = read(ends[0], buffer.data(), buffer.size());
            return bytes;
        });
        writer.settle();
        EXPECT_EQ(accepted + writer.lost(), Texts);
    }
    close(ends[1]);
    EXPECT_EQ(received.get(), accepted * text.size());
    EXPECT_LT(accepted, Texts);
    close(ends[0]);
}

TEST_F(HostParts, ClipsAreReadAsFarAsWantedAndNanIsSilence) {
    constexpr int Rate = 2 * SampleRate;
    std::vector<float> sound(size_t{3} * Rate, 0.5F);
    sound[Rate] = std::nanf("");
    const std::string file = folder_ / "clip.wav";
    SndfileHandle(file, SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 1, Rate)
        .write(sound.data(), static_cast<sf_count_t>(sound.size()));
    const std::vector<uint8_t> codes = loadClip(file, 2, [](double) {});
    EXPECT_EQ(codes.size(), size_t{2} * SampleRate);
    // NaN became 0, which resampling replaces by the samples around it.
    EXPECT_EQ(std::ranges::count(codes, linearToUlaw(0)), 0);
}

TEST_F(HostParts, AClipIsFoundWhereItBegins) {
    std::vector<uint8_t> clip = builtInClip();
    clip.resize(size_t{2} * SampleRate);
    for (const int before : {0, 500, -500}) {
        std::vector<uint8_t> recording(static_cast<size_t>(std::max(before, 0)), SilenceCode);
        recording.insert(recording.end(), clip.begin() + std::max(-before, 0), clip.end());
        const ClipFound found = findClip(clip, recording, [](double) {});
        EXPECT_TRUE(found.isFound());
        EXPECT_DOUBLE_EQ(found.seconds, static_cast<double>(before) / SampleRate);
    }
}

}  // namespace
