#include "host/terminal/bounded_writer.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string_view>
#include <utility>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto Patience = 1s;
constexpr auto LookInterval = 100ms;

// Returns false while a write to the descriptor would block.
bool isWritable(int descriptor) {
    pollfd ready{descriptor, POLLOUT, 0};
    return poll(&ready, 1, 0) != 0;
}

}  // namespace

struct BoundedWriter::Shared {
    Shared(int fd, size_t most, bool (*giveUp)(), std::function<void(int)> told)
        : descriptor(fd), mostBytes(most), mayGiveUp(giveUp), onFailure(std::move(told)) {}

    const int descriptor;
    const size_t mostBytes;
    bool (*const mayGiveUp)();
    const std::function<void(int)> onFailure;

    std::mutex mutex;  // guards what follows
    std::condition_variable changed;
    std::deque<std::string> texts;  // the first is being written
    size_t bytes = 0;               // of the texts
    Clock::time_point progress{};   // when the reader last took bytes, or the first text was queued
    uint64_t lost = 0;
    uint64_t lostBytes = 0;  // accepted, but not written because of a failure
    bool failed = false;
    bool closed = false;

    // Writes in pieces, so that `progress` follows a slow reader. Returns 0 or an errno.
    int writeAll(std::string_view text) {
        while (!text.empty()) {
            const ssize_t written =
                ::write(descriptor, text.data(), std::min<size_t>(text.size(), PIPE_BUF));
            if (written < 0 && errno == EAGAIN) {  // the descriptor may be non-blocking
                pollfd ready{descriptor, POLLOUT, 0};
                poll(&ready, 1, -1);
                continue;
            }
            if (written < 0 && errno != EINTR)
                return errno;
            text.remove_prefix(static_cast<size_t>(std::max<ssize_t>(written, 0)));
            const std::lock_guard held(mutex);
            progress = Clock::now();
        }
        return 0;
    }
};

BoundedWriter::BoundedWriter(int descriptor, size_t mostBytes, bool (*mayGiveUp)(),
                             std::function<void(int)> onFailure)
    : shared_(std::make_shared<Shared>(descriptor, mostBytes, mayGiveUp, std::move(onFailure))),
      thread_(run, shared_) {}

BoundedWriter::~BoundedWriter() {
    settle();
    const bool isStuck = !isSettled();
    {
        const std::lock_guard held(shared_->mutex);
        shared_->closed = true;
        shared_->changed.notify_all();
    }
    if (isStuck)
        thread_.detach();
    else
        thread_.join();
}

void BoundedWriter::run(const std::shared_ptr<Shared>& shared) {
    std::unique_lock held(shared->mutex);
    while (true) {
        shared->changed.wait(held, [&] { return !shared->texts.empty() || shared->closed; });
        if (shared->closed)
            return;
        const std::string& text = shared->texts.front();
        held.unlock();
        const int error = shared->writeAll(text);
        if (error != 0)
            shared->onFailure(error);
        held.lock();
        if (error != 0) {
            shared->failed = true;
            shared->lost += shared->texts.size();
            shared->texts.clear();
            shared->lostBytes += std::exchange(shared->bytes, 0);
        } else {
            shared->bytes -= text.size();
            shared->texts.pop_front();
        }
        shared->changed.notify_all();
    }
}

bool BoundedWriter::write(std::string text) {
    const std::lock_guard held(shared_->mutex);
    const bool hasRoom =
        shared_->texts.empty() || shared_->bytes + text.size() <= shared_->mostBytes;
    if (shared_->failed || !hasRoom) {
        ++shared_->lost;
        return false;
    }
    if (shared_->texts.empty())
        shared_->progress = Clock::now();
    shared_->bytes += text.size();
    shared_->texts.push_back(std::move(text));
    shared_->changed.notify_all();
    return true;
}

void BoundedWriter::settle() {
    std::unique_lock held(shared_->mutex);
    // A write to a file on a disk that hangs blocks, although the file counts as writable.
    const auto isStalled = [&] {
        const auto waited = Clock::now() - shared_->progress;
        return waited > (isWritable(shared_->descriptor) ? 10 * Patience : Patience);
    };
    while (!shared_->texts.empty() && !(shared_->mayGiveUp() && isStalled()))
        shared_->changed.wait_for(held, LookInterval);
}

bool BoundedWriter::isSettled() const {
    const std::lock_guard held(shared_->mutex);
    return shared_->texts.empty();
}

uint64_t BoundedWriter::unwrittenBytes() const {
    const std::lock_guard held(shared_->mutex);
    return shared_->lostBytes + shared_->bytes;
}

uint64_t BoundedWriter::lost() const {
    const std::lock_guard held(shared_->mutex);
    return shared_->lost + shared_->texts.size();
}
