// The worker: the module's one long-running loop, on the thread that the host gives to IoctlRun.
#include <algorithm>
#include <array>

#include "audio/ulaw.h"
#include "base/contain.h"
#include "core/plugin.h"

namespace {

// The codes of the frame that is being sent: 2048, with room to spare. Only the worker uses it.
std::array<uint8_t, 524288> frameBuffer;

struct CaptureTime {
    uint64_t seconds;
    uint16_t milliseconds;
};

// Returns the wall-clock time less the time that the sound took to reach the callback. Hosts get
// the low 32 bits of its seconds.
CaptureTime captureTime(int64_t latencyMs) {
    constexpr int64_t MsPerSecond = 1000;
    const timeval now = wallClockNow();
    const int64_t sinceEpoch = int64_t{now.tv_sec} * MsPerSecond + now.tv_usec / 1000 - latencyMs;
    int64_t seconds = sinceEpoch / MsPerSecond;
    int64_t milliseconds = sinceEpoch % MsPerSecond;
    if (milliseconds < 0) {  // before 1970
        --seconds;
        milliseconds += MsPerSecond;
    }
    return {static_cast<uint32_t>(seconds), static_cast<uint16_t>(milliseconds)};
}

void sendCaptured(const AudioBlock& block, const Channel& channel) {
    const size_t samples = std::min<size_t>(block.count, frameBuffer.size());
    // A captured block's data are 16-bit samples, which lie behind the block, aligned for them.
    const int32_t length =
        ulawEncode(frameBuffer.data(), reinterpret_cast<const int16_t*>(block.data),
                   samples * sizeof(int16_t));
    const CaptureTime time = captureTime(channel.inputLatencyMs());
    sendAudioFrame({frameBuffer.data(), static_cast<size_t>(length)}, time.seconds,
                   time.milliseconds, channel.ID);
}

}  // namespace

void CPlugin::runWorker() {
    logLine(LogInfo, "Starting worker thread.");
    contain([this] { startAudioSystem(); });
    while (!isStopRequested()) {
        pass();
        if (sleepUnlessStopped(passPeriodMs))
            break;
    }
    for (const auto& [id, channel] : channels)
        channel->closeStream();
}

void CPlugin::pass() {
    processQueue();
    for (const auto& entry : channels) {
        if (isStopRequested())
            break;
        contain([&] { serveChannel(*entry.second); });
    }
    contain([this] { emitDeviceStatus(); });
}

void CPlugin::serveChannel(Channel& channel) {
    if (!channel.isInput) {
        channel.preparePlayback();
        channel.maintainOutput(bufferLength);
        channel.purgeBlocks(true);
        return;
    }
    if (!channel.Enabled)
        return;
    if (channel.isDeviceInDoubt()) {
        channel.openStream();
    } else if (channel.isTimedOut()) {
        logLine(LogDetail, "Input stream %d timed out", channel.ID);
        channel.closeStream();
        if (!isStopRequested())
            channel.openStream();
    }
    drainCaptured(channel);
}

// Sends at most as many blocks as are queued at the beginning, or four if fewer are. Without a
// limit a host whose callback takes longer than the 256 ms of a frame would keep the worker here.
void CPlugin::drainCaptured(Channel& channel) const {
    constexpr size_t FewestBlocks = 4;
    for (size_t left = std::max(channel.queuedBlocks(), FewestBlocks); left > 0; --left) {
        const AudioBlockPtr block = channel.takeCaptured();
        if (!block || isStopRequested())
            return;
        sendCaptured(*block, channel);
    }
}

// Returns true as soon as a stop is requested, false when the time has passed.
bool CPlugin::sleepUnlessStopped(int32_t milliseconds) const {
    using std::chrono::floor;
    const auto begin = floor<std::chrono::milliseconds>(steadyNow());
    if (milliseconds < 1)
        return false;
    do {
        pauseOneMillisecond();
        if (isStopRequested())
            return true;
    } while ((floor<std::chrono::milliseconds>(steadyNow()) - begin).count() < milliseconds);
    return false;
}
