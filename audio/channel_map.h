// Every channel of the module, by ID.
#pragma once

#include <map>
#include <memory>

#include "audio/channel.h"
#include "base/mutex.h"

// The worker alone adds and removes channels, under the lock; it reads without. Host threads only
// look channels up, under the lock, and let it go before they use what they found: a channel lives
// until Unload, so the pointer stays good.
class ChannelMap {
  public:
    using Channels = std::map<int32_t, std::unique_ptr<Channel>>;

    // Any thread; null when there is no such channel.
    Channel* find(int32_t id) EXCLUDES(lock_) {
        const MutexLock held(lock_);
        const auto found = channels_.find(id);
        return found == channels_.end() ? nullptr : found->second.get();
    }

    // Worker thread. The channel with `number`'s ID, made when there is none.
    Channel& findOrCreate(uint32_t number, bool isInput) EXCLUDES(lock_) {
        if (Channel* existing = find(channelId(number)))
            return *existing;
        Channels one;
        one.emplace(channelId(number), std::make_unique<Channel>(number, isInput));
        Channel& created = *one.begin()->second;
        const MutexLock held(lock_);
        channels_.merge(one);
        return created;
    }

    // Worker thread, or Unload once the worker has ended. Destroys all channels, by ascending ID.
    void clear() EXCLUDES(lock_) {
        Channels leaving;
        {
            const MutexLock held(lock_);
            leaving.swap(channels_);
        }
        while (!leaving.empty()) {
            leaving.begin()->second->purgeBlocks(false);
            leaving.erase(leaving.begin());
        }
    }

    // Worker thread; ascending ID.
    auto begin() const NO_THREAD_SAFETY_ANALYSIS { return channels_.begin(); }
    auto end() const NO_THREAD_SAFETY_ANALYSIS { return channels_.end(); }
    bool empty() const NO_THREAD_SAFETY_ANALYSIS { return channels_.empty(); }

  private:
    Mutex lock_;
    Channels channels_ GUARDED_BY(lock_);
};
