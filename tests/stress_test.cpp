// Host threads, stream callbacks and the worker all at once, with streams that stall, channels that
// come and go, and a Close in the middle. The fixture counts every buffer.
#include <atomic>
#include <map>
#include <random>
#include <thread>

#include "audio/ulaw.h"
#include "module_test.h"

namespace {

using namespace std::chrono_literals;

// Calls a stream back from a thread of its own until it is closed. May stop earlier, at random.
class Driver {
  public:
    static inline std::atomic<size_t> strangeSamples = 0;
    explicit Driver(FakeStream& stream)
        : thread_([this, &stream] {
              std::mt19937 random(7);
              std::vector<int16_t> sound(2048);
              while (!stop_ && random() % 400 != 0) {
                  stream.isInput ? stream.capture(sound) : stream.play(sound);
                  // Only code 0 is written. Any other sample was read from a released buffer.
                  for (const int16_t sample : sound)
                      if (!stream.isInput && sample != 0 && sample != ulawToLinear(0))
                          ++strangeSamples;
                  std::this_thread::sleep_for(50us);
              }
          }) {}
    ~Driver() {
        stop_ = true;
        thread_.join();
    }

  private:
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

class Stress : public ModuleTest {
  protected:
    static void actAsHost(unsigned seed, const std::atomic<bool>& done) {
        std::mt19937 random(seed);
        for (; !done; std::this_thread::sleep_for(20us)) {
            const unsigned what = random() % 16;
            const std::string number = std::to_string(random() % 5);
            const std::string text = enablingDocument(number, random() % 4 != 0 ? "1" : "0",
                                                      "<Input Number='" + number + "' Name='n'/>");
            const size_t count = what == 0 ? 0 : what == 1 ? 5000 : random() % 2049;
            if (what < 10)  // some of the channels are inputs or do not exist
                accepted +=
                    write("audio", std::vector<uint8_t>(count),
                          Channel0 + static_cast<int>(random() % 5), what == 2 ? 0x80 : TypeAudio);
            else
                accepted +=
                    ioctl("text", random() % 8 == 0 ? "" : text, static_cast<int32_t>(what - 8));
        }
    }
    static inline std::atomic<size_t> accepted = 0;
};

TEST_F(Stress, AccountOfBuffersBalances) {
    std::atomic<int> passes = 0;
    threshold = LogNotice;
    fakePortAudio.addDevice("default");
    fakePortAudio.addDevice("pulse");
    std::map<FakeStream*, Driver> drivers;
    fakePortAudio.whileStarting = [&](FakeStream& stream) { drivers.try_emplace(&stream, stream); };
    fakePortAudio.whileClosing = [&](FakeStream& stream) { drivers.erase(&stream); };
    fakeClock.onPause = [&] {
        fakeClock.steady += 50ms;  // a stalled stream times out after 60 passes
        std::this_thread::sleep_for(100us);
        ++passes;
    };
    std::thread worker(run);
    std::atomic<bool> done = false;
    std::vector<std::thread> hosts;
    for (unsigned seed = 1; seed <= 3; ++seed)
        hosts.emplace_back(actAsHost, seed, std::cref(done));
    while (passes < 3000 || accepted <= 1000)
        std::this_thread::sleep_for(1ms);
    Close();  // while hosts and callbacks continue
    worker.join();
    done = true;
    for (std::thread& host : hosts)
        host.join();
    Unload();
    EXPECT_GT(fakePortAudio.streams.size(), 10U);
    EXPECT_TRUE(drivers.empty());
    EXPECT_EQ(Driver::strangeSamples, 0U);
}

// A block comes back even when no later write sets its hint again: no hint may get lost.
TEST_F(Stress, NothingWaitsForTheNextWrite) {
    threshold = LogError;
    fakePortAudio.addDevice("default");
    std::thread device;
    std::atomic<bool> closing = false;
    fakePortAudio.whileStarting = [&](const FakeStream& stream) {
        device = std::thread([&] {
            for (std::vector<int16_t> sound(2048); !closing;)
                stream.play(sound);
        });
    };
    fakePortAudio.whileClosing = [&](FakeStream&) {
        closing = true;
        device.join();
        closing = false;
    };
    std::atomic<bool> running = false;
    fakeClock.onPause = [&] { running = true; };
    std::thread worker(run);
    while (!running)
        std::this_thread::yield();
    for (int round = 0; round < 5'000 && lent() == 0; ++round) {
        for (int block = 0; block <= round % 3; ++block)
            EXPECT_TRUE(write("block", std::vector<uint8_t>(2048), Channel0 + 1, TypeAudio));
        const auto begin = std::chrono::steady_clock::now();
        while (lent() != 0 && std::chrono::steady_clock::now() - begin < 60s)
            std::this_thread::yield();
    }
    EXPECT_EQ(lent(), 0U);
    Close();
    worker.join();
}

}  // namespace
