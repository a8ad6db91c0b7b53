// The life of a channel's PortAudio stream. Worker thread.
#include <algorithm>

#include "audio/ask_device.h"
#include "audio/channel.h"
#include "plugin/host_link.h"

namespace {

using namespace std::chrono_literals;

constexpr auto WatchdogUnit = 1s;

constexpr int32_t MillisecondsPerBlock = 1000 * FramesPerBuffer / ChannelSampleRate;
constexpr int64_t MissingReportPause = 10;  // seconds

double lowLatencyOf(uint32_t paIndex, bool isInput) {
    const PaDeviceInfo* info = Pa_GetDeviceInfo(static_cast<PaDeviceIndex>(paIndex));
    if (info == nullptr)
        return 0;
    return isInput ? info->defaultLowInputLatency : info->defaultLowOutputLatency;
}

}  // namespace

// A handle that PortAudio no longer knows is no stream. It is never asked about twice: PortAudio
// looks into the handle's memory to answer.
bool Channel::hasStream() {
    if (stream != nullptr && Pa_IsStreamActive(stream) == paBadStreamPtr)
        stream = nullptr;
    return stream != nullptr;
}

void Channel::openStream() {
    if (!hasStream() && paIndex != NoDevice && isOpenDue())
        startStream();
}

// Asks the device when opens have failed too often. Never under queueLock: Write would wait for it.
bool Channel::isOpenDue() {
    switch (retry.next(steadyTick())) {
        case OpenRetry::Step::Open:
            return true;
        case OpenRetry::Step::Wait:
            return false;
        case OpenRetry::Step::AskDevice:
            break;
    }
    const DeviceAnswer answer = askDevice(static_cast<PaDeviceIndex>(paIndex), isInput);
    const SteadyTime now = steadyTick();
    if (retry.takeAnswer(answer, now))
        return true;
    if (retry.isReportDue(now))
        reportFailedOpen();
    return false;
}

// Opens and starts the stream of a channel that has a device and no stream.
void Channel::startStream() {
    PaStreamParameters parameters{};
    parameters.device = static_cast<PaDeviceIndex>(paIndex);
    parameters.channelCount = 1;
    parameters.sampleFormat = paInt16;
    parameters.suggestedLatency = lowLatencyOf(paIndex, isInput);
    startResult = paNotInitialized;
    const PaError error =
        Pa_OpenStream(&stream, isInput ? &parameters : nullptr, isInput ? nullptr : &parameters,
                      SampleRate, FramesPerBuffer, paNoFlag, streamCallback, this);
    if (error == paNoError) {
        startResult = Pa_StartStream(stream);
        retry.reset();
    } else {
        stream = nullptr;  // a failed open may leave anything in the handle
    }
    beginWatchdogPeriod();
    if (error == paNoError)
        logMessage(ModuleId, g_hostCallback, LogInfo, "Started %s stream '%s'", directionWord(),
                   Name.c_str());
    else if (retry.takeFailure(error, steadyTick()))
        reportFailedOpen();
}

void Channel::reportFailedOpen() const {
    logMessage(ModuleId, g_hostCallback, LogInfo,
               "Failed to start %s stream '%s' (Pa_OpenStream error %d)", directionWord(),
               Name.c_str(), retry.lastError());
}

void Channel::closeStream() {
    if (!hasStream())
        return;
    Pa_CloseStream(stream);
    stream = nullptr;
    logMessage(ModuleId, g_hostCallback, LogInfo, "Closed %s stream '%s'", directionWord(),
               Name.c_str());
}

// From now on, when all of PortAudio's waiting is over, the stream gets the whole period to call
// back, whatever the watchdog still holds.
void Channel::beginWatchdogPeriod() {
    nextWatchdogUnit =
        steadyTick() + (WatchdogArmed - std::min(watchdog.load(), WatchdogArmed)) * WatchdogUnit;
}

bool Channel::isTimedOut() {
    const SteadyTime now = steadyTick();
    const uint32_t units = watchdog.load();
    // Fully armed: the stream has called back since the last look, its period starts here.
    if (units < WatchdogArmed && now < nextWatchdogUnit)
        return false;
    if (units == 0) {
        beginWatchdogPeriod();
        return true;
    }
    // A callback that re-arms in between loses the unit that the next look would have taken anyway.
    watchdog.fetch_sub(1);
    nextWatchdogUnit = now + WatchdogUnit;
    return false;
}

void Channel::rearmWatchdog() RT_SAFE { watchdog.exchange(WatchdogArmed); }

void Channel::maintainOutput(int32_t bufferLengthMs) {
    const int32_t threshold = std::max(bufferLengthMs / MillisecondsPerBlock, 1);
    const size_t queued = queuedBlocks();
    if (queued >= static_cast<size_t>(threshold))
        keepOutputRunning();
    else if (queued == 0)
        endOutput();
}

void Channel::keepOutputRunning() {
    const bool timedOut = isTimedOut();
    if (hasStream() && !timedOut)
        return;
    if (paIndex != NoDevice && !isOpenDue())
        return;
    const MutexLock held(queueLock);
    if (timedOut) {
        closeStream();
        logMessage(ModuleId, g_hostCallback, LogDetail, "Restarting output stream %d", ID);
    }
    if (paIndex == NoDevice)
        reportMissingOutput();
    else if (!hasStream())
        startStream();
}

void Channel::reportMissingOutput() {
    const int64_t now = unixSeconds();
    if (now <= lastMissingReport + MissingReportPause)
        return;
    lastMissingReport = now;
    logMessage(ModuleId, g_hostCallback, LogError,
               "Failed to start output stream '%s' - device missing.", Name.c_str());
}

void Channel::endOutput() {
    retry.reset();
    if (!hasStream())
        return;
    const MutexLock held(queueLock);
    if (blocks.size() == 0)  // nothing has been written meanwhile
        closeStream();
}

int Channel::streamCallback(const void* input, void* output, unsigned long frameCount,
                            const PaStreamCallbackTimeInfo* /*timeInfo*/,
                            PaStreamCallbackFlags /*flags*/, void* userData) RT_SAFE {
    auto* channel = static_cast<Channel*>(userData);
    const auto frames = static_cast<uint32_t>(frameCount);
    if (input != nullptr)
        return channel->captureBuffer(input, frames);
    if (output != nullptr)
        return channel->playBuffer(static_cast<int16_t*>(output), frames);
    return paAbort;
}
