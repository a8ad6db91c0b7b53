// Every channel of the module, by ID.
#pragma once

#include <map>
#include <memory>

#include "audio/channel.h"
#include "base/mutex.h"

// Only the worker adds and removes channels. It takes the lock to do so and reads without it. Host
// threads look channels up under the lock and release it before they use what they found: a channel
// lives until Unload, so the pointer stays valid.
class ChannelMap {
  public:
    using Channels = std::map<int32_t, std::unique_ptr<Channel>>;

    // Returns null when there is no such channel. Any thread.
    Channel* find(int32_t id) EXCLUDES(lock_) {
        const MutexLock held(lock_);
        const auto found = channels_.find(id);
        return found == channels_.end() ? nullptr : found->second.get();
    }

    // Returns the channel with the ID of `number`, and creates it when there is none. Worker
    // thread.
    Channel& findOrCreate(uint32_t number, bool isInput) EXCLUDES(lock_) {
        if (Channel* existing = find(channelId(number)))
            return *existing;
        Channels node;
        node.emplace(channelId(number), std::make_unique<Channel>(number, isInput));
        Channel& created = *node.begin()->second;
        const MutexLock held(lock_);
        channels_.merge(node);
        return created;
    }

    // Destroys all channels, by ascending ID. Unload, once the worker has ended.
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
