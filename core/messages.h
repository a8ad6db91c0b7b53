// The host deliveries that travel through the message queue.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <utility>
#include <variant>

#include "plugin/host_link.h"

namespace ipcam {

// A delivery owns the host buffer that it carries. Destroying the delivery hands the buffer back.
// Moving it leaves the source without a buffer, so that each goes back exactly once.
struct HostDelivery {
    HostDelivery(const void* hostBuffer, uint64_t byteCount) noexcept
        : data(hostBuffer), length(byteCount) {}
    HostDelivery(HostDelivery&& other) noexcept
        : data(std::exchange(other.data, nullptr)), length(std::exchange(other.length, 0)) {}
    HostDelivery& operator=(HostDelivery&&) = delete;
    ~HostDelivery() {
        if (data != nullptr)
            releaseHostBuffer(data);
    }

    const void* data;
    uint64_t length;  // bytes
};

// A configuration document.
struct IoctlMessage : HostDelivery {
    using HostDelivery::HostDelivery;
};

// A document sent with IoctlHostDocument.
struct WriteMessage : HostDelivery {
    using HostDelivery::HostDelivery;
};

// Not used: no entry point queues it, and its handler does nothing.
struct AudioMessage : HostDelivery {
    AudioMessage(const void* hostBuffer, uint64_t byteCount, uint32_t extra) noexcept
        : HostDelivery(hostBuffer, byteCount), value(extra) {}
    AudioMessage(AudioMessage&& other) noexcept
        : HostDelivery(std::move(other)), value(std::exchange(other.value, 0)) {}
    AudioMessage& operator=(AudioMessage&&) = delete;
    ~AudioMessage() = default;

    uint32_t value;
};

}  // namespace ipcam

using HostMessageVariant =
    std::variant<ipcam::IoctlMessage, ipcam::WriteMessage, ipcam::AudioMessage>;

// The oldest message is at the front. A list, because its nodes are allocated before the queue's
// lock is taken and join or leave the queue without allocating.
using HostMessageQueue = std::list<HostMessageVariant>;

// One handler for each message type, called on the worker's thread. An empty one is skipped.
struct MessageHandlers {
    std::function<void(const ipcam::AudioMessage&)> onAudioMessage;
    std::function<void(const ipcam::WriteMessage&)> onWriteMessage;
    std::function<void(const ipcam::IoctlMessage&)> onIoctlMessage;
};
