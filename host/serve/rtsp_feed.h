// Feeds one RTSP medium (a GstRTSPMedia, the pipeline of an input): sends the input's sound to the
// clients, and a client's sound to an output.
#pragma once

#include <gst/app/app.h>
#include <gst/rtsp-server/rtsp-server.h>

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>

#include "host/serve/object_pointer.h"
#include "host/serve/rtsp_hub.h"
#include "host/serve/rtsp_talk.h"
#include "host/serve/talker_filter.h"

class RtspFeed;

// All feeds that exist. All functions may be called on any thread.
class RtspFeeds {
  public:
    static constexpr size_t MostBackchannels = 32;

    // Returns false when the feed has a backchannel and MostBackchannels others have one already.
    bool add(RtspFeed& feed);
    // Removes the feed and ends it. Waits while RtspFeeds::end ends it.
    void remove(RtspFeed& feed);
    // Sets each feed's number of clients: 0 for a feed that is missing in the map.
    void setClients(const std::map<RtspFeed*, int>& clients);
    // Ends all feeds. A feed that is added later ends at once.
    void end();

  private:
    std::mutex mutex_;  // guards what follows
    std::set<RtspFeed*> feeds_;
    size_t backchannels_ = 0;  // feeds with a backchannel among them
    bool hasEnded_ = false;
};

// What a mounted input needs to make its feeds.
struct RtspInput {
    SharedHub hub;
    int number;
    std::optional<int> talkOutput;
    std::shared_ptr<RtspFeeds> feeds;
};

// Pipelines in GStreamer's notation: captured mu-law to RTP, and a client's RTP to mu-law.
extern const char* const CaptureLaunch;
extern const char* const BackchannelLaunch;

// The medium owns its feed. The medium's streaming threads end before the feed. All functions may
// be called on any thread.
class RtspFeed {
  public:
    // Handles a factory's signal "media-configure": makes the medium's feed. `input` is the
    // factory's RtspInput.
    static void attach(GstRTSPMediaFactory* factory, GstRTSPMedia* medium, gpointer input);
    // Returns the medium's feed, or null.
    static RtspFeed* of(GstRTSPMedia* medium);

    RtspFeed(RtspInput input, GstRTSPMedia* medium);
    ~RtspFeed();
    RtspFeed(const RtspFeed&) = delete;
    RtspFeed& operator=(const RtspFeed&) = delete;

    // Returns false when RtspFeeds::add has refused the feed. The medium must not be used then.
    bool isAdmitted() const { return isAdmitted_; }
    bool hasBackchannel() const { return sink_ != nullptr; }
    RtspTalk& talk() { return talk_; }
    TalkerFilter& filter() { return *filter_; }
    // A new feed counts as one client until its first client is there: that one waits for sound
    // before it has a session.
    void setClients(int clients);
    // Stops both directions for good, and gives the output back.
    void end();

  private:
    void give(const FramePointer& frame);
    GstFlowReturn take(GstSample* sample);

    const RtspInput input_;
    const ObjectPointer<GstElement> source_;
    ObjectPointer<GstElement> sink_;  // null: without a backchannel
    int64_t soundEnd_ = 0;            // ns of the pipeline's time; used by the module's thread only
    int64_t lastPacket_ = 0;          // when the last packet begins; same time, same thread
    bool isAdmitted_ = false;         // set by the constructor
    RtspTalk talk_;
    const std::shared_ptr<TalkerFilter> filter_ = std::make_shared<TalkerFilter>();
    std::mutex mutex_;  // guards what follows
    std::unique_ptr<Listening> listening_;
    bool hadClients_ = false;
};
