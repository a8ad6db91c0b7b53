// Which RTSP requests are answered 503. GStreamer calls the functions on the clients' threads, with
// the Hub as data.
#pragma once

#include <gst/rtsp-server/rtsp-server.h>

// Refuses inputs that are disabled.
GstRTSPStatusCode beforeDescribe(GstRTSPClient* client, GstRTSPContext* context, gpointer hub);
// Refuses these, too, and the backchannel unless the client gets the output. Only the backchannel
// has a sink pad.
GstRTSPStatusCode beforeSetup(GstRTSPClient* client, GstRTSPContext* context, gpointer hub);
