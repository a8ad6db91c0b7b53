// The hub as RTSP clients' threads use it. They may outlive the server and the hub.
#pragma once

#include <memory>
#include <shared_mutex>

#include "host/serve/hub.h"

// Owned in common by the objects that clients' threads use. All functions may be called on any
// thread.
class RtspHub {
  public:
    explicit RtspHub(Hub& hub) : hub_(&hub) {}

    // Returns `call(hub)`, or the result's default value when the hub has ended.
    template <typename Call>
    auto use(const Call& call) const {
        const std::shared_lock held(mutex_);
        using Result = decltype(call(*hub_));
        return hub_ == nullptr ? Result() : call(*hub_);
    }
    // Waits for calls in progress. The hub may be destroyed afterwards.
    void end() {
        const std::unique_lock held(mutex_);
        hub_ = nullptr;
    }

  private:
    mutable std::shared_mutex mutex_;
    Hub* hub_;
};
using SharedHub = std::shared_ptr<RtspHub>;
