// Limits the RTSP connections. All functions run on the main thread.
#pragma once

#include <gst/rtsp-server/rtsp-server.h>

#include <cstdint>

class RtspConnections {
  public:
    static constexpr guint Most = 200;

    // The server outlives this.
    explicit RtspConnections(GstRTSPServer* server) : server_(server) {}

    // Counts a client that has just connected. When there are too many, the oldest connection
    // without a session ends; this may be the new one.
    void add(GstRTSPClient* client);
    // Ends connections that have had no session for half a minute, or have sent 64 KiB meanwhile.
    // Called each second.
    void endIdle();
    // Ends all connections. Waits until the clients' threads have closed them, for two seconds at
    // most. No client may connect meanwhile.
    void endAll();

  private:
    GstRTSPServer* const server_;
    uint64_t added_ = 0;
};
