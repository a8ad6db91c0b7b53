// The module's central object. Load creates the only one, Unload destroys it.
//
// It owns the channels, the device list, the settings and the queue through which the host's
// documents reach the worker.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "audio/channel_map.h"
#include "base/mutex.h"
#include "core/messages.h"
#include "devices/device_scan.h"

class CPlugin {
  public:
    CPlugin();

    // ---- any host thread
    // Queues a delivery that owns the host's buffer `data` of `length` bytes. Throws
    // std::bad_alloc; nothing is queued then, and the host keeps the buffer.
    template <typename Message>
    void enqueue(const void* data, uint64_t length) EXCLUDES(queueMutex) {
        HostMessageQueue node;
        node.emplace_back(std::in_place_type<Message>, nullptr, length);
        const MutexLock held(queueMutex);
        std::get<Message>(node.back()).data = data;  // nothing can fail from here on
        messageQueue.splice(messageQueue.end(), node);
    }
    // Returns the channel that host records address by `id`, or null.
    Channel* findChannel(int32_t id) { return channels.find(id); }
    // Asks the worker to stop. A stop is final.
    void requestStop() { stopRequested.exchange(true); }
    bool isStopRequested() const { return stopRequested.load(); }

    // ---- the worker's thread
    // Runs the worker loop until a stop is requested (core/worker.cpp).
    void runWorker();
    // Hands up to 4 queued deliveries to their handlers. Returns at once when a host thread holds
    // the queue.
    void processQueue() EXCLUDES(queueMutex);
    // Tells the host when the devices turned faulty or healthy (core/device_status.cpp).
    void emitDeviceStatus();
    // Initialises PortAudio, scans the devices, applies the settings file and saves it
    // (core/configuring.cpp, as the next two).
    void startAudioSystem();
    // Applies a configuration document of the host or the settings file; `root` may be null.
    // Returns false when it holds nothing for this module.
    bool applyConfiguration(const TiXmlElement* root, bool fromSettings);
    // Saves the settings and channels and sends them to the host.
    void writeSettings();

    // ---- Unload, once the worker has ended
    // Drops every channel, handing buffers back, and terminates PortAudio.
    void teardown();

  private:
    HostMessageQueue takeBatch(size_t maximum) EXCLUDES(queueMutex);
    void onIoctlMessage(const ipcam::IoctlMessage& message);
    void dispatch(const HostMessageVariant& message) const;
    void loadSettings(TiXmlDocument& file) const;
    void pass();
    void serveChannel(Channel& channel);
    void drainCaptured(Channel& channel) const;
    bool sleepUnlessStopped(int32_t milliseconds) const;

    HostMessageQueue messageQueue GUARDED_BY(queueMutex);
    Mutex queueMutex;  // host threads wait for it, the worker only tries it
    std::unique_ptr<MessageHandlers> handlers;  // only the worker uses these two
    std::string textBuffer;                     // text of the document that is being applied
    std::atomic<bool> stopRequested{false};

    // Only the worker uses the members below, without a lock. Host threads only look up channels.
    bool audioStarted = false;  // PortAudio is up
    // True once everything in the settings file is in memory. Before that a save would lose it.
    bool settingsHeld = false;
    int32_t bufferLength = 250;        // ms; see Channel::maintainOutput
    int32_t passPeriodMs = 1;          // pause between passes
    bool deviceAlarmed = false;        // the status last sent
    std::vector<AudioDevice> devices;  // found by the scan
    ChannelMap channels;
    bool forceOsServices = true;  // kept for the host; no effect on Linux
};

// Null before Load and after Unload. Only these two write it.
extern CPlugin* g_plugin;
