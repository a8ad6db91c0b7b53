// Everything at once: host threads, stream callbacks and the worker, streams that stall, channels
// that come and go, and the end in the middle of it. Run it under the sanitizers, too.
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <thread>

#include "module_test.h"

namespace {

using namespace std::chrono_literals;

// The account of what is lent. A buffer is freed as soon as it comes back, so that the sanitizers
// see whoever touches it later.
class Ledger {
  public:
    // Lends a buffer to `call`, which answers whether the module has accepted it.
    template <typename Call>
    void lend(size_t size, Call call) {
        auto buffer = std::make_unique<uint8_t[]>(size + 1);
        const uint8_t* address = buffer.get();
        {
            const std::lock_guard held(mutex_);
            lent_[address] = std::move(buffer);
        }
        const bool accepted = call(address);
        accepted_ += accepted ? 1 : 0;
        EXPECT_TRUE(accepted || take(address)) << "a refused buffer was handed back";
    }
    void handBack(const void* address) {
        EXPECT_TRUE(take(address)) << "a buffer was handed back twice";
        ++returned_;
    }
    void expectBalance() const {
        EXPECT_TRUE(lent_.empty());
        EXPECT_EQ(accepted_, returned_);
        EXPECT_GT(accepted_, 1000U);
    }

  private:
    bool take(const void* address) {
        const std::lock_guard held(mutex_);
        return lent_.erase(address) == 1;
    }
    std::mutex mutex_;
    std::map<const void*, std::unique_ptr<uint8_t[]>> lent_;
    std::atomic<size_t> accepted_ = 0;
    std::atomic<size_t> returned_ = 0;
};
Ledger* ledger;

// Calls a stream back from a thread of its own until it is closed, but falls silent now and then.
class Driver {
  public:
    explicit Driver(FakeStream& stream)
        : thread_([this, &stream] {
              std::mt19937 random(7);
              std::vector<int16_t> sound(2048);
              while (!stop_ && random() % 400 != 0) {
                  stream.isInput ? stream.capture(sound) : stream.play(sound);
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

void actAsHost(unsigned seed, const std::atomic<bool>& done) {
    std::mt19937 random(seed);
    while (!done) {
        const unsigned what = random() % 16;
        if (what < 10) {
            const size_t count = what == 0 ? 0 : what == 1 ? 5000 : random() % 2049;
            ledger->lend(count, [&](const uint8_t* data) {
                WriteRecord record{};
                record.length = static_cast<uint32_t>(count);
                record.data = data;
                record.targetId = Channel0 + static_cast<int>(random() % 5);  // some are no outputs
                record.type = what == 2 ? 0x80 : TypeAudio;
                WriteResult result{};
                Write(&record, &result);
                return result.accepted == 1;
            });
        } else {
            const std::string number = std::to_string(random() % 5);
            const std::string text = "<Varo><Devices ID='1310720'><Device><Audio><Input Number='" +
                                     number + "' Name='n" + number +
                                     "'/></Audio><Codec><Encoder><AudioChannel Number='" + number +
                                     "' Enabled='" + (random() % 4 != 0 ? "1" : "0") +
                                     "'/></Encoder></Codec></Device></Devices></Varo>";
            const size_t length = what == 15 ? 0 : text.size();
            ledger->lend(length, [&](const uint8_t* data) {
                std::copy_n(text.data(), length, const_cast<uint8_t*>(data));
                IoctlRequest request{};
                request.code =
                    static_cast<int32_t>(what - 9);  // 1 is not among those with a length
                request.code = request.code == IoctlRun ? IoctlConfiguration : request.code;
                request.length = static_cast<uint32_t>(length);
                request.data = data;
                IoctlResult result{};
                IOCTL(&request, &result);
                return result.accepted == 1;
            });
        }
        std::this_thread::sleep_for(20us);
    }
}

int32_t hear(const HostMessage* message, int32_t /*reserved*/) {
    if (message->kind == KindBufferRelease)
        ledger->handBack(message->data);
    return message->kind == KindLog ? LogNotice : 0;
}

TEST_F(ModuleTest, Stress) {
    std::atomic<int> passes = 0;
    Ledger account;
    ledger = &account;
    hostTable_.hostCallback = hear;
    Unload();
    Load(&hostTable_, &moduleInfo_);
    fakePortAudio.addDevice("default");
    fakePortAudio.addDevice("pulse");
    std::map<FakeStream*, Driver> drivers;
    fakePortAudio.whileStarting = [&](FakeStream& stream) { drivers.try_emplace(&stream, stream); };
    fakePortAudio.whileClosing = [&](FakeStream& stream) { drivers.erase(&stream); };
    fakeClock.onPause = [&] {
        fakeClock.steady += 50ms;  // a silent stream is found after 60 passes
        std::this_thread::sleep_for(100us);
        ++passes;
    };
    std::thread worker(run);
    std::atomic<bool> done = false;
    std::vector<std::thread> hosts;
    for (unsigned seed = 1; seed <= 3; ++seed)
        hosts.emplace_back(actAsHost, seed, std::cref(done));
    while (passes < 3000)
        std::this_thread::sleep_for(1ms);
    Close();  // while all others go on
    worker.join();
    done = true;
    for (std::thread& host : hosts)
        host.join();
    Unload();
    account.expectBalance();
    EXPECT_GT(fakePortAudio.streams.size(), 10U);
    EXPECT_TRUE(drivers.empty());
}

}  // namespace
