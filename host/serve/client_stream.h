// Sends bytes to an HTTP client: sound or events until the client leaves, or a refusal while it is
// still sending the body of its request. The number of bytes that wait for the client is limited.
//
// All functions run on the main loop's thread.
#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "host/serve/connections.h"
#include "host/serve/object_pointer.h"

// Bytes, and the object that owns them.
struct Chunk {
    std::shared_ptr<const void> owner;
    std::span<const uint8_t> bytes;
};
Chunk chunkOf(std::string text);

class ClientStream : public std::enable_shared_from_this<ClientStream> {
  public:
    // `stream` belongs to `connection`. A client for whom more than `mostWaiting` bytes wait is
    // dropped.
    ClientStream(ObjectPointer<GIOStream> stream, std::shared_ptr<Connection> connection,
                 size_t mostWaiting);
    ~ClientStream();
    ClientStream(const ClientStream&) = delete;
    ClientStream& operator=(const ClientStream&) = delete;

    // Calls `onEnd` once, when the client has left or was dropped.
    void watch(std::function<void()> onEnd);
    void send(Chunk chunk);
    // Ends the stream when all is sent and the client has closed its side, or after some seconds.
    void finish();
    // Ends the stream now. `onEnd` is not called.
    void abandon();

  private:
    using Held = std::unique_ptr<std::shared_ptr<ClientStream>>;
    gpointer hold();
    void writeNext();
    void readNext();
    void drop();
    static void onWritten(GObject* output, GAsyncResult* result, gpointer data);
    static void onRead(GObject* input, GAsyncResult* result, gpointer data);

    const ObjectPointer<GIOStream> stream_;
    const ObjectPointer<GCancellable> cancellable_;
    const std::shared_ptr<Connection> connection_;
    const size_t mostWaiting_;
    std::function<void()> onEnd_;
    std::deque<Chunk> waiting_;  // the first is being written
    size_t waitingBytes_ = 0;
    bool isWriting_ = false;
    bool isFinishing_ = false;
    bool hasEnded_ = false;
    std::array<char, 512> ignored_{};  // what the client sends meanwhile
};
