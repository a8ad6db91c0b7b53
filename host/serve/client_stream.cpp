#include "host/serve/client_stream.h"

#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr auto LeavingTime = 2s;

}  // namespace

Chunk chunkOf(std::string text) {
    const auto owner = std::make_shared<const std::string>(std::move(text));
    const auto* const data = static_cast<const void*>(owner->data());
    return {owner, {static_cast<const uint8_t*>(data), owner->size()}};
}

ClientStream::ClientStream(ObjectPointer<GIOStream> stream, std::shared_ptr<Connection> connection,
                           size_t mostWaiting)
    : stream_(std::move(stream)),
      cancellable_(g_cancellable_new()),
      connection_(std::move(connection)),
      mostWaiting_(mostWaiting) {
    connection_->setIdle(false);
    connection_->allowForEver();
    connection_->keepSendBufferSmall();
}

// Closes the stream itself, because libsoup keeps a reference to it after the connection was taken.
// The socket is shut down first, so that TLS cannot wait for the client.
ClientStream::~ClientStream() {
    connection_->drop();
    g_io_stream_close(stream_.get(), nullptr, nullptr);
}

// Returns a reference for a callback of GIO, which keeps this object alive until it is called.
gpointer ClientStream::hold() {
    return std::make_unique<std::shared_ptr<ClientStream>>(shared_from_this()).release();
}

void ClientStream::watch(std::function<void()> onEnd) {
    onEnd_ = std::move(onEnd);
    readNext();
}

void ClientStream::send(Chunk chunk) {
    if (hasEnded_ || isFinishing_ || chunk.bytes.empty())
        return;
    if (waitingBytes_ + chunk.bytes.size() > mostWaiting_)
        return drop();
    waitingBytes_ += chunk.bytes.size();
    waiting_.push_back(std::move(chunk));
    writeNext();
}

void ClientStream::finish() {
    isFinishing_ = true;
    connection_->allow(15s);
    writeNext();
}

void ClientStream::abandon() {
    onEnd_ = nullptr;
    drop();
}

void ClientStream::drop() {
    if (hasEnded_)
        return;
    hasEnded_ = true;
    connection_->drop();
    g_cancellable_cancel(cancellable_.get());
    if (onEnd_)
        std::exchange(onEnd_, nullptr)();
}

void ClientStream::writeNext() {
    if (isWriting_ || hasEnded_)
        return;
    if (!waiting_.empty()) {
        isWriting_ = true;
        const std::span<const uint8_t> bytes = waiting_.front().bytes;
        g_output_stream_write_all_async(g_io_stream_get_output_stream(stream_.get()), bytes.data(),
                                        bytes.size(), G_PRIORITY_DEFAULT, cancellable_.get(),
                                        onWritten, hold());
    } else if (isFinishing_) {
        // Not closed at once: a client that is still sending would lose the answer.
        connection_->endSending();
        connection_->allow(LeavingTime);
    }
}

void ClientStream::onWritten(GObject* output, GAsyncResult* result, gpointer data) {
    const Held held(static_cast<Held::pointer>(data));
    ClientStream& self = **held;
    self.isWriting_ = false;
    self.waitingBytes_ -= self.waiting_.front().bytes.size();
    self.waiting_.pop_front();
    if (g_output_stream_write_all_finish(G_OUTPUT_STREAM(output), result, nullptr, nullptr) ==
        FALSE)
        return self.drop();
    self.writeNext();
}

void ClientStream::readNext() {
    g_input_stream_read_async(g_io_stream_get_input_stream(stream_.get()), ignored_.data(),
                              ignored_.size(), G_PRIORITY_DEFAULT, cancellable_.get(), onRead,
                              hold());
}

void ClientStream::onRead(GObject* input, GAsyncResult* result, gpointer data) {
    const Held held(static_cast<Held::pointer>(data));
    ClientStream& self = **held;
    if (g_input_stream_read_finish(G_INPUT_STREAM(input), result, nullptr) <= 0)
        return self.drop();
    if (!self.hasEnded_)
        self.readNext();
}
