// The implementation of the hub. Functions are described in host/serve/hub.h.
#pragma once

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <set>

#include "host/serve/hub.h"
#include "host/serve/talk_line.h"

// Keeps the figures, the status and the log that follow from the module's records. All functions
// may be called on any thread.
class HubLedger {
  public:
    // Counts the frame, and sets `served.followsGap`.
    void hearFrame(const CapturedFrame& frame, ServedFrame& served);
    // Returns true when the line is kept.
    bool hearLog(int32_t level, std::string_view text);
    // Returns the event that the document causes, if any.
    std::optional<HubEvent> hearDocument(std::string_view xml, int64_t kind);
    // Returns the state, in which `clients`, `isKeptOff` and `buffers` are not set.
    HubState state(const std::vector<ChannelDescription>& channels) const;

  private:
    struct Track {
        ChannelState state;
        int64_t arrival = 0;    // of the last frame, steady ms
        int64_t expected = 0;   // when the next frame is due, steady ms; 0: no frame came yet
        int64_t lateSince = 0;  // steady ms; 0: the last frame was not late
        int64_t leastLate = 0;  // ms, the smallest lateness since `lateSince`
    };

    static bool followsGap(Track& track, int64_t arrival);

    mutable std::mutex mutex_;  // guards what follows
    std::map<int32_t, Track> tracks_;
    std::string version_;
    bool isAlarmed_ = false;
    std::deque<HubLogLine> log_;
    uint64_t linesCounted_ = 0;
};

class HubImpl : public std::enable_shared_from_this<HubImpl> {
  public:
    HubImpl(const HubOptions& options, Console& console);

    BufferAccount finish();
    HubState state() const;
    std::string description() const { return session_.descriptionXml(); }
    std::optional<ChannelDescription> find(std::string_view numberOrName, bool isOutput) const;
    bool mayListen(int number) const;
    std::unique_ptr<Listening> listen(int number, OnServedFrame onFrame);
    void setClients(uint64_t key, int clients);
    void endListening(uint64_t key);
    std::unique_ptr<Observing> observe(OnHubEvent onEvent);
    void endObserving(uint64_t key);
    TalkAnswer beginTalk(int number);
    void endTalk(int number);
    // Returns the line of an output that has had a talk. Lines are never removed.
    TalkLine& line(int number);
    ChangeAnswer change(int number, const ChannelChange& change, OnApplied onApplied);

  private:
    struct Listener {
        int number;
        int32_t channelId;
        OnServedFrame onFrame;
        int clients;
    };

    ModuleListener moduleListener();
    void tell(HubEvent event);
    int clientsOf(int number) const;
    std::optional<ChannelDescription> described(int number) const;
    void adaptToClients(int number);
    bool ask(int number, const ChannelChange& change, OnApplied onApplied);
    void answerAsked();

    const HubOptions options_;
    HubLedger ledger_;

    // Guards the listeners, which are called while it is held. Nothing else is called then.
    mutable std::mutex listenersMutex_;
    std::map<uint64_t, Listener> listeners_;
    uint64_t lastKey_ = 0;

    std::mutex observersMutex_;  // guards the observers in the same way
    std::map<uint64_t, OnHubEvent> observers_;
    uint64_t lastObserver_ = 0;

    mutable std::mutex mutex_;  // guards what follows; the module is not called while it is held
    std::map<int, std::unique_ptr<TalkLine>> lines_;
    std::set<int> enabledForClients_;
    std::set<int> keptOff_;
    std::deque<OnApplied> asked_;   // in the order of the documents; the module answers each once
    std::map<int, bool> askedFor_;  // enabled or disabled by documents not answered yet
    std::condition_variable answered_;
    bool hasEnded_ = false;

    std::mutex askMutex_;  // keeps documents in the order of `asked_`
    Session session_;      // the last member, because its callbacks use the others
};
