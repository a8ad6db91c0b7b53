// Writes texts on a thread of its own, so that a slow reader does not delay the caller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

class BoundedWriter {
  public:
    // At most `mostBytes` wait to be written; a longer text is taken only when nothing else waits.
    // `onFailure` gets the errno of a failed write, on the writing thread. Nothing is written after
    // a failure. Leave the descriptor open: a blocked write may outlive this. `mayGiveUp` is for
    // settle; it must not wait.
    BoundedWriter(
        int descriptor, size_t mostBytes, bool (*mayGiveUp)(),
        std::function<void(int)> onFailure = [](int) {});
    // Calls settle. A write that is still blocked then stays behind on its thread.
    ~BoundedWriter();
    BoundedWriter(const BoundedWriter&) = delete;
    BoundedWriter& operator=(const BoundedWriter&) = delete;

    // Queues the text. Returns false and drops it when there is no room or after a failure. Never
    // waits. Any thread.
    bool write(std::string text);
    // Waits until all is written or a write has failed. While `mayGiveUp` returns true, also
    // gives up when the reader has taken nothing for a second, or a file for ten.
    void settle();
    bool isSettled() const;
    // Returns the number of texts that are not written to their end, the waiting ones included.
    uint64_t lost() const;
    // Returns the bytes of the accepted texts that are not written to their end.
    uint64_t unwrittenBytes() const;

  private:
    // Shared with the thread, because a blocked write may outlive this object.
    struct Shared;
    static void run(const std::shared_ptr<Shared>& shared);

    const std::shared_ptr<Shared> shared_;
    std::thread thread_;
};
