// The life of a channel's PortAudio stream. Worker thread.
#include <algorithm>

#include "audio/ask_device.h"
#include "audio/channel.h"
#include "plugin/host_link.h"

namespace {

constexpr int32_t MillisecondsPerBlock = 1000 * FramesPerBuffer / ChannelSampleRate;
constexpr int64_t MissingReportPause = 10;  // seconds

double lowLatencyOf(uint32_t paIndex, bool isInput) {
    const PaDeviceInfo* info = Pa_GetDeviceInfo(static_cast<PaDeviceIndex>(paIndex));
    if (info == nullptr)
        return 0;
    return isInput ? info->defaultLowInputLatency : info->defaultLowOutputLatency;
}

}  // namespace

// Forgets a stream handle that PortAudio reports as invalid. It may point to freed memory: nothing
// may use it again.
void Channel::forgetDeadStream() {
    if (stream != nullptr && Pa_IsStreamActive(stream) == paBadStreamPtr)
        stream = nullptr;
}

void Channel::openStream() {
    forgetDeadStream();
    if (stream == nullptr && paIndex != NoDevice && prepareOpen())
        startStream();
}

// Returns whether the stream may be opened now. After too many failures it asks the device and
// returns false. The question may take seconds, so a later pass opens the stream, after a look for
// a stop. Not called with queueLock held, because Write would wait for it.
bool Channel::prepareOpen() {
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
    retry.takeAnswer(answer, now);
    if (retry.next(now) != OpenRetry::Step::Open && retry.takeDueReport(now))
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
        stream = nullptr;  // a failed open may have written to it
    }
    watchdog.beginPeriod(steadyTick());
    if (error == paNoError)  // a start that failed shows only in startResult
        logLine(LogInfo, "Started %s stream '%s'", directionWord(), Name.c_str());
    else if (retry.takeFailure(error, steadyTick()))
        reportFailedOpen();
}

void Channel::reportFailedOpen() const {
    logLine(LogInfo, "Failed to start %s stream '%s' (Pa_OpenStream error %d)", directionWord(),
            Name.c_str(), retry.lastError());
}

void Channel::closeStream() {
    forgetDeadStream();
    if (stream == nullptr)
        return;
    Pa_CloseStream(stream);
    stream = nullptr;
    watchdog.rearm();  // this stream's silence must not count against the next one
    logLine(LogInfo, "Closed %s stream '%s'", directionWord(), Name.c_str());
}

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
    forgetDeadStream();
    if (stream != nullptr && !timedOut)
        return;
    if (paIndex != NoDevice && !prepareOpen())
        return;
    const MutexLock held(queueLock);
    if (timedOut) {
        closeStream();
        logLine(LogDetail, "Restarting output stream %d", ID);
    }
    if (paIndex == NoDevice)
        reportMissingOutput();
    else if (stream == nullptr)
        startStream();
}

void Channel::reportMissingOutput() {
    const int64_t now = unixSeconds();
    if (now <= lastMissingReport + MissingReportPause)
        return;
    lastMissingReport = now;
    logLine(LogError, "Failed to start output stream '%s' - device missing.", Name.c_str());
}

void Channel::endOutput() {
    if (retry.hasFailures()) {
        retry.reset();
        watchdog.rearm();  // the time without a stream must not time out the next one
    }
    forgetDeadStream();
    if (stream == nullptr)
        return;
    const MutexLock held(queueLock);
    if (blocks.size() == 0)  // nothing has been written meanwhile
        closeStream();
}

int Channel::streamCallback(const void* input, void* output, unsigned long sampleCount,
                            const PaStreamCallbackTimeInfo* /*timeInfo*/,
                            PaStreamCallbackFlags /*flags*/, void* userData) RT_SAFE {
    auto* channel = static_cast<Channel*>(userData);
    const auto samples = static_cast<uint32_t>(sampleCount);
    if (input != nullptr)
        return channel->captureBuffer(input, samples);
    if (output != nullptr)
        return channel->playBuffer(static_cast<int16_t*>(output), samples);
    return paAbort;
}
