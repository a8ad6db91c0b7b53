#include "module_test.h"

#include <unistd.h>

#include "fake_alsa.h"

ModuleTest::ModuleTest() {
    char name[] = "/tmp/tamborin-test-XXXXXX";
    folder_ = mkdtemp(name);
    std::filesystem::current_path(folder_);
    fakeClock = {};
    fakePortAudio = {};
    fakePortAudio.hostApis.push_back({1, paALSA, "ALSA", 0, 0, 0});
    fakeCards.clear();
    loans_.clear();
    trace.clear();
    document.clear();
    threshold = 0;
    answer = 0;
    hostTable_.hostCallback = receive;
    Load(&hostTable_, &moduleInfo_);
}

ModuleTest::~ModuleTest() {
    Unload();
    for (const Loan& loan : loans_)
        EXPECT_EQ(loan.returned, loan.accepted ? 1 : 0) << loan.name;
    for (const FakeStream& stream : fakePortAudio.streams)
        EXPECT_EQ(stream.active, paBadStreamPtr) << "a stream was left open";
    EXPECT_EQ(fakeMixersOpen, 0);
    std::filesystem::current_path("/");
    std::filesystem::remove_all(folder_);
}

void ModuleTest::run() {
    IoctlRequest request{};
    request.code = IoctlRun;
    IoctlResult result{};
    EXPECT_EQ(IOCTL(&request, &result), 0);
}

ModuleTest::Loan& ModuleTest::lend(const std::string& name, const void* data, size_t size) {
    const EnoughMemory enough;
    const auto* bytes = static_cast<const uint8_t*>(data);
    Loan& loan = loans_.emplace_back(Loan{name, {bytes, bytes + size}});
    loan.bytes.reserve(1);  // an empty buffer has an address, too
    return loan;
}

bool ModuleTest::write(const std::string& name, const std::vector<uint8_t>& codes, int64_t target,
                       uint64_t type) {
    Loan& loan = lend(name, codes.data(), codes.size());
    WriteRecord record{};
    record.length = static_cast<uint32_t>(codes.size());
    record.data = loan.bytes.data();
    record.targetId = target;
    record.type = type;
    WriteResult result{};
    EXPECT_EQ(Write(&record, &result), 0);
    return loan.accepted = result.accepted == 1;
}

bool ModuleTest::ioctl(const std::string& name, const std::string& text, int32_t code) {
    Loan& loan = lend(name, text.data(), text.size());
    IoctlRequest request{};
    request.code = code;
    request.length = static_cast<uint32_t>(text.size());
    request.data = loan.bytes.data();
    IoctlResult result{};
    EXPECT_EQ(IOCTL(&request, &result), 0);
    return loan.accepted = result.accepted == 1;
}

int32_t ModuleTest::receive(const HostMessage* message, int32_t reserved) {
    const EnoughMemory enough;
    EXPECT_EQ(reserved, 0);
    const auto* bytes = static_cast<const uint8_t*>(message->data);
    const std::string text(reinterpret_cast<const char*>(bytes), message->length);
    if (message->type == TypeLogLevelQuery)
        return threshold;
    if (message->kind == KindLog) {
        note(std::to_string(message->level) + " " + text.substr(0, 200));
        return 1;  // means nothing
    }
    if (message->kind == KindBufferRelease) {
        for (Loan& loan : loans_)
            if (loan.bytes.data() == bytes) {
                ++loan.returned;
                loan.bytes.assign(loan.bytes.size(), 0xEE);
                note("release " + loan.name);
                return 1;  // means nothing
            }
        ADD_FAILURE() << "a buffer was handed back that was never lent";
        return 0;
    }
    if (message->kind == KindAudio) {
        frame.assign(bytes, bytes + message->length);
        note("audio " + std::to_string(message->sourceId) + " at " +
             std::to_string(message->seconds) + "." + std::to_string(message->milliseconds));
    } else {
        document = text;
        note("document " + std::to_string(message->kind));
    }
    return answer;
}
