// Writes texts on a thread of its own, so that a reader who stalls holds up nobody.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

class BoundedWriter {
  public:
    // The descriptor stays open while this lives. So many bytes may wait; a text that is longer
    // waits alone. `onFailure` is told, on the thread of this, the errno of a write that failed,
    // after which nothing is written any more.
    BoundedWriter(
        int descriptor, size_t mostBytes, std::function<void(int)> onFailure = [](int) {});
    // Settles.
    ~BoundedWriter();
    BoundedWriter(const BoundedWriter&) = delete;
    BoundedWriter& operator=(const BoundedWriter&) = delete;

    // False when there is no room for the text, which is lost then. Never waits. Any thread.
    bool write(std::string text);
    // Waits until all is written or nothing can be. Once the user has stopped the tool, a reader
    // who takes nothing for a second is not waited for.
    void settle();
    bool isSettled() const;
    // Texts that were not written, or not wholly.
    uint64_t lost() const;
    // Bytes of the texts that were accepted and are not, or not wholly, written.
    uint64_t unwrittenBytes() const;

  private:
    // The thread keeps it, too: a write that waits for a reader outlives this.
    struct Shared;
    static void run(const std::shared_ptr<Shared>& shared);

    const std::shared_ptr<Shared> shared_;
    std::thread thread_;
};
