// Serves the inputs by RTSP at rtsp://ADDRESS:PORT/CHANNEL, with an ONVIF backchannel to an output.
#pragma once

#include <gst/rtsp-server/rtsp-server.h>

#include <memory>

#include "host/serve/access.h"
#include "host/serve/hub.h"
#include "host/serve/rtsp_connections.h"
#include "host/serve/rtsp_feed.h"
#include "host/serve/serve_options.h"

// All functions run on the main thread. GStreamer gives each client a thread of its own.
class RtspServer {
  public:
    // Serves on the main loop until it is destroyed. Throws std::runtime_error.
    RtspServer(Hub& hub, const ServeOptions& options, const Access& access);
    // Sends all clients away. Their threads may go on for a moment. They do not use the hub any
    // more, so it may be destroyed then.
    ~RtspServer();
    RtspServer(const RtspServer&) = delete;
    RtspServer& operator=(const RtspServer&) = delete;

    // Returns the URL before the channels, such as "rtsp://127.0.0.1:8554/".
    std::string url() const;

  private:
    void mount(const ChannelDescription& input, std::optional<int> talkOutput);
    void listen();
    void guard(const Access& access);
    void welcome(GstRTSPClient* client);
    void keepHouse();

    const SharedHub hub_;
    const ServeOptions& options_;
    const bool hasTls_;
    const ObjectPointer<GstRTSPServer> server_;
    RtspConnections connections_;
    const ObjectPointer<GstRTSPSessionPool> sessions_;
    const std::shared_ptr<RtspFeeds> feeds_ = std::make_shared<RtspFeeds>();
    guint listening_ = 0;
    guint housekeeping_ = 0;
};
