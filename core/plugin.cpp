#include "core/plugin.h"

#include <portaudio.h>

#include "base/contain.h"

CPlugin* g_plugin = nullptr;

namespace {

constexpr size_t TypicalDocumentSize = 16384;  // bytes; longer ones grow the buffer
constexpr size_t MessagesPerPass = 4;

template <typename Message>
void callHandler(const std::function<void(const Message&)>& handler, const Message& message) {
    if (handler)
        handler(message);
}

}  // namespace

CPlugin::CPlugin() : handlers(std::make_unique<MessageHandlers>()) {
    textBuffer.reserve(TypicalDocumentSize);
    handlers->onAudioMessage = [](const ipcam::AudioMessage&) {};
    handlers->onWriteMessage = [](const ipcam::WriteMessage&) {};
    handlers->onIoctlMessage = [this](const ipcam::IoctlMessage& message) {
        onIoctlMessage(message);
    };
}

HostMessageQueue CPlugin::takeBatch(size_t maximum) {
    HostMessageQueue batch;
    if (!queueMutex.try_lock())
        return batch;
    const MutexLock held(queueMutex, std::adopt_lock);
    if (maximum >= messageQueue.size())
        batch.swap(messageQueue);
    else
        batch.splice(batch.end(), messageQueue, messageQueue.begin(),
                     std::next(messageQueue.begin(), static_cast<std::ptrdiff_t>(maximum)));
    return batch;
}

void CPlugin::processQueue() {
    if (isStopRequested())
        return;
    // Destroying the batch hands the buffers back, front to back.
    const HostMessageQueue batch = takeBatch(MessagesPerPass);
    for (const HostMessageVariant& message : batch)
        contain([&] { dispatch(message); });
}

void CPlugin::dispatch(const HostMessageVariant& message) const {
    if (const auto* document = std::get_if<ipcam::IoctlMessage>(&message))
        callHandler(handlers->onIoctlMessage, *document);
    else if (const auto* write = std::get_if<ipcam::WriteMessage>(&message))
        callHandler(handlers->onWriteMessage, *write);
    else if (const auto* audio = std::get_if<ipcam::AudioMessage>(&message))
        callHandler(handlers->onAudioMessage, *audio);
}

void CPlugin::teardown() {
    channels.clear();
    if (audioStarted)
        Pa_Terminate();
    audioStarted = false;
}
