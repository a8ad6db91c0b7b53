#include "module_test.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <iomanip>
#include <sstream>
#include <utility>

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
    closingText.clear();
    hostTable_.hostCallback = receive;
    moduleInfo_ = {};
    load();
}

ModuleTest::~ModuleTest() {
    Unload();
    for (const auto& [address, loan] : loans_)
        ADD_FAILURE() << loan.name << " was accepted and not handed back";
    for (const FakeStream* stream : fakePortAudio.open)
        EXPECT_EQ(stream->active, paBadStreamPtr) << "a stream was left open";
    EXPECT_EQ(fakePortAudio.wrongCalls, "");
    EXPECT_EQ(fakeMixersOpen, 0);
    EXPECT_EQ(fakePcmsOpen, 0);
    std::filesystem::current_path("/");
    std::filesystem::remove_all(folder_);
}

int64_t ModuleTest::load() { return Load(&hostTable_, &moduleInfo_); }

void ModuleTest::run() {
    const IoctlRequest request{{}, IoctlRun, {}, 0, 0, nullptr};
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
    const auto length = static_cast<uint32_t>(codes.size());
    const WriteRecord record{{},     length, 0,   lend(name, codes.data(), codes.size()),
                             target, {},     type};
    WriteResult result{};
    EXPECT_EQ(Write(&record, &result), 0);
    return settle(record.data, result.accepted == 1);
}

bool ModuleTest::ioctl(const std::string& name, const std::string& text, int32_t code) {
    const auto length = static_cast<uint32_t>(text.size());
    const IoctlRequest request{{}, code, {}, length, 0, lend(name, text.data(), text.size())};
    IoctlResult result{};
    EXPECT_EQ(IOCTL(&request, &result), 0);
    return settle(request.data, result.accepted == 1);
}

bool ModuleTest::writeNull() {
    const WriteRecord record{{}, 0, 0, nullptr, Channel0 + 1, {}, TypeAudio};
    WriteResult result{};
    Write(&record, &result);
    return result.accepted != 0;
}

static constexpr std::array<std::pair<int32_t, const char*>, 5> Levels{{{LogDetail, "detail"},
                                                                        {LogInfo, "info"},
                                                                        {LogNotice, "notice"},
                                                                        {LogError, "error"},
                                                                        {99, "none"}}};

int32_t levelNamed(const std::string& name) {
    return std::ranges::find(Levels, name, [](const auto& level) { return level.second; })->first;
}

static std::string nameOf(uint64_t level) {
    const auto found = std::ranges::find(Levels, static_cast<int32_t>(level),
                                         [](const auto& known) { return known.first; });
    return found != Levels.end() ? found->second : std::to_string(level);
}

// Notes every field that is not zero, and whether any other byte is set.
static void showRecord(HostMessage record) {
    std::ostringstream line;
    const auto show = [&](const char* name, auto& field) {
        if (field != 0)
            line << " " << name << "=" << std::exchange(field, 0);
    };
    line << "record";
    show("size", record.size);
    show("version", record.version);
    show("length", record.length);
    line << (std::exchange(record.data, nullptr) != nullptr ? " data" : "") << std::hex;
    show("source", record.sourceId);
    show("kind", record.kind);
    show("type", record.type);
    line << std::dec;
    show("detail_size", record.detailSize);
    show("detail_version", record.detailVersion);
    show("level", record.level);
    show("seconds", record.seconds);
    show("milliseconds", record.milliseconds);
    const auto* bytes = reinterpret_cast<const uint8_t*>(&record);
    if (std::any_of(bytes, bytes + sizeof record, [](uint8_t byte) { return byte != 0; }))
        line << " and other bytes";
    note(line.str());
}

static std::string describeFrame(const HostMessage& message, const std::vector<uint8_t>& codes) {
    std::ostringstream line;
    line << "audio ch" << message.sourceId - Channel0 << " at " << message.seconds << "."
         << std::setw(3) << std::setfill('0') << message.milliseconds << ": " << codes.size()
         << " of " << (codes.empty() ? 0 : codes[0]);
    return line.str();
}

static std::string describeDocument(const HostMessage& message, const std::string& text) {
    if (message.kind == KindStatusDocument)
        return text.find("Fail=\"1\"") != std::string::npos ? "status alarmed" : "status ok";
    return text.find("<Modules>") != std::string::npos ? "announcement" : "description";
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
        note(nameOf(message->level) + " " + text.substr(0, 200));
        if (!closingText.empty() && text.find(closingText) != std::string::npos)
            Close();
        return 1;  // has no meaning here
    }
    if (message->kind == KindBufferRelease) {
        note("release " + released);
        return 1;  // has no meaning here
    }
    if (message->kind == KindAudio) {
        frame.assign(bytes, bytes + message->length);
        note(describeFrame(*message, frame));
        whileSending();
    } else {
        document = text;
        if (message->kind == KindModuleDocument)
            description = text;
        note(describeDocument(*message, text));
    }
    return answer;
}
