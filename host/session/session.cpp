#include "host/session/session.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <future>
#include <stdexcept>
#include <thread>

#include "host/session/advice.h"
#include "host/session/json_records.h"
#include "host/system/stop.h"
#include "host/terminal/progress.h"

namespace {

using namespace std::chrono_literals;

constexpr auto ModuleTimeout = 20s;
constexpr auto StopPatience = 1s;
constexpr auto LookInterval = 100ms;
constexpr auto SoundTimeout = 10s;  // an input may need two seconds to start; some never do

}  // namespace

Session::Session(const SessionOptions& options, Console& console, ProcessEnd endProcess,
                 const ModuleListener& listener, int32_t listenerLevel)
    : options_(options),
      console_(console),
      endProcess_(endProcess),
      module_(options.module, composed(listener), std::min(options.logLevel, listenerLevel)),
      firstBufferLength_(startModule()) {}

// Returns the buffering (ms) from the settings.
int Session::startModule() {
    module_.start();
    awaitModule("starting the module", [&] { return signalCame() || isDescribed(1); });
    if (signalCame())
        throwStopped();
    const std::lock_guard held(mutex_);
    return latest_.bufferLength;
}

// Stops the module, or ends the process when the module is blocked in a call to the sound server.
void Session::throwStopped() {
    const std::string line = "stopped while starting the module";
    const auto stopping = std::async(std::launch::async, [this] { module_.stop(); });
    if (stopping.wait_for(StopPatience) != std::future_status::ready)
        giveUp(line);
    throw std::runtime_error(line);
}

Session::~Session() {
    try {
        finish();
    } catch (const std::exception& error) {
        console_.error(error.what());
    }
}

ModuleListener Session::composed(const ModuleListener& listener) {
    ModuleListener all = listener;
    if (console_.wantsRecords())
        all.onRecord = [this, next = listener.onRecord](const HostMessage& message,
                                                        int32_t answer) {
            // Only ASCII on a terminal, which would obey control characters beyond ASCII.
            console_.record(jsonLine(message, answer, isatty(STDOUT_FILENO) != 0));
            next(message, answer);
        };
    all.onLog = [this, next = listener.onLog](int32_t level, std::string_view text) {
        if (level >= options_.logLevel)
            console_.logLine(level, text);
        next(level, text);
    };
    all.onDocument = [this, next = listener.onDocument](std::string_view xml, int64_t kind) {
        onDocument(xml);
        next(xml, kind);
    };
    return all;
}

void Session::onDocument(std::string_view xml) {
    Description description;
    if (!parseDescription(xml, description))
        return;
    const std::lock_guard held(mutex_);
    latest_ = std::move(description);
    latestXml_ = xml;
    ++descriptions_;
    described_.notify_all();
}

// Returns true once the module has described itself so many times. Waits LookInterval at most.
bool Session::isDescribed(int times) {
    std::unique_lock held(mutex_);
    return described_.wait_for(held, LookInterval, [&] { return descriptions_ >= times; });
}

// Ends the process, because the module's thread is blocked in the audio library. Recordings are
// complete files at any moment, so none is lost.
void Session::giveUp(const std::string& line) {
    endProcess_(console_, line);
    std::abort();
}

void Session::awaitModule(const std::string& what, const std::function<bool()>& isDone) {
    Progress progress(console_, what);
    const std::string tooLong = what + " takes too long; " + SoundServerHangs;
    const auto begin = std::chrono::steady_clock::now();
    while (!isDone()) {
        const auto waited = std::chrono::steady_clock::now() - begin;
        if (waited > ModuleTimeout)
            giveUp(tooLong);
        progress.show(std::chrono::duration<double>(waited) / ModuleTimeout);
    }
}

void Session::send(const std::string& document) {
    int next = 0;
    {
        const std::lock_guard held(mutex_);
        next = descriptions_ + 1;
    }
    if (!module_.configure(document))
        throw std::runtime_error("the module refuses a configuration");
    awaitModule("applying the configuration", [&] { return isDescribed(next); });
}

std::vector<ChannelDescription> Session::channels() const {
    const std::lock_guard held(mutex_);
    return latest_.channels;
}

std::string Session::descriptionXml() const {
    const std::lock_guard held(mutex_);
    return latestXml_;
}

void Session::enable(const std::vector<ChannelDescription>& channels, int bufferLength) {
    std::vector<int> numbers;
    for (const ChannelDescription& channel : channels)
        if (!channel.enabled)
            numbers.push_back(channel.number);
    const bool buffering = bufferLength > firstBufferLength_;
    if (!numbers.empty() || buffering) {
        enabledHere_ = numbers;
        bufferingChanged_ = buffering;
        send(enablingDocument(numbers, true, buffering ? bufferLength : 0));
    }
    start_ = std::chrono::steady_clock::now();
}

void Session::awaitSound(const std::function<bool()>& isHeard) {
    Progress progress(console_, "waiting for sound");
    while (!isHeard() && !stopAsked() && elapsedSeconds() < SoundTimeout / 1.0s) {
        progress.show(0);
        std::this_thread::sleep_for(20ms);
    }
    start_ = std::chrono::steady_clock::now();
}

BufferAccount Session::finish() {
    if (!enabledHere_.empty() || bufferingChanged_) {
        const std::string document =
            enablingDocument(enabledHere_, false, bufferingChanged_ ? firstBufferLength_ : 0);
        enabledHere_.clear();
        bufferingChanged_ = false;
        send(document);
    }
    const auto stopping = std::async(std::launch::async, [this] { module_.stop(); });
    awaitModule("stopping the module",
                [&] { return stopping.wait_for(LookInterval) == std::future_status::ready; });
    return module_.buffers();
}

bool Session::running() const {
    return !stopAsked() && (options_.seconds <= 0 || elapsedSeconds() < options_.seconds);
}

double Session::elapsedSeconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

double Session::fractionDone() const {
    return options_.seconds > 0 ? elapsedSeconds() / options_.seconds : 0;
}
