// The sound of one RTSP medium: an input to its clients, and back from a client to an output.
#pragma once

#include <gst/app/app.h>
#include <gst/rtsp-server/rtsp-server.h>

#include <memory>
#include <mutex>
#include <optional>
#include <set>

#include "host/serve/access.h"
#include "host/serve/hub.h"

class RtspFeed;

// All feeds there are. Any thread.
class RtspFeeds {
  public:
    void add(RtspFeed& feed);
    void remove(RtspFeed& feed);
    // Ends them all; one that is added later ends at once.
    void end();

  private:
    std::mutex mutex_;
    std::set<RtspFeed*> feeds_;
    bool hasEnded_ = false;
};

// An input as it is mounted.
struct RtspInput {
    Hub& hub;
    int number;
    std::optional<int> talkOutput;
    std::shared_ptr<RtspFeeds> feeds;
};

// GStreamer's description of what a medium is made of: mu-law as it was captured.
extern const char* const CaptureLaunch;
extern const char* const BackchannelLaunch;

// Lives as long as its medium, which owns it. Any thread.
class RtspFeed {
  public:
    // For the signal "media-configure" of a factory whose input is `input` (RtspInput).
    static void attach(GstRTSPMediaFactory* factory, GstRTSPMedia* medium, gpointer input);
    // Null when the medium has none.
    static RtspFeed* of(GstRTSPMedia* medium);

    RtspFeed(RtspInput input, GstRTSPMedia* medium);
    ~RtspFeed();
    RtspFeed(const RtspFeed&) = delete;
    RtspFeed& operator=(const RtspFeed&) = delete;

    // Gives the output to who is about to set its backchannel up; false when another has it.
    bool takeOutput();
    void setClients(int clients);
    // Neither gives nor takes sound any more.
    void end();

  private:
    void give(const FramePointer& frame);
    GstFlowReturn take(GstSample* sample);

    const RtspInput input_;
    const ObjectPointer<GstElement> source_;
    ObjectPointer<GstElement> sink_;  // null: without a backchannel
    int64_t soundEnd_ = 0;    // of the sound so far, as RTP counts it; the module's thread's
    int64_t lastPacket_ = 0;  // when the last packet began; the module's thread's
    std::mutex mutex_;        // guards what follows
    std::unique_ptr<Listening> listening_;
    std::unique_ptr<Talk> talk_;
};
