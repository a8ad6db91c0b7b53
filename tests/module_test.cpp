#include "module_test.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <sstream>

#include "fake_alsa.h"

ModuleTest::ModuleTest() {
    std::string name = std::filesystem::temp_directory_path() / "tamborin-test-XXXXXX";
    folder_ = mkdtemp(name.data());
    std::filesystem::current_path(folder_);
    fakeClock = {};
    fakePortAudio = {};
    fakePortAudio.hostApis.push_back({1, paALSA, "ALSA", 0, 0, 0});
    fakeCards.clear();
    fakePcmError = 0;
    whileAsked = [] {};
    loans_.clear();
    trace.clear();
    document.clear();
    threshold = 0;
    showsRecords = false;
    answer = 0;
    whileSending = [] {};
    hostTable_.hostCallback = receive;
    Load(&hostTable_, &moduleInfo_);
}

ModuleTest::~ModuleTest() {
    Unload();
    for (const auto& [address, loan] : loans_)
        ADD_FAILURE() << loan.name << " was accepted and not handed back";
    for (const FakeStream& stream : fakePortAudio.streams)
        EXPECT_EQ(stream.active, paBadStreamPtr) << "a stream was left open";
    EXPECT_EQ(fakeMixersOpen, 0);
    EXPECT_EQ(fakePcmsOpen, 0);
    std::filesystem::current_path("/");
    std::filesystem::remove_all(folder_);
}

void ModuleTest::run() {
    IoctlRequest request{};
    request.code = IoctlRun;
    IoctlResult result{};
    EXPECT_EQ(IOCTL(&request, &result), 0);
}

const void* ModuleTest::lend(const std::string& name, const void* data, size_t size) {
    const EnoughMemory enough;
    Loan loan{name, size, std::make_unique<uint8_t[]>(size + 1)};
    std::copy_n(static_cast<const uint8_t*>(data), size, loan.bytes.get());
    const void* address = loan.bytes.get();
    const std::lock_guard held(mutex_);
    loans_[address] = std::move(loan);
    return address;
}

std::string ModuleTest::takeBack(const void* buffer) {
    const EnoughMemory enough;
    const std::lock_guard held(mutex_);
    const auto loan = loans_.extract(buffer);
    EXPECT_TRUE(loan) << "a buffer was handed back that was not lent, or twice";
    if (!loan)
        return "";
    std::fill_n(loan.mapped().bytes.get(), loan.mapped().size, Poison);
    return loan.mapped().name;
}

bool ModuleTest::settle(const void* buffer, bool accepted) {
    if (!accepted)
        takeBack(buffer);
    return accepted;
}

bool ModuleTest::write(const std::string& name, const std::vector<uint8_t>& codes, int64_t target,
                       uint64_t type) {
    WriteRecord record{};
    record.length = static_cast<uint32_t>(codes.size());
    record.data = lend(name, codes.data(), codes.size());
    record.targetId = target;
    record.type = type;
    WriteResult result{};
    EXPECT_EQ(Write(&record, &result), 0);
    return settle(record.data, result.accepted == 1);
}

bool ModuleTest::ioctl(const std::string& name, const std::string& text, int32_t code) {
    IoctlRequest request{};
    request.code = code;
    request.length = static_cast<uint32_t>(text.size());
    request.data = lend(name, text.data(), text.size());
    IoctlResult result{};
    EXPECT_EQ(IOCTL(&request, &result), 0);
    return settle(request.data, result.accepted == 1);
}

// The record's 64-bit words that are not zero, by their offset. Of data, only whether there is any.
static void showRecord(const HostMessage& message) {
    std::array<uint64_t, sizeof message / 8> words{};
    std::memcpy(words.data(), &message, sizeof message);
    std::ostringstream line;
    for (size_t i = 0; i < words.size(); ++i)
        if (words[i] != 0)
            line << std::dec << " @" << i * 8 << std::hex << "=" << (i == 2 ? 1 : words[i]);
    note("record" + line.str());
}

int32_t ModuleTest::receive(const HostMessage* message, int32_t reserved) {
    const EnoughMemory enough;
    EXPECT_EQ(reserved, 0);
    if (showsRecords)
        showRecord(*message);
    const auto* bytes = static_cast<const uint8_t*>(message->data);
    const std::string text(reinterpret_cast<const char*>(bytes), message->length);
    if (message->type == TypeLogLevelQuery)
        return threshold;
    const std::string released =
        message->kind == KindBufferRelease ? takeBack(message->data) : std::string();
    const std::lock_guard held(mutex_);
    if (message->kind == KindLog) {
        note(std::to_string(message->level) + " " + text.substr(0, 200));
        return 1;  // means nothing
    }
    if (message->kind == KindBufferRelease) {
        note("release " + released);
        return 1;  // means nothing
    }
    if (message->kind == KindAudio) {
        frame.assign(bytes, bytes + message->length);
        note("audio " + std::to_string(message->sourceId) + " at " +
             std::to_string(message->seconds) + "." + std::to_string(message->milliseconds) + ": " +
             std::to_string(frame.size()) + " of " + std::to_string(frame.empty() ? 0 : frame[0]));
        whileSending();
    } else {
        document = text;
        if (message->kind == KindModuleDocument)
            description = text;
        note("document " + std::to_string(message->kind));
    }
    return answer;
}
