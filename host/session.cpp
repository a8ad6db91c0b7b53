#include "host/session.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <stdexcept>

#include "host/messages.h"

namespace {

using namespace std::chrono_literals;

constexpr auto DescriptionTimeout = 20s;

volatile std::sig_atomic_t stopped = 0;

}  // namespace

void stopOnSignals() {
    for (const int signal : {SIGINT, SIGTERM})
        std::signal(signal, [](int) { stopped = 1; });
}

Session::Session(const SessionOptions& options, std::function<void(const CapturedFrame&)> onFrame)
    : options_(options),
      module_(options.module,
              {.onLog =
                   [](int32_t level, std::string_view text) {
                       std::fprintf(userMessages(), "%2d %.*s\n", level,
                                    static_cast<int>(text.size()), text.data());
                   },
               .onDocument = [this](std::string_view xml, int64_t) { onDocument(xml); },
               .onFrame = std::move(onFrame)},
              options.logLevel) {
    module_.start();
    first_ = await(1);
}

void Session::onDocument(std::string_view xml) {
    Description description;
    if (!parseDescription(xml, description))
        return;
    const std::lock_guard held(mutex_);
    latest_ = std::move(description);
    ++generation_;
    described_.notify_all();
}

Description Session::await(int generation) {
    std::unique_lock held(mutex_);
    if (!described_.wait_for(held, DescriptionTimeout, [&] { return generation_ >= generation; }))
        throw std::runtime_error("the module does not describe its channels");
    return latest_;
}

void Session::send(const std::string& document) {
    int next = 0;
    {
        const std::lock_guard held(mutex_);
        next = generation_ + 1;
    }
    if (!module_.configure(document))
        throw std::runtime_error("the module refuses a configuration");
    await(next);
}

std::vector<ChannelDescription> Session::choose(const std::vector<int>& numbers,
                                                bool outputs) const {
    const std::string kind = outputs ? "output" : "input";
    std::vector<ChannelDescription> chosen;
    for (const ChannelDescription& channel : channels())
        if (numbers.empty() && channel.isOutput == outputs && channel.hasDevice)
            chosen.push_back(channel);
    for (const int number : numbers) {
        const auto found = std::ranges::find(channels(), number, &ChannelDescription::number);
        if (found == channels().end() || found->isOutput != outputs)
            throw std::runtime_error("there is no " + kind + " channel " + std::to_string(number));
        if (!found->hasDevice)
            throw std::runtime_error("channel " + std::to_string(number) + " has no device");
        chosen.push_back(*found);
    }
    if (chosen.empty())
        throw std::runtime_error("no " + kind + " has a device; is a sound server running?");
    return chosen;
}

void Session::enable(const std::vector<ChannelDescription>& channels, int bufferLength) {
    std::vector<int> numbers;
    for (const ChannelDescription& channel : channels)
        if (!channel.enabled)
            numbers.push_back(channel.number);
    const bool buffering = bufferLength > first_.bufferLength;
    if (numbers.empty() && !buffering)
        return;
    enabledHere_ = numbers;
    bufferingChanged_ = buffering;
    send(enablingDocument(numbers, true, buffering ? bufferLength : 0));
}

BufferAccount Session::finish() {
    if (!enabledHere_.empty() || bufferingChanged_)
        send(enablingDocument(enabledHere_, false, bufferingChanged_ ? first_.bufferLength : 0));
    module_.stop();
    return module_.buffers();
}

bool Session::running() const {
    return stopped == 0 && (options_.seconds <= 0 || elapsedSeconds() < options_.seconds);
}

double Session::elapsedSeconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}
