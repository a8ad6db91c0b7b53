// Which RTSP requests are answered 503. GStreamer calls the functions on the clients' threads, the
// first two with the SharedHub as data.
#pragma once

#include <gst/rtsp-server/rtsp-server.h>

// Refuses an input that is kept off or has no device.
GstRTSPStatusCode beforeDescribe(GstRTSPClient* client, GstRTSPContext* context, gpointer hub);
// Refuses the same, and the backchannel unless the client gets the output.
GstRTSPStatusCode beforeSetup(GstRTSPClient* client, GstRTSPContext* context, gpointer hub);
// Gives the output back when a SETUP that took it fails for another reason.
void beforeAnswer(GstRTSPClient* client, GstRTSPContext* context, GstRTSPMessage* answer,
                  gpointer data);
