// One running module behind any number of clients: who wants to hear an input listens, who wants to
// talk is given the output, and all see the same state.
//
//     Hub hub(options, console);
//     auto listening = hub.listen(0, [&](const FramePointer& frame) { queue.push(frame); });
//     if (const TalkAnswer answer = hub.beginTalk(1); answer.talk)
//         answer.talk->append(codes);
//
// Threads: all functions may be called on any thread, and none waits for the module, but for the
// construction, finish and the destruction. These belong to the main thread. Callbacks come on the
// module's threads, several at once, and on threads that call the hub. They must return at once and
// must not call the hub or end what they belong to: they hand the work on (host/serve/main_loop.h
// has `post`). Once a Listening or an Observing is gone its callback is not called any more.
//
// Ownership: Listenings, Observings and Talks must be gone before the hub.
#pragma once

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
    // An input that was enabled for its clients is disabled when the last one has left. Else it
    // stays enabled until the hub ends.
    bool stopIdleInputs = false;
};

struct ServedFrame {
    std::vector<uint8_t> codes;  // mu-law, 8000 Hz
    int64_t milliseconds = 0;    // Unix time of its first sample's capture
    bool followsGap = false;     // sound was lost before it, or it is the first one
};
// One frame for all who listen.
using FramePointer = std::shared_ptr<const ServedFrame>;
using OnServedFrame = std::function<void(const FramePointer& frame)>;

// A channel and what has become of it since the hub began.
struct ChannelState {
    ChannelDescription channel;
    uint64_t frames = 0;
    uint64_t gaps = 0;       // times when sound was lost
    uint64_t restarts = 0;   // of the stream, by the module's watchdog
    double level = 0;        // peak of the last frame, 0 to 1; 0 when none came for three seconds
    int64_t lastFrame = 0;   // Unix time (ms) of its capture; 0: none came yet
    int clients = 0;         // who listen to an input, or talk on an output
    bool isKeptOff = false;  // disabled by a `change`: clients do not enable it
};

struct HubLogLine {
    uint64_t number = 0;  // counts all lines from 1; those kept are the last ones
    int64_t milliseconds = 0;
    int32_t level = 0;
    std::string text;  // anybody's: escape it
};

struct HubState {
    std::string version;  // of the module
    std::vector<ChannelState> channels;
    bool isAlarmed = false;  // the device status
    BufferAccount buffers;
    std::vector<HubLogLine> log;  // the oldest first
};

enum class HubEvent {
    Channels,  // a description came: names, devices, states
    Status,    // the device status
    Log,       // a line
    Clients,   // somebody came or left
};
using OnHubEvent = std::function<void(HubEvent event)>;

struct ChannelChange {
    std::optional<std::string> name;  // UTF-8, 1 to Hub::MostNameBytes bytes, no control characters
    std::optional<bool> enabled;
};
enum class ChangeAnswer { Asked, NoSuchChannel, BadName, Refused };
// Told once: true when the module has described its channels after the change, false when the hub
// ended before.
using OnApplied = std::function<void(bool isApplied)>;

class HubImpl;

// Who listens. Its destruction waits for a call in progress, which returns at once.
class Listening {
  public:
    Listening(std::shared_ptr<HubImpl> hub, uint64_t key) : hub_(std::move(hub)), key_(key) {}
    ~Listening();
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;

    // How many clients there are behind it, 1 at first. Without any the input may become idle.
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

// The right to an output, until it is destroyed. What was put before is played to its end then.
// One thread at a time.
class Talk {
  public:
    Talk(std::shared_ptr<HubImpl> hub, int number) : hub_(std::move(hub)), number_(number) {}
    ~Talk();
    Talk(const Talk&) = delete;
    Talk& operator=(const Talk&) = delete;

    // Sound (mu-law) of a sender who tells its time, `position` samples after a beginning of its
    // own, which must not go back. What is missing since the codes before becomes silence. Never
    // waits; false when they are dropped, as more than `Hub::MostTalkAhead` samples wait already.
    bool put(int64_t position, std::span<const uint8_t> codes);
    // Sound that follows what was put before.
    bool append(std::span<const uint8_t> codes);
    // Samples that append takes now: for a sender who is faster than the sound.
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
    static constexpr size_t MostNameBytes = 128;
    static constexpr size_t MostTalkAhead = size_t{4} * AudioSampleRate;
    static constexpr size_t KeptLogLines = 200;

    // Runs the module as a Session does, and throws as it does.
    Hub(const HubOptions& options, Console& console);
    // Ends as finish does.
    ~Hub();
    Hub(const Hub&) = delete;
    Hub& operator=(const Hub&) = delete;

    // Restores the inputs that were enabled for clients, stops the module, and answers the final
    // account, in which as many buffers have returned as were lent. Nothing can be asked of the hub
    // afterwards.
    BufferAccount finish();

    HubState state() const;
    // The module's description of its channels (XML).
    std::string description() const;
    // By its number, or else by its name.
    std::optional<ChannelDescription> find(std::string_view numberOrName, bool isOutput) const;

    // False when there is no such input, it has no device or is kept off.
    bool mayListen(int number) const;
    // Each captured frame of an input from now on. The first one who listens enables the input,
    // unless it is kept off. Null when there is no such input or it has no device.
    std::unique_ptr<Listening> listen(int number, OnServedFrame onFrame);
    // What changes from now on; ask for the state then.
    std::unique_ptr<Observing> observe(OnHubEvent onEvent);
    // One talks on an output at a time.
    TalkAnswer beginTalk(int number);
    // A disabled channel is kept off its clients until it is enabled again, or the hub ends.
    ChangeAnswer change(int number, const ChannelChange& change, OnApplied onApplied);

  private:
    const std::shared_ptr<HubImpl> impl_;
};
