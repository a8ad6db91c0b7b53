// Plays the transcripts in tests/transcripts; README.txt there says how to read them.
#include <filesystem>
#include <fstream>
#include <semaphore>
#include <thread>

#include "module_test.h"
#include "transcript_commands.h"

namespace {

using namespace std::chrono_literals;

// The module's worker on a thread of its own, which waits for the test at each pause.
class Worker {
  public:
    Worker() {
        fakeClock.onPause = [this] {
            paused_.release();
            goOn_.acquire();
        };
    }
    ~Worker() { stop(); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // start() and pass() let the worker run to its next pause or to its end.
    void start() {
        ASSERT_FALSE(isRunning());
        hasEnded_ = false;
        thread_ = std::thread([this] {
            ModuleTest::run();
            hasEnded_ = true;
            paused_.release();
        });
        await();
    }
    void pass() {
        ASSERT_TRUE(isRunning()) << "the worker has ended";
        goOn_.release();
        await();
    }
    // Closes the module and lets the worker end, if it has not ended yet.
    void stop() {
        EXPECT_EQ(Close(), 0);
        if (!isRunning())
            return;
        pass();
        EXPECT_FALSE(isRunning()) << "the worker goes on after Close";
    }

  private:
    bool isRunning() const { return thread_.joinable(); }
    void await() {
        if (!paused_.try_acquire_for(120s)) {
            std::fputs("the worker hangs\n", stderr);
            std::_Exit(1);  // its thread cannot be ended
        }
        if (hasEnded_)
            thread_.join();
    }

    std::thread thread_;
    std::binary_semaphore paused_{0};
    std::binary_semaphore goOn_{0};
    bool hasEnded_ = false;  // handed over with paused_
};

class Transcript : public ModuleTest {
  public:
    explicit Transcript(const std::filesystem::path& file) : name_(file.filename()) {
        std::ifstream text(file);
        for (std::string line; std::getline(text, line);)
            lines_.push_back(line);
    }
    void TestBody() override {
        Worker worker;
        std::map<std::string, Command> commands = commandsOfTheWorld();
        commands["start"] = [&](auto&) { worker.start(); };
        commands["pass"] = [&](auto&) { worker.pass(); };
        commands["stop"] = [&](auto&) { worker.stop(); };
        commands["watch"] = [&](auto& in) { watch(worker, in); };

        size_t next = 0;
        EXPECT_EQ(expectedFrom(next), "") << name_ << " does not begin with a command";
        while (next < lines_.size() && !HasFatalFailure()) {
            const std::string command = lines_[next++];
            Arguments arguments(replaceOurs(command.substr(2)));
            const auto found = commands.find(arguments.word());
            ASSERT_NE(found, commands.end()) << name_ << ": " << command;
            const size_t line = next;
            found->second(arguments);
            arguments.finish();
            EXPECT_EQ(takeTrace(), expectedFrom(next)) << name_ << ":" << line << " " << command;
        }
    }

  private:
    // Takes the lines up to the next command; blank lines and comments do not count.
    std::string expectedFrom(size_t& next) const {
        std::string expected;
        for (; next < lines_.size() && !lines_[next].starts_with("> "); ++next)
            if (!lines_[next].empty() && lines_[next][0] != '#')
                expected += lines_[next] + "\n";
        return expected;
    }
    static std::string replaceOurs(std::string text) {
        if (const size_t at = text.find("OURS"); at != std::string::npos)
            text.replace(at, 4, R"(<Varo><Devices ID="1310720")");
        return text;
    }
    // Runs a pass each tenth of a second and shows its events with the time.
    static void watch(Worker& worker, Arguments& in) {
        const int64_t end = std::stoll(in.word());
        const int64_t every = in.number("callback_every");
        std::string seen;
        for (int64_t now = 0; now <= end; now += 100) {
            worker.pass();
            std::istringstream events(takeTrace());
            for (std::string event; std::getline(events, event);)
                if (!event.starts_with("release") && !event.starts_with("audio"))
                    seen += std::to_string(now) + " ms: " + event + "\n";
            if (now == end)
                break;
            if (every > 0 && now % every == 0)
                callBack();
            fakeClock.steady += 99ms;  // the pause adds 1 ms
        }
        trace = seen + trace;
    }

    const std::string name_;
    std::vector<std::string> lines_;
};

const bool registered = [] {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TRANSCRIPTS)) {
        if (entry.path().extension() != ".transcript")
            continue;
        ++count;
        testing::RegisterTest(
            "Transcript", entry.path().stem().c_str(), nullptr, nullptr, __FILE__, __LINE__,
            [file = entry.path()]() -> ModuleTest* { return new Transcript(file); });
    }
    if (count == 0)
        std::_Exit((std::fputs("no transcripts in " TRANSCRIPTS "\n", stderr), 1));
    return true;
}();

}  // namespace
