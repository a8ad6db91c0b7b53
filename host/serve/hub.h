// Shares one running module among any number of clients. Many can listen to an input, one at a time
// can talk on an output, and all see the same state.
//
//     Hub hub(options, console);
//     auto listening = hub.listen(0, [&](const FramePointer& frame) { queue.push(frame); });
//     if (const TalkAnswer answer = hub.beginTalk(1); answer.talk)
//         answer.talk->append(codes);
//
// Threads: all functions may be called on any thread. Only the constructor, finish and the
// destructor wait for the module; these belong to the main thread. Callbacks run on the module's
// threads, several at once, and on threads that call the hub. They must return at once, and must
// not call the hub or destroy the object that they belong to: they pass the work on, for instance
// with `post` (host/serve/main_loop.h). A Listening or Observing makes no call after its
// destruction.
//
// Ownership: all Listenings, Observings and Talks must be destroyed before the hub.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/session/documents.h"
#include "host/session/module_host.h"
#include "host/session/session.h"
#include "host/terminal/console.h"

struct HubOptions {
    SessionOptions session;
    // If true, an input that was enabled for its clients is disabled when the last one has left. If
    // false, it stays enabled until the hub ends.
    bool stopIdleInputs = false;
};

struct ServedFrame {
    std::vector<uint8_t> codes;  // mu-law, 8000 Hz
    int64_t milliseconds = 0;    // Unix time of its first sample's capture
    bool followsGap = false;     // sound was lost before it, or it is the first one
};
// All listeners share one frame.
using FramePointer = std::shared_ptr<const ServedFrame>;
using OnServedFrame = std::function<void(const FramePointer& frame)>;

// A channel, its state, and its figures since the hub began.
struct ChannelState {
    ChannelDescription channel;
    uint64_t frames = 0;
    uint64_t gaps = 0;       // times when sound was lost
    uint64_t restarts = 0;   // of the stream, by the module's watchdog
    double level = 0;        // peak of the last frame, 0 to 1; 0 when none came for three seconds
    int64_t lastFrame = 0;   // Unix time (ms) of its capture; 0: none came yet
    int clients = 0;         // clients that listen to the input or talk on the output
    bool isKeptOff = false;  // disabled by `change`, so that clients do not enable it
};

struct HubLogLine {
    uint64_t number = 0;  // counts the lines of LogInfo and above, from 1
    int64_t milliseconds = 0;
    int32_t level = 0;
    std::string text;  // may come from outside, so escape it
};

struct HubState {
    std::string version;  // of the module
    std::vector<ChannelState> channels;
    bool isAlarmed = false;  // the device status
    BufferAccount buffers;
    std::vector<HubLogLine> log;  // the last KeptLogLines, the oldest first
};

enum class HubEvent {
    Channels,  // the module has described its channels: names, devices, states
    Status,    // the module has reported the device status
    Log,       // a log line was kept
    Clients,   // a client came or left
};
using OnHubEvent = std::function<void(HubEvent event)>;

struct ChannelChange {
    std::optional<std::string> name;  // must be good (host/serve/channel_names.h)
    std::optional<bool> enabled;
};
enum class ChangeAnswer { Asked, NoSuchChannel, BadName, Refused };
// Called once if the change was Asked: with true when the module has described its channels after
// it, with false when the hub ended before that.
using OnApplied = std::function<void(bool isApplied)>;

class HubImpl;

// The right to an input's frames, until it is destroyed. The destructor waits for a callback in
// progress.
class Listening {
  public:
    Listening(std::shared_ptr<HubImpl> hub, uint64_t key) : hub_(std::move(hub)), key_(key) {}
    ~Listening();
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;

    // Sets the number of clients that share this object, 1 at first. With 0 the input may be
    // disabled (HubOptions::stopIdleInputs).
    void setClients(int clients);

  private:
    const std::shared_ptr<HubImpl> hub_;
    const uint64_t key_;
};

class Observing {
  public:
    Observing(std::shared_ptr<HubImpl> hub, uint64_t key) : hub_(std::move(hub)), key_(key) {}
    ~Observing();
    Observing(const Observing&) = delete;
    Observing& operator=(const Observing&) = delete;

  private:
    const std::shared_ptr<HubImpl> hub_;
    const uint64_t key_;
};

// A client that sends nothing for so long must give its Talk back.
constexpr std::chrono::seconds TalkPatience{10};

// The right to an output, until it is destroyed. Sound that was put before is still played then.
// Used by one thread at a time.
class Talk {
  public:
    Talk(std::shared_ptr<HubImpl> hub, int number) : hub_(std::move(hub)), number_(number) {}
    ~Talk();
    Talk(const Talk&) = delete;
    Talk& operator=(const Talk&) = delete;

    // Adds mu-law codes with the sender's time: `position` counts samples from any beginning. A gap
    // after the previous codes becomes silence, at most two seconds. Never waits. Returns false and
    // drops the codes when the output is kept off, or when more than three seconds would wait here
    // and in the module.
    bool put(int64_t position, std::span<const uint8_t> codes);
    // Adds mu-law codes directly after the previous ones. Never waits. Returns false and drops the
    // codes when they do not fit `room`.
    bool append(std::span<const uint8_t> codes);
    // Returns the number of samples that append takes now, for senders faster than real time.
    size_t room() const;

  private:
    const std::shared_ptr<HubImpl> hub_;
    const int number_;
};

enum class TalkRefusal { None, NoSuchOutput, NoDevice, KeptOff, Busy };
struct TalkAnswer {
    std::unique_ptr<Talk> talk;  // null when refused
    TalkRefusal refusal = TalkRefusal::None;
};

class Hub {
  public:
    static constexpr size_t MostTalkAhead = size_t{4} * AudioSampleRate;  // samples, for append
    static constexpr size_t KeptLogLines = 200;

    // Runs the module as a Session does, and throws as it does.
    Hub(const HubOptions& options, Console& console);
    // Ends as finish does.
    ~Hub();
    Hub(const Hub&) = delete;
    Hub& operator=(const Hub&) = delete;

    // Disables the channels that were enabled for clients, stops the module, and returns the
    // account of all buffers. Afterwards the hub may only be destroyed.
    BufferAccount finish();

    HubState state() const;
    // Returns the module's description of its channels (XML).
    std::string description() const;
    // Finds a channel by its number, or else by its name.
    std::optional<ChannelDescription> find(std::string_view numberOrName, bool isOutput) const;

    // Returns false when there is no such input, when it has no device or when it is kept off.
    bool mayListen(int number) const;
    // Calls `onFrame` with each captured frame of an input from now on. Enables the input, unless
    // it is kept off. Returns null when there is no such input or it has no device.
    std::unique_ptr<Listening> listen(int number, OnServedFrame onFrame);
    // Calls `onEvent` at each change from now on. The new state is in `state`.
    std::unique_ptr<Observing> observe(OnHubEvent onEvent);
    // Gives an output to one talker at a time and enables it, or says why not.
    TalkAnswer beginTalk(int number);
    // Asks the module to rename, enable or disable a channel. A channel that was disabled here is
    // kept off: clients cannot use it until it is enabled here, or the hub ends.
    ChangeAnswer change(int number, const ChannelChange& change, OnApplied onApplied);

  private:
    const std::shared_ptr<HubImpl> impl_;
};
