// Keeps packets of strangers, and packets without mu-law sound, out of a backchannel's RTP session.
#pragma once

#include <gst/rtsp-server/rtsp-server.h>

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

// GStreamer's session would stop receiving at the second sender's first packet. So packets pass
// from one sender at a time only, and all get the first sender's identifier (SSRC).
class TalkerFilter {
  public:
    using Identifier = std::array<uint8_t, 4>;

    // Filters what an RTP manager (rtpbin) receives from now on. The manager shares the ownership.
    static void attach(const std::shared_ptr<TalkerFilter>& filter, GstElement* rtpManager);

    // From now on UDP packets pass only when they come from this client's address. Before that, no
    // sound passes by UDP. Any thread.
    void setTalker(GstRTSPClient* client);

  private:
    // Handles a packet. Returns false to drop it.
    using Handler = bool (TalkerFilter::*)(GstBuffer*& packet);

    static void addProbe(const std::shared_ptr<TalkerFilter>& filter, GstPad* pad, Handler handler);
    bool passSound(GstBuffer*& packet);
    bool passReport(GstBuffer*& packet);
    bool isSender(const Identifier& identifier);
    std::string talker();
    Identifier first();

    std::mutex mutex_;        // guards what follows
    std::string talker_;      // address bytes; empty: nobody has set the backchannel up
    Identifier sender_{};     // whose packets pass
    Identifier first_{};      // what they get as identifier
    int64_t lastPacket_ = 0;  // steady ms; 0: none came yet
};
